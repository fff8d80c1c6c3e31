#include "scenegraph/NodeData.h"

#include <utility>

namespace tsg
{

namespace
{

NodeData ofArray(NodeData::Kind kind, vtkDataArray* array)
{
    NodeData res;
    res.kind = kind;
    res.array = array;
    return res;
}

} // namespace

NodeData NodeData::ofPolys(vtkPolyData* polys, TimeStamp stamp)
{
    NodeData res;
    res.kind = Kind::Polys;
    res.polys = polys;
    res.stamp = stamp;
    return res;
}

NodeData NodeData::ofPoints(vtkDataArray* array)
{
    return ofArray(Kind::PointData, array);
}

NodeData NodeData::ofCells(vtkDataArray* array)
{
    return ofArray(Kind::CellData, array);
}

NodeData NodeData::ofNode(vtkDataArray* array, NodeStream::DataTag tag, TimeStamp stamp)
{
    NodeData res = ofArray(Kind::NodeArray, array);
    res.tag = tag;
    res.stamp = stamp;
    return res;
}

NodeData NodeData::ofRecord(Properties record, NodeStream::DataTag tag)
{
    NodeData res;
    res.record = std::move(record);
    res.tag = tag;
    return res;
}

bool NodeData::offer(NodeStream& stream, const std::string& objectKey, vtkPolyData* owner) const
{
    switch (kind)
    {
    case Kind::Polys:
        return stream.writePolys(objectKey, polys, stamp);
    case Kind::PointData:
        return stream.writePointData(objectKey, owner, array);
    case Kind::CellData:
        return stream.writeCellData(objectKey, owner, array);
    case Kind::NodeArray:
        return stream.writeBinaryNodeData(objectKey, array, tag, stamp);
    case Kind::NodeRecord:
        return stream.writePropNodeData(objectKey, Properties(record), tag);
    }
    return false;
}

} // namespace tsg
