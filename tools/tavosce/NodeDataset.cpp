#include "NodeDataset.h"

#include "DatasetArrays.h"
#include "SmallCells.h"
#include "Text.h"

#include "scenegraph/PolyDataNode.h"

#include <cstddef>
#include <set>
#include <string>

#include <vtkDataArray.h>
#include <vtkFieldData.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkPoints.h>

namespace tavosce
{

namespace
{

using tsg::PolyDataNode;

/// Adds an array under its name, or the first free name made of it.
void addField(vtkFieldData& fields, vtkDataArray& array, const std::string& wanted)
{
    std::string name = wanted;
    for (int i = 2; fields.HasArray(name.c_str()) != 0; ++i)
    {
        name = wanted + '_' + std::to_string(i);
    }
    const auto copy = vtkSmartPointer<vtkDataArray>::Take(array.NewInstance());
    copy->ShallowCopy(&array);
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
        vtkDataArray& array = *arrays.at(i);
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
            vtkLookupTable* const table = arrays.at(i)->GetLookupTable();
            if (table != nullptr && added.insert(table).second)
            {
                addField(fields, *table->GetTable(), arrayName(arrays.at(i)));
            }
        }
    }
}

/// Makes the names of components such that the writer, which does not escape them, can write them.
void prepareComponents(vtkAbstractArray& array)
{
    for (int i = 0; array.HasAComponentName() && i < array.GetNumberOfComponents(); ++i)
    {
        if (const char* const name = array.GetComponentName(i))
        {
            array.SetComponentName(i, xmlText(xmlNameOf(name)).c_str());
        }
    }
}

/// The same for the names of arrays; of those that become others the names before.
std::vector<std::string> prepareNames(vtkPolyData& dataset)
{
    std::vector<std::string> res;
    for (const Section& section : sectionsOf(dataset))
    {
        for (int i = 0; i < section.fields->GetNumberOfArrays(); ++i)
        {
            vtkAbstractArray& array = *section.fields->GetAbstractArray(i);
            const std::string name = arrayName(&array);
            const std::string fit = xmlNameOf(name);
            if (fit != name)
            {
                res.push_back(name);
            }
            array.SetName(xmlText(fit).c_str());
            prepareComponents(array);
        }
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
    const std::uint64_t leftOut = leaveOutSmallCells(*res); // after all others have been told that fit the whole
    return {res, node.getGeometry() != nullptr, prepareNames(*res), leftOut};
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
