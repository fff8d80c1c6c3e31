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
using detail::POLY_DATA_KEYS;
using detail::setRecord;

namespace
{

constexpr const char* SOURCE = "base/src/scenegraph/PolyDataNode";
constexpr Invariant POLYS_EXPECTED{"A polydata is expected", "polys", SOURCE, 31};
constexpr Invariant NUMERIC_EXPECTED{"Only numeric arrays can be held", "vtkDataArray::SafeDownCast(array)", SOURCE,
                                     32};
constexpr Invariant NAME_EXPECTED{"The array's name must be specified", "array->GetName()", SOURCE, 33};
constexpr Invariant NAMES_DIFFER{"Two arrays have the same name", "names.insert(array->GetName()).second", SOURCE, 34};

/// The property name of the active attributes, null where there are none of the type.
const char* activeKey(PolyDataNode::Association association, int attributeType)
{
    const bool known = attributeType >= 0 && attributeType < vtkDataSetAttributes::NUM_ATTRIBUTES;
    return known ? POLY_DATA_KEYS[association].active : nullptr;
}

/// The arrays of an association; raises InternalError when a node cannot hold all of them.
std::vector<vtkDataArray*> numericArrays(vtkPolyData& polys, PolyDataNode::Association association)
{
    std::vector<vtkDataArray*> res;
    std::unordered_set<std::string> names;
    for (int i = 0; i < arrayCount(polys, association); ++i)
    {
        auto* array = vtkDataArray::SafeDownCast(fieldsOf(polys, association)->GetAbstractArray(i));
        if (!array)
        {
            raise(NUMERIC_EXPECTED);
        }
        if (!array->GetName())
        {
            raise(NAME_EXPECTED);
        }
        if (!names.insert(array->GetName()).second)
        {
            raise(NAMES_DIFFER);
        }
        res.push_back(array);
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

/// An array as the piece of data that it is stored as.
NodeData pieceOf(PolyDataNode::Association association, vtkDataArray* array)
{
    switch (association)
    {
    case PolyDataNode::Points:
        return NodeData::ofPoints(array);
    case PolyDataNode::Cells:
        return NodeData::ofCells(array);
    case PolyDataNode::Fields:
        break;
    }
    return NodeData::ofNode(array, NodeStream::DataTag7, TimeStamp(array->GetMTime()));
}

/// An array that is not there is not activated.
void activate(vtkDataSetAttributes& attributes, const std::string& name, int type)
{
    if (!name.empty() && attributes.HasArray(name.c_str()))
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
    std::array<std::vector<vtkDataArray*>, 3> arrays;
    for (const Association association : ASSOCIATIONS)
    {
        arrays[association] = numericArrays(*polys, association);
    }
    for (const Association association : ASSOCIATIONS)
    {
        _arrays[association].assign(arrays[association]);
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
            if (unwanted(pieceOf(association, arrays.stored(i))))
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
