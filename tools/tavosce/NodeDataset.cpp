#include "NodeDataset.h"

#include "DatasetArrays.h"
#include "SmallCells.h"
#include "Text.h"

#include "scenegraph/PolyDataNode.h"

#include <cstddef>
#include <set>
#include <string>

#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkFieldData.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkStringArray.h>

namespace tavosce
{

namespace
{

using tsg::PolyDataNode;

/// A copy of an array, of numbers one that shares them.
vtkSmartPointer<vtkAbstractArray> copyOf(vtkAbstractArray& array)
{
    auto res = vtkSmartPointer<vtkAbstractArray>::Take(array.NewInstance());
    if (auto* const numbers = vtkDataArray::SafeDownCast(&array))
    {
        vtkDataArray::SafeDownCast(res)->ShallowCopy(numbers);
        res->CopyComponentNames(&array);
    }
    else
    {
        res->DeepCopy(&array);
    }
    return res;
}

/// Adds an array under its name, or the first free name made of it.
void addField(vtkFieldData& fields, vtkAbstractArray& array, const std::string& wanted)
{
    std::string name = wanted;
    for (int i = 2; fields.HasArray(name.c_str()) != 0; ++i)
    {
        name = wanted + '_' + std::to_string(i);
    }
    const auto copy = copyOf(array);
    copy->SetName(name.c_str());
    fields.AddArray(copy);
}

/// The point or cell arrays that cannot be such on the dataset.
void addMisfits(const PolyDataNode& node, PolyDataNode::Association association, vtkPolyData& dataset)
{
    const tsg::ArrayList& arrays = node.getArrays(association);
    vtkFieldData& attached = *dataset.GetAttributesAsFieldData(
        association == PolyDataNode::Points ? vtkDataObject::POINT : vtkDataObject::CELL);
    for (std::size_t i = 0; i < arrays.size(); ++i)
    {
        vtkAbstractArray& array = *arrays.at(i);
        if (attached.HasArray(array.GetName()) == 0)
        {
            addField(*dataset.GetFieldData(), array, arrayName(&array));
        }
    }
}

void addTables(const PolyDataNode& node, vtkFieldData& fields)
{
    std::set<vtkLookupTable*> added;
    for (const auto association : {PolyDataNode::Points, PolyDataNode::Cells, PolyDataNode::Fields})
    {
        const tsg::ArrayList& arrays = node.getArrays(association);
        for (std::size_t i = 0; i < arrays.size(); ++i)
        {
            vtkDataArray* const array = arrays.numbersAt(i);
            vtkLookupTable* const table = array == nullptr ? nullptr : array->GetLookupTable();
            if (table != nullptr && added.insert(table).second)
            {
                addField(fields, *table->GetTable(), arrayName(arrays.at(i)));
            }
        }
    }
}

/// A name as XML can hold it, escaped: the writer does not do that. A change beyond that is remembered.
std::string prepared(const std::string& name, const std::string& of, std::vector<std::string>& changes)
{
    const std::string fit = xmlNameOf(name);
    if (fit != name)
    {
        changes.push_back("the " + of + ' ' + inQuotes(name) + " is written as " + inQuotes(fit));
    }
    return xmlText(fit);
}

void prepareNames(vtkAbstractArray& array, std::vector<std::string>& changes)
{
    for (int i = 0; array.HasAComponentName() && i < array.GetNumberOfComponents(); ++i)
    {
        if (array.GetComponentName(i) != nullptr)
        {
            const std::string of = "component of " + inQuotes(arrayName(&array));
            array.SetComponentName(i, prepared(array.GetComponentName(i), of, changes).c_str());
        }
    }
    array.SetName(prepared(arrayName(&array), "array", changes).c_str());
}

bool hasZeroByte(vtkAbstractArray& array)
{
    auto* const strings = vtkStringArray::SafeDownCast(&array);
    bool res = false;
    for (vtkIdType i = 0; strings != nullptr && !res && i < strings->GetNumberOfValues(); ++i)
    {
        res = strings->GetValue(i).find('\0') != std::string::npos;
    }
    return res;
}

/// Makes arrays fit for the writer.
void prepareArrays(const Section& section, NodeDataset& dataset)
{
    for (int i = 0; i < section.fields->GetNumberOfArrays();)
    {
        vtkAbstractArray& array = *section.fields->GetAbstractArray(i);
        if (hasZeroByte(array))
        {
            dataset.losses.push_back(std::string(section.noun) + ' ' + inQuotes(arrayName(&array)) +
                                     " is left out: its strings have zero bytes, which only record.json can hold");
            section.fields->RemoveArray(i);
            continue;
        }
        prepareNames(array, dataset.changes);
        ++i;
    }
}

/// The name of the pedigree ids if they are strings; they are not active then.
std::string takeStringIds(vtkDataSetAttributes& attributes)
{
    std::string res = arrayName(vtkStringArray::SafeDownCast(attributes.GetPedigreeIds()));
    if (!res.empty())
    {
        attributes.SetActiveAttribute(-1, vtkDataSetAttributes::PEDIGREEIDS);
    }
    return res;
}

bool hasData(const PolyDataNode& node)
{
    return node.getGeometry() != nullptr || !node.getData().empty() ||
           node.getArrays(PolyDataNode::Points).size() > 0 || node.getArrays(PolyDataNode::Cells).size() > 0 ||
           node.getArrays(PolyDataNode::Fields).size() > 0;
}

NodeDataset compose(const PolyDataNode& node)
{
    if (!hasData(node))
    {
        return {};
    }
    const vtkSmartPointer<vtkPolyData> res = node.assemble();
    if (res->GetPoints() == nullptr)
    {
        res->SetPoints(vtkNew<vtkPoints>()); // readers take a file without points for a broken one
    }
    addMisfits(node, PolyDataNode::Points, *res);
    addMisfits(node, PolyDataNode::Cells, *res);
    addTables(node, *res->GetFieldData());
    for (const tsg::NodeData& piece : node.getData())
    {
        if (piece.array != nullptr)
        {
            addField(*res->GetFieldData(), *piece.array, arrayName(piece.array));
        }
    }
    NodeDataset dataset{res, node.getGeometry() != nullptr, {}, {}, {}, {}};
    if (const std::uint64_t small = leaveOutSmallCells(*res)) // after all others have been told that fit the whole
    {
        dataset.changes.push_back("left out: " + counted(small, "cell") + " with too few points");
    }
    for (const Section& section : sectionsOf(*res))
    {
        prepareArrays(section, dataset);
    }
    dataset.pointIds = takeStringIds(*res->GetPointData());
    dataset.cellIds = takeStringIds(*res->GetCellData());
    return dataset;
}

} // namespace

NodeDataset datasetOf(const tsg::DataNode& node)
{
    if (const auto* const polys = dynamic_cast<const PolyDataNode*>(&node))
    {
        return compose(*polys);
    }
    // Data of any other class is put together as that of a geometry node is.
    PolyDataNode shell(node.getObjectKey());
    for (const tsg::NodeData& piece : node.getData())
    {
        shell.addData(piece);
    }
    shell.interpretData();
    return compose(shell);
}

} // namespace tavosce
