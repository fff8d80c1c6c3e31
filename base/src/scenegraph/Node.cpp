#include "scenegraph/Node.h"

#include <utility>

namespace tsg
{

const std::string Node::FlowProductReleaseTag = "FlowProductRelease";

Node::Node(std::string objectKey)
    : _objectKey(std::move(objectKey))
{
}

Node::~Node() = default;

} // namespace tsg
