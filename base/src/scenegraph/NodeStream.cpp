#include "scenegraph/NodeStream.h"

#include <vtkDataArray.h>

namespace tsg
{

NodeStream::~NodeStream() = default;

bool NodeStream::writeUniquePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp)
{
    return writePolys(objectKey, polys, stamp);
}

bool NodeStream::writeUniquePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array)
{
    return writePointData(objectKey, polys, array);
}

NodeRegistry& NodeStream::getNodeRegistry()
{
    static NodeRegistry registry;
    return registry;
}

void NodeStream::notify(const Properties&) {}

bool NodeStream::writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag)
{
    return writeBinaryNodeData(objectKey, array, tag, TimeStamp(array ? array->GetMTime() : 0));
}

} // namespace tsg
