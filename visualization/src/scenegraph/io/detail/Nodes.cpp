#include "scenegraph/io/SDB.h"

#include "scenegraph/Node.h"
#include "scenegraph/io/detail/NodeCollection.h"

namespace sdb
{

bool ByObjectKey::operator()(const tsg::Node* left, const tsg::Node* right) const
{
    return left->getObjectKey() < right->getObjectKey();
}

void collectAllNodes(tsg::Node& root, NodeSet& nodes)
{
    detail::collectNodes(root, nodes);
}

} // namespace sdb
