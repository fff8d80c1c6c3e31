#include "scenegraph/io/SDB.h"

#include "scenegraph/Node.h"

#include <unordered_set>
#include <utility>
#include <vector>

namespace sdb
{

namespace
{

using Handles = std::unordered_set<tsg::Ptr<tsg::Node>>;

/// The nodes that one node refers to, and how far they have been visited.
struct Visit
{
    std::vector<tsg::Ptr<tsg::Node>> references;
    std::size_t next = 0;
};

/// Collects nodes with a stack of its own: graphs may be deeper than the call stack.
class Collector
{
public:
    explicit Collector(NodeSet& nodes)
        : _nodes(nodes)
    {
    }

    void collect(tsg::Node& root)
    {
        enter(root);
        while (!_stack.empty())
        {
            Visit& visit = _stack.back();
            if (visit.next == visit.references.size())
            {
                _stack.pop_back();
            }
            else
            {
                enter(*visit.references[visit.next++]);
            }
        }
    }

    /// Takes the nodes that were added out of the set again.
    void undo()
    {
        for (tsg::Node* const node : _added)
        {
            _nodes.erase(node);
        }
    }

private:
    void enter(tsg::Node& node)
    {
        if (_nodes.count(&node) == 0)
        {
            _added.push_back(&node);
            _nodes.insert(&node);
            Handles references;
            node.collectReferences(references);
            _stack.push_back({{references.begin(), references.end()}, 0});
        }
    }

    NodeSet& _nodes;
    std::vector<tsg::Node*> _added;
    std::vector<Visit> _stack;
};

} // namespace

bool ByObjectKey::operator()(const tsg::Node* left, const tsg::Node* right) const
{
    return left->getObjectKey() < right->getObjectKey();
}

void collectAllNodes(tsg::Node& root, NodeSet& nodes)
{
    Collector collector(nodes);
    try
    {
        collector.collect(root);
    }
    catch (...)
    {
        collector.undo();
        throw;
    }
}

} // namespace sdb
