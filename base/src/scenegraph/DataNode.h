#pragma once

#include "core/ClassVersions.h"
#include "core/Export.h"
#include "core/Properties.h"
#include "scenegraph/Node.h"
#include "scenegraph/NodeData.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace tsg
{

/// A node that holds what it is made of: properties, data, children, and handles to further nodes. Derived classes give
/// names to properties; whatever they do not know stays in place, so that a node that was loaded and is saved again
/// loses nothing.
///
/// On disk the children stand under the property "Children", a map from object key to position, which exists only when
/// there are children. Handles leave no trace in the properties. Referenced nodes belong to somebody else and have to
/// outlive the use of this one.
class TAVO_EXPORT DataNode : public Node
{
public:
    /// The node with an object key, or null.
    using Lookup = std::function<Node*(const std::string& objectKey)>;

    /// Without a version the class is not entered in the class versions.
    DataNode(std::string objectKey, std::string className, std::optional<int> classVersion);
    ~DataNode() override;

    /// The properties as they were set or restored; children added since then are not in them yet.
    const Properties& getProperties() const { return _properties; }

    /// Property "Name".
    const std::string& getName() const { return _properties.getString("Name"); }

    void setName(const std::string& name);

    /// The children in order.
    const std::vector<Ptr<Node>>& getChildren() const { return _children; }

    /// Appends a child; one that is a child already keeps its place.
    void addChild(Node& child);
    /// Refers to a node without leaving a trace in the properties.
    void addHandle(Node& node);

    /// Data that no derived class has taken over, in the order in which it came; it is written after all other data.
    const std::vector<NodeData>& getData() const { return _data; }

    void addData(NodeData data);

    /// Asked of a piece of data.
    using DataTest = std::function<bool(const NodeData& data)>;

    /// Drops the data for which `unwanted` answers true, of all that the node holds.
    virtual void removeData(const DataTest& unwanted);

    void addClassVersion(ClassVersions& versions) const override;
    void collectReferences(std::unordered_set<Ptr<Node>>& references) const override;
    void serialize(NodeStream& stream) const override;

    // Restoring, in this order: properties, data with `addData`, then for every node of the graph the two below, once.

    void restoreProperties(Properties&& properties);
    /// Turns the references among the properties into children. A key that is no node's stays in the properties.
    virtual void connectReferences(const Lookup& lookup);
    /// Called when all data is there, for classes that take some of it over.
    virtual void interpretData();

    /// Replaces the class version; none means that the class is not entered in the class versions.
    void setClassVersion(std::optional<int> version) { _classVersion = version; }

    /// Class versions that this node has to add to its own, so that a graph keeps those of classes that have no node.
    void keepClassVersions(const ClassVersions& versions) { _keptVersions = versions; }

protected:
    Properties& properties() { return _properties; }

    std::vector<NodeData>& data() { return _data; }

    /// The properties with all children: what `serialize` writes.
    Properties propertiesToWrite() const;
    /// Offers the data that no derived class has taken over.
    void writeData(NodeStream& stream) const;

private:
    std::string _className;
    std::optional<int> _classVersion;
    ClassVersions _keptVersions;
    Properties _properties;
    std::vector<NodeData> _data;
    std::vector<Ptr<Node>> _children;
    std::unordered_set<Ptr<Node>> _childSet; ///< the same, for finding
    std::size_t _restoredChildren = 0;       ///< how many of the first children are in the properties already
    std::int64_t _nextPosition = 0;          ///< on disk, of the first child that is not in the properties
    std::vector<Ptr<Node>> _handles;
};

} // namespace tsg
