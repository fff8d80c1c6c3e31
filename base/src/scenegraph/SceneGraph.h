#pragma once

#include "core/ClassVersions.h"
#include "core/Export.h"
#include "scenegraph/DataNode.h"

#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>

namespace tsg
{

/// Owns the nodes of a scene graph, each under its object key. Nodes stay where they are when the graph is moved.
class TAVO_EXPORT SceneGraph
{
public:
    using Nodes = std::map<std::string, std::unique_ptr<DataNode>>;

    SceneGraph();
    SceneGraph(SceneGraph&&) noexcept;
    SceneGraph& operator=(SceneGraph&&) noexcept;
    ~SceneGraph();

    /// Takes a node over. Raises InternalError for null and for a key that is taken.
    DataNode& add(std::unique_ptr<DataNode> node);

    /// Makes a node under the first free key of the class: class name, "_", number from 1.
    template <class T>
    T& create()
    {
        auto node = std::make_unique<T>(freeKey(T::getClassName()));
        T& res = *node;
        add(std::move(node));
        return res;
    }

    /// Null when there is no such node.
    DataNode* find(const std::string& objectKey) const;

    const Nodes& nodes() const { return _nodes; }

    /// Null until one was chosen.
    DataNode* root() const { return _root; }

    /// Makes the node with the key the root; without a key the only SceneNode, or of several the only one that no other
    /// node refers to. The root gets a handle for as few nodes as make all others reachable from it, and the kept class
    /// versions. False, with nothing changed and the reason in `problem`, when there is no such node or no telling
    /// which.
    bool chooseRoot(const std::string& rootKey, std::string& problem);

    /// Class versions that the root has to add to those of the nodes.
    void keepClassVersions(const ClassVersions& versions) { _keptVersions = versions; }

private:
    using NodeSet = std::unordered_set<const Node*>;

    std::string freeKey(const std::string& className);
    NodeSet referencedNodes() const;
    DataNode* findScene(const NodeSet& referenced, std::string& problem) const;
    void hangUnreachable(const NodeSet& referenced);

    Nodes _nodes;
    std::map<std::string, int> _lastNumbers; ///< of the keys made so far, by class name
    DataNode* _root = nullptr;
    ClassVersions _keptVersions;
};

} // namespace tsg
