#include "scenegraph/GraphBuilder.h"

#include "scenegraph/OpaqueNode.h"

#include <unordered_set>
#include <utility>

namespace tsg
{

/// Remembers the class versions that come along with nodes.
class GraphBuilder::LearningRegistry : public NodeRegistry
{
public:
    explicit LearningRegistry(NodeRegistry& application)
        : _application(application)
    {
    }

    /// What was remembered; nothing is from then on.
    ClassVersions takeVersions() { return std::exchange(_versions, {}); }

    void upgradeNodeProperties(const std::string& objectKey, Properties& properties,
                               const ClassVersions& versions) override
    {
        const std::string className = classNameOf(objectKey);
        const auto found = versions.getVersions().find(className);
        if (found != versions.getVersions().end())
        {
            _versions.setClassVersion(className, found->second);
        }
        if (_application.isKnown(className))
        {
            _application.upgradeNodeProperties(objectKey, properties, versions);
        }
    }

    void postUpgradeNodeProperties(const ClassVersions& versions) override
    {
        for (const auto& [className, version] : versions.getVersions())
        {
            _versions.setClassVersion(className, version);
        }
        _application.postUpgradeNodeProperties(versions);
    }

    std::vector<VersionGap> findVersionGaps(const ClassVersions& stored) const override
    {
        ClassVersions upgraded;
        for (const auto& [className, version] : stored.getVersions())
        {
            if (_application.isKnown(className))
            {
                upgraded.setClassVersion(className, version);
            }
        }
        return _application.findVersionGaps(upgraded);
    }

private:
    NodeRegistry& _application;
    ClassVersions _versions;
};

GraphBuilder::GraphBuilder(NodeRegistry& registry)
    : _application(registry)
    , _registry(std::make_unique<LearningRegistry>(registry))
{
}

GraphBuilder::~GraphBuilder() = default;

bool GraphBuilder::write(const std::string& objectKey, Properties&& properties)
{
    properties.remove(Node::FlowProductReleaseTag);
    if (_graph.find(objectKey))
    {
        _duplicates.push_back({objectKey, std::move(properties)});
        return false;
    }
    auto node = makeNode(objectKey);
    node->restoreProperties(std::move(properties));
    _graph.add(std::move(node));
    return true;
}

bool GraphBuilder::writePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp)
{
    return polys && keep(objectKey, NodeData::ofPolys(polys, stamp));
}

bool GraphBuilder::writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array)
{
    return array && keep(objectKey, NodeData::ofPoints(array));
}

bool GraphBuilder::writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array)
{
    return array && keep(objectKey, NodeData::ofCells(array));
}

bool GraphBuilder::writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag, TimeStamp stamp)
{
    return array && keep(objectKey, NodeData::ofNode(array, tag, stamp));
}

bool GraphBuilder::writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag)
{
    return keep(objectKey, NodeData::ofRecord(std::move(properties), tag));
}

NodeRegistry& GraphBuilder::getNodeRegistry()
{
    return *_registry;
}

SceneGraph GraphBuilder::take()
{
    placeEarlyData();
    restoreVersions();
    const auto lookup = [this](const std::string& objectKey) { return _graph.find(objectKey); };
    for (const auto& entry : _graph.nodes())
    {
        entry.second->connectReferences(lookup);
        entry.second->interpretData();
    }
    _leftovers = {std::exchange(_duplicates, {}), std::exchange(_earlyData, {})};
    return std::exchange(_graph, {});
}

/// A node that can be restored, whether or not the application knows its class.
std::unique_ptr<DataNode> GraphBuilder::makeNode(const std::string& objectKey) const
{
    std::unique_ptr<Node> made = _application.create(objectKey);
    if (auto* node = dynamic_cast<DataNode*>(made.get()))
    {
        (void)made.release(); // the next line owns it
        return std::unique_ptr<DataNode>(node);
    }
    return std::make_unique<OpaqueNode>(objectKey);
}

bool GraphBuilder::keep(const std::string& objectKey, NodeData data)
{
    if (DataNode* node = _graph.find(objectKey))
    {
        node->addData(std::move(data));
    }
    else
    {
        _earlyData.push_back({objectKey, std::move(data)});
    }
    return true;
}

void GraphBuilder::placeEarlyData()
{
    for (Leftovers::Data& early : std::exchange(_earlyData, {}))
    {
        keep(early.objectKey, std::move(early.data));
    }
}

/// Gives opaque nodes the versions of their classes, and the versions of classes without a node to the graph; compares
/// the others with what the application knows.
void GraphBuilder::restoreVersions()
{
    const ClassVersions learnt = _registry->takeVersions();
    const auto& versions = learnt.getVersions();
    std::unordered_set<std::string> present;
    for (const auto& entry : _graph.nodes())
    {
        const std::string className = classNameOf(entry.first);
        present.insert(className);
        const auto version = versions.find(className);
        if (version != versions.end() && dynamic_cast<OpaqueNode*>(entry.second.get()))
        {
            entry.second->setClassVersion(version->second);
        }
    }
    ClassVersions kept, ofNodes;
    for (const auto& [className, version] : versions)
    {
        (present.count(className) == 0 ? kept : ofNodes).setClassVersion(className, version);
    }
    _graph.keepClassVersions(kept);
    _versionGaps = _registry->findVersionGaps(ofNodes);
}

} // namespace tsg
