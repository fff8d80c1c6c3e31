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

template <class T>
void registerOne(NodeRegistry& registry)
{
    const std::string& className = T::getClassName();
    ClassVersions versions;
    T(className + "_0").addClassVersion(versions); // a node knows its version
    registry.registerClass(
        className, [](const std::string& objectKey) { return std::make_unique<T>(objectKey); },
        versions.getClassVersion(className));
}

template <class... T>
void registerAll(NodeRegistry& registry)
{
    (registerOne<T>(registry), ...);
}

} // namespace

void registerStandardNodes(NodeRegistry& registry)
{
    registerAll<SceneNode, ChartCanvasCollection, PolyDataNode, DataArrayAttributes, RibbonAttributes,
                SurfaceAttributes, TubeAttributes, LineMarkerAttributes, StreamlineDrawable>(registry);
}

} // namespace tsg
