#include "scenegraph/detail/PolyDataParts.h"

#include <vtkCellData.h>
#include <vtkPointData.h>

#include <utility>

namespace tsg::detail
{

vtkFieldData* fieldsOf(vtkPolyData& polys, PolyDataNode::Association association)
{
    switch (association)
    {
    case PolyDataNode::Points:
        return polys.GetPointData();
    case PolyDataNode::Cells:
        return polys.GetCellData();
    case PolyDataNode::Fields:
        return polys.GetFieldData();
    }
    return nullptr;
}

int arrayCount(vtkPolyData& polys, PolyDataNode::Association association)
{
    vtkFieldData* fields = fieldsOf(polys, association);
    return fields ? fields->GetNumberOfArrays() : 0;
}

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

void setRecord(Properties& properties, const char* key, Properties&& record)
{
    if (!record.empty())
    {
        properties.set(key, std::move(record), Properties::Overwrite);
    }
    else if (properties.kind(key) == Properties::Kind::Record)
    {
        properties.remove(key);
    }
}

} // namespace tsg::detail
