#include "scenegraph/SceneNode.h"

#include <utility>

namespace tsg
{

const std::string& SceneNode::getClassName()
{
    static const std::string name = "SceneNode";
    return name;
}

SceneNode::SceneNode(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

SceneNode::~SceneNode() = default;

} // namespace tsg
