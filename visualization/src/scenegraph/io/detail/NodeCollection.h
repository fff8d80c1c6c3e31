#pragma once

#include "scenegraph/Node.h"

#include <unordered_set>
#include <vector>

namespace sdb::detail
{

/// Collects nodes into a set of `Node*`, with a stack of its own: graphs may be deeper than the call stack.
template <class Set>
class NodeCollector
{
public:
    explicit NodeCollector(Set& nodes)
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
    /// The nodes that one node refers to, and how far they have been visited.
    struct Visit
    {
        std::vector<tsg::Ptr<tsg::Node>> references;
        std::size_t next = 0;
    };

    void enter(tsg::Node& node)
    {
        if (_nodes.count(&node) == 0)
        {
            _added.push_back(&node);
            _nodes.insert(&node);
            std::unordered_set<tsg::Ptr<tsg::Node>> references;
            node.collectReferences(references);
            _stack.push_back({{references.begin(), references.end()}, 0});
        }
    }

    Set& _nodes;
    std::vector<tsg::Node*> _added;
    std::vector<Visit> _stack;
};

/// Adds the node and every node that can be reached from it, depth first. What the set's order takes for a node that it
/// holds is not visited. Raises InternalError for a reference that is empty or no node. After any exception the set is
/// as it was before.
template <class Set>
void collectNodes(tsg::Node& root, Set& nodes)
{
    NodeCollector<Set> collector(nodes);
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

} // namespace sdb::detail
