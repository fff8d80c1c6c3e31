#pragma once

#include "core/Export.h"
#include "core/Properties.h"
#include "scenegraph/NodeData.h"
#include "scenegraph/NodeRegistry.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/SceneGraph.h"

#include <memory>
#include <string>
#include <vector>

namespace tsg
{

/// Rebuilds the graph that is delivered to it. Classes that the registry makes as DataNode come alive; nodes of all
/// other classes become OpaqueNode, with the class version they were stored with, so that loading and saving loses
/// nothing.
///
/// The nodes own their properties without the release that loading adds; VTK objects are shared with whoever delivers
/// them. A builder may be dropped at any time.
class TAVO_EXPORT GraphBuilder : public NodeStream
{
public:
    /// What found no place in the graph.
    struct Leftovers
    {
        struct Record
        {
            std::string objectKey;
            Properties properties;
        };

        struct Data
        {
            std::string objectKey;
            NodeData data;
        };

        std::vector<Record> nodes; ///< further nodes with the key of an earlier one
        std::vector<Data> data;    ///< data under keys that no node has
    };

    /// The registry makes and upgrades the nodes and has to outlive the builder.
    explicit GraphBuilder(NodeRegistry& registry);
    ~GraphBuilder() override;

    /// False for a key that an earlier node has; the properties go to the leftovers.
    bool write(const std::string& objectKey, Properties&& properties) override;
    // Data may come before its node. False for null.
    bool writePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp) override;
    bool writePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override;
    bool writeCellData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override;
    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag, TimeStamp stamp) override;
    bool writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag) override;
    /// A registry of the builder's own, which hands the nodes of known classes on to the application's. The nodes of
    /// other classes are not upgraded: they are saved again under the version they were loaded with.
    NodeRegistry& getNodeRegistry() override;

    /// Connects the nodes and hands them out, still without a root. The builder is empty then and may be used again.
    SceneGraph take();

    /// What the graph taken last left behind.
    const Leftovers& getLeftovers() const { return _leftovers; }

    /// Classes of nodes in the graph taken last that are not what they were stored as, in name order. Nodes that were
    /// kept opaque are.
    const std::vector<VersionGap>& getVersionGaps() const { return _versionGaps; }

private:
    class LearningRegistry;

    std::unique_ptr<DataNode> makeNode(const std::string& objectKey) const;
    bool keep(const std::string& objectKey, NodeData data);
    void placeEarlyData();
    void restoreVersions();

    NodeRegistry& _application;
    std::unique_ptr<LearningRegistry> _registry;
    SceneGraph _graph;
    std::vector<Leftovers::Record> _duplicates;
    std::vector<Leftovers::Data> _earlyData; ///< whose node has not come yet
    Leftovers _leftovers;
    std::vector<VersionGap> _versionGaps;
};

} // namespace tsg
