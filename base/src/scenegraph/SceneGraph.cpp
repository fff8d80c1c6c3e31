#include "scenegraph/SceneGraph.h"

#include "core/Error.h"
#include "scenegraph/SceneNode.h"

#include <vector>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "base/src/scenegraph/SceneGraph";
constexpr Invariant NODE_EXPECTED{"A scene graph can't own null", "node", SOURCE, 60};
constexpr Invariant KEY_IS_FREE{"A node with this object key exists already", "isNew", SOURCE, 65};

std::unordered_set<Ptr<Node>> referencesOf(const Node& node)
{
    std::unordered_set<Ptr<Node>> res;
    node.collectReferences(res);
    return res;
}

/// Adds a node and all that can be reached from it.
void addReachable(const Node& start, std::unordered_set<const Node*>& reached)
{
    std::vector<const Node*> open;
    const auto reach = [&](const Node& node)
    {
        if (reached.insert(&node).second)
        {
            open.push_back(&node);
        }
    };
    reach(start);
    while (!open.empty())
    {
        const Node& node = *open.back();
        open.pop_back();
        for (const Ptr<Node>& reference : referencesOf(node))
        {
            reach(*reference);
        }
    }
}

} // namespace

SceneGraph::SceneGraph() = default;
SceneGraph::SceneGraph(SceneGraph&&) noexcept = default;
SceneGraph& SceneGraph::operator=(SceneGraph&&) noexcept = default;
SceneGraph::~SceneGraph() = default;

DataNode& SceneGraph::add(std::unique_ptr<DataNode> node)
{
    if (!node)
    {
        raise(NODE_EXPECTED);
    }
    const auto [place, isNew] = _nodes.try_emplace(node->getObjectKey());
    if (!isNew)
    {
        raise(KEY_IS_FREE);
    }
    place->second = std::move(node);
    return *place->second;
}

std::string SceneGraph::freeKey(const std::string& className)
{
    int& number = _lastNumbers[className];
    std::string res;
    do
    {
        res = className + "_" + std::to_string(++number);
    } while (find(res));
    return res;
}

DataNode* SceneGraph::find(const std::string& objectKey) const
{
    const auto found = _nodes.find(objectKey);
    return found == _nodes.end() ? nullptr : found->second.get();
}

bool SceneGraph::chooseRoot(const std::string& rootKey, std::string& problem)
{
    const NodeSet referenced = referencedNodes();
    DataNode* root = rootKey.empty() ? findScene(referenced, problem) : find(rootKey);
    if (!root)
    {
        if (!rootKey.empty())
        {
            problem = "the root node " + rootKey + " is missing";
        }
        return false;
    }
    _root = root;
    _root->keepClassVersions(_keptVersions);
    hangUnreachable(referenced);
    return true;
}

/// The nodes that others refer to.
SceneGraph::NodeSet SceneGraph::referencedNodes() const
{
    NodeSet res;
    for (const auto& entry : _nodes)
    {
        for (const Ptr<Node>& reference : referencesOf(*entry.second))
        {
            if (const Node& node = *reference; &node != entry.second.get())
            {
                res.insert(&node);
            }
        }
    }
    return res;
}

DataNode* SceneGraph::findScene(const NodeSet& referenced, std::string& problem) const
{
    std::vector<DataNode*> scenes, tops;
    for (const auto& entry : _nodes)
    {
        if (DataNode* node = entry.second.get(); dynamic_cast<SceneNode*>(node))
        {
            scenes.push_back(node);
            if (referenced.count(node) == 0)
            {
                tops.push_back(node);
            }
        }
    }
    // The nodes of a scene may refer back to it.
    const std::vector<DataNode*>& candidates = scenes.size() == 1 ? scenes : tops;
    if (candidates.size() == 1)
    {
        return candidates.front();
    }
    problem = scenes.empty() ? "there is no scene node"
              : tops.empty() ? "every scene node belongs to another node"
                             : "there are several scene nodes that could be the root: " + tops[0]->getObjectKey() +
                                   ", " + tops[1]->getObjectKey();
    return nullptr;
}

void SceneGraph::hangUnreachable(const NodeSet& referenced)
{
    NodeSet reached;
    addReachable(*_root, reached);
    // First those that nothing refers to, since they lead to others; what is left then refers to itself in circles.
    for (const bool circlesToo : {false, true})
    {
        for (const auto& entry : _nodes)
        {
            Node& node = *entry.second;
            if (reached.count(&node) == 0 && (circlesToo || referenced.count(&node) == 0))
            {
                _root->addHandle(node);
                addReachable(node, reached);
            }
        }
    }
}

} // namespace tsg
