#pragma once

#include "core/Export.h"
#include "core/Properties.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/TimeStamp.h"

#include <vtkDataArray.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

#include <string>

namespace tsg
{

/// One piece of data that a node hands to a stream beside its properties. VTK objects are shared with whoever made
/// them.
struct TAVO_EXPORT NodeData
{
    enum class Kind
    {
        Polys,     ///< `polys` with `stamp`
        PointData, ///< `array`
        CellData,  ///< `array`
        NodeArray, ///< `array` with `tag` and `stamp`
        NodeRecord ///< `record` with `tag`
    };

    static NodeData ofPolys(vtkPolyData* polys, TimeStamp stamp);
    static NodeData ofPoints(vtkDataArray* array);
    static NodeData ofCells(vtkDataArray* array);
    static NodeData ofNode(vtkDataArray* array, NodeStream::DataTag tag, TimeStamp stamp);
    static NodeData ofRecord(Properties record, NodeStream::DataTag tag);

    /// Hands the piece to the stream as data of the node. `owner` goes with point and cell arrays and may be null. The
    /// answer is the stream's.
    bool offer(NodeStream& stream, const std::string& objectKey, vtkPolyData* owner) const;

    Kind kind = Kind::NodeRecord;
    vtkSmartPointer<vtkPolyData> polys;
    vtkSmartPointer<vtkDataArray> array;
    Properties record;
    NodeStream::DataTag tag = NodeStream::DataTag1;
    TimeStamp stamp;
};

} // namespace tsg
