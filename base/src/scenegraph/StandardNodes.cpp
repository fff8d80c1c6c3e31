#include "scenegraph/StandardNodes.h"

#include "scenegraph/Attributes.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneNode.h"

#include <memory>
#include <string>

namespace tsg
{

namespace
{

template <class... T>
void registerAll(NodeRegistry& registry)
{
    (registry.registerClass(T::getClassName(),
                            [](const std::string& objectKey) { return std::make_unique<T>(objectKey); }),
     ...);
}

} // namespace

void registerStandardNodes(NodeRegistry& registry)
{
    registerAll<SceneNode, ChartCanvasCollection, PolyDataNode, DataArrayAttributes, RibbonAttributes,
                SurfaceAttributes, TubeAttributes, LineMarkerAttributes, StreamlineDrawable>(registry);
}

} // namespace tsg
