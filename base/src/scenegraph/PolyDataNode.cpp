#include "scenegraph/PolyDataNode.h"

#include "core/Error.h"
#include "scenegraph/detail/PolyDataParts.h"

#include <vtkCellData.h>
#include <vtkDataSetAttributes.h>
#include <vtkPointData.h>

#include <cstddef>
#include <unordered_set>
#include <utility>

namespace tsg
{

using detail::arrayCount;
using detail::ASSOCIATIONS;
using detail::fieldsOf;
using detail::pieceOf;
using detail::POLY_DATA_KEYS;
using detail::setRecord;

namespace
{

constexpr const char* SOURCE = "base/src/scenegraph/PolyDataNode";
constexpr Invariant POLYS_EXPECTED{"A polydata is expected", "polys", SOURCE, 31};
constexpr Invariant NAMES_DIFFER{"Two arrays have the same name", "names.insert(array->GetName()).second", SOURCE, 34};

/// The property name of the active attributes, null where there are none of the type.
const char* activeKey(PolyDataNode::Association association, int attributeType)
{
    const bool known = attributeType >= 0 && attributeType < vtkDataSetAttributes::NUM_ATTRIBUTES;
    return known ? POLY_DATA_KEYS[association].active : nullptr;
}

/// The arrays of an association; raises InternalError when two have the same name.
std::vector<vtkAbstractArray*> arraysOf(vtkPolyData& polys, PolyDataNode::Association association)
{
    std::vector<vtkAbstractArray*> res;
    std::unordered_set<std::string> names;
    for (int i = 0; i < arrayCount(polys, association); ++i)
    {
        res.push_back(fieldsOf(polys, association)->GetAbstractArray(i));
        if (res.back()->GetName() && !names.insert(res.back()->GetName()).second)
        {
            raise(NAMES_DIFFER);
        }
    }
    return res;
}

/// Shares the arrays that have `tuples` tuples with `target`; all of them if `tuples` is negative.
void attach(const ArrayList& arrays, vtkFieldData& target, vtkIdType tuples, std::vector<std::string>* misfits)
{
    for (std::size_t i = 0; i < arrays.size(); ++i)
    {
        if (tuples < 0 || arrays.at(i)->GetNumberOfTuples() == tuples)
        {
            target.AddArray(arrays.at(i));
        }
        else if (misfits)
        {
            misfits->push_back(arrays.nameAt(i));
        }
    }
}

/// An array that is not there is not activated, and strings only as what they can be.
void activate(vtkDataSetAttributes& attributes, const std::string& name, int type)
{
    vtkAbstractArray* array = name.empty() ? nullptr : attributes.GetAbstractArray(name.c_str());
    if (array && (type == vtkDataSetAttributes::PEDIGREEIDS || vtkDataArray::SafeDownCast(array)))
    {
        attributes.SetActiveAttribute(name.c_str(), type);
    }
}

} // namespace

const std::string& PolyDataNode::getClassName()
{
    static const std::string name = "PolyDataNode";
    return name;
}

PolyDataNode::PolyDataNode(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

PolyDataNode::~PolyDataNode() = default;

void PolyDataNode::setGeometry(vtkPolyData* polys)
{
    vtkSmartPointer<vtkPolyData> geometry;
    if (polys)
    {
        geometry = vtkSmartPointer<vtkPolyData>::New();
        geometry->CopyStructure(polys);
    }
    _geometry = geometry;
}

std::string PolyDataNode::getActive(Association association, int attributeType) const
{
    const char* key = activeKey(association, attributeType);
    if (!key)
    {
        return {};
    }
    return getProperties().getProperties(key).getString(vtkDataSetAttributes::GetAttributeTypeAsString(attributeType));
}

void PolyDataNode::setActive(Association association, int attributeType, const std::string& name)
{
    const char* key = activeKey(association, attributeType);
    if (!key)
    {
        return;
    }
    const char* kind = vtkDataSetAttributes::GetAttributeTypeAsString(attributeType);
    Properties actives = getProperties().getProperties(key);
    if (name.empty())
    {
        actives.remove(kind);
    }
    else
    {
        actives.set(kind, name, Properties::Overwrite);
    }
    setRecord(properties(), key, std::move(actives));
}

void PolyDataNode::setActives(Association association, vtkPolyData& polys)
{
    auto* attributes = vtkDataSetAttributes::SafeDownCast(fieldsOf(polys, association));
    for (int type = 0; attributes && type < vtkDataSetAttributes::NUM_ATTRIBUTES; ++type)
    {
        vtkAbstractArray* array = attributes->GetAbstractAttribute(type);
        setActive(association, type, array && array->GetName() ? array->GetName() : "");
    }
}

void PolyDataNode::setPolyData(vtkPolyData* polys, Geometry geometry)
{
    if (!polys)
    {
        raise(POLYS_EXPECTED);
    }
    std::array<ArrayList, 3> arrays = _arrays;
    for (const Association association : ASSOCIATIONS)
    {
        arrays[association].assign(arraysOf(*polys, association));
    }
    _arrays = std::move(arrays);
    for (const Association association : ASSOCIATIONS)
    {
        setActives(association, *polys);
    }
    if (geometry == Geometry::Replace)
    {
        setGeometry(polys);
    }
}

void PolyDataNode::removeData(const DataTest& unwanted)
{
    DataNode::removeData(unwanted);
    if (_geometry && unwanted(NodeData::ofPolys(_geometry, TimeStamp(_geometry->GetMTime()))))
    {
        _geometry = nullptr;
    }
    for (const Association association : ASSOCIATIONS)
    {
        ArrayList& arrays = _arrays[association];
        for (std::size_t i = arrays.size(); i-- > 0;)
        {
            vtkDataArray* stored = arrays.stored(i);
            if (stored && unwanted(pieceOf(association, stored)))
            {
                arrays.remove(std::string(arrays.nameAt(i)));
            }
        }
    }
}

vtkSmartPointer<vtkPolyData> PolyDataNode::assemble(std::vector<std::string>* misfits) const
{
    auto res = vtkSmartPointer<vtkPolyData>::New();
    if (_geometry)
    {
        res->CopyStructure(_geometry);
    }
    attach(_arrays[Points], *res->GetPointData(), res->GetNumberOfPoints(), misfits);
    attach(_arrays[Cells], *res->GetCellData(), res->GetNumberOfCells(), misfits);
    attach(_arrays[Fields], *res->GetFieldData(), -1, misfits);
    for (int type = 0; type < vtkDataSetAttributes::NUM_ATTRIBUTES; ++type)
    {
        activate(*res->GetPointData(), getActive(Points, type), type);
        activate(*res->GetCellData(), getActive(Cells, type), type);
    }
    return res;
}

} // namespace tsg
