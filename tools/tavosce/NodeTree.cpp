#include "NodeTree.h"

#include "Text.h"

#include "scenegraph/GraphBuilder.h"
#include "scenegraph/SceneGraph.h"
#include "scenegraph/StandardNodes.h"

#include <algorithm>
#include <map>
#include <unordered_set>
#include <utility>

namespace tavosce
{

namespace
{

class TreeMaker
{
public:
    TreeMaker(const std::string& rootKey, const RecordContents& contents)
    {
        tsg::registerStandardNodes(_registry);
        tsg::GraphBuilder builder(_registry);
        for (std::size_t i = 0; i < contents.nodes.size(); ++i)
        {
            const StoredNode& node = contents.nodes[i];
            if (builder.write(node.objectKey, Properties(node.properties)))
            {
                _places.emplace(node.objectKey, i);
            }
            else
            {
                _tree.repeated.push_back(i);
            }
        }
        tsg::SceneGraph graph = builder.take();
        collectReferences(graph, contents.nodes.size());
        if (graph.chooseRoot(rootKey, _tree.problem)) // gives the root more references, hence not earlier
        {
            _tree.root = _places.at(graph.root()->getObjectKey());
        }
    }

    NodeTree run()
    {
        if (_tree.root != NodeTree::NONE)
        {
            walk(_tree.root, _tree.lines);
        }
        const std::vector<bool> referenced = referencedNodes();
        for (const bool wanted : {false, true}) // those that are left in the end refer to each other in circles
        {
            for (const auto& [objectKey, node] : _places)
            {
                if (!_seen[node] && referenced[node] == wanted)
                {
                    walk(node, _tree.apart);
                }
            }
        }
        return std::move(_tree);
    }

private:
    void collectReferences(const tsg::SceneGraph& graph, std::size_t count)
    {
        _tree.references.resize(count);
        _seen.resize(count);
        _open.resize(count);
        for (const auto& [objectKey, node] : graph.nodes())
        {
            std::vector<std::size_t>& references = _tree.references[_places.at(objectKey)];
            std::unordered_set<const tsg::Node*> known;
            const auto refer = [&](const tsg::Node& to)
            {
                if (known.insert(&to).second)
                {
                    references.push_back(_places.at(to.getObjectKey()));
                }
            };
            for (const auto& child : node->getChildren())
            {
                refer(*child);
            }
            const auto children = static_cast<std::ptrdiff_t>(references.size());
            std::unordered_set<tsg::Ptr<tsg::Node>> all;
            node->collectReferences(all);
            for (const auto& reference : all)
            {
                refer(*reference);
            }
            std::sort(references.begin() + children, references.end());
        }
    }

    std::vector<bool> referencedNodes() const
    {
        std::vector<bool> res(_tree.references.size());
        for (std::size_t from = 0; from < res.size(); ++from)
        {
            for (const std::size_t to : _tree.references[from])
            {
                res[to] = res[to] || to != from;
            }
        }
        return res;
    }

    /// Adds the lines of a node and of all that hangs under it, on a stack of our own: chains may be long.
    void walk(std::size_t start, std::vector<NodeTree::Line>& lines)
    {
        std::vector<std::pair<std::size_t, std::size_t>> path; // node, and the place of its next reference
        const auto enter = [&](std::size_t node, std::size_t parent)
        {
            lines.push_back({node, path.size(), parent,
                             _open[node]   ? NodeTree::Cycle
                             : _seen[node] ? NodeTree::Again
                                           : NodeTree::First});
            if (!_seen[node])
            {
                _seen[node] = _open[node] = true;
                path.emplace_back(node, 0);
            }
        };
        enter(start, /*parent*/ NodeTree::NONE); // NOLINT(readability-suspicious-call-argument): in this order
        while (!path.empty())
        {
            auto& [node, next] = path.back();
            if (next < _tree.references[node].size())
            {
                const std::size_t parent = node, child = _tree.references[node][next++];
                enter(child, parent);
            }
            else
            {
                _open[node] = false;
                path.pop_back();
            }
        }
    }

    tsg::NodeRegistry _registry;
    std::map<std::string, std::size_t> _places; ///< of the first node with each key
    std::vector<bool> _seen;                    ///< has its line
    std::vector<bool> _open;                    ///< is on the path from the start to the present node
    NodeTree _tree;
};

} // namespace

NodeTree treeOf(const std::string& rootKey, const RecordContents& contents)
{
    return TreeMaker(rootKey, contents).run();
}

} // namespace tavosce
