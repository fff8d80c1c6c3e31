#pragma once

#include "core/ClassVersions.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/Object.h"
#include "scenegraph/Ptr.h"

#include <string>
#include <unordered_set>

namespace tsg
{

/// An element of a scene graph. Its object key is unique in the graph and has the form class name, "_", suffix.
class TAVO_EXPORT Node : public Object
{
public:
    /// Property under which loading tells a node's upgrade steps the release that wrote the file.
    static const std::string FlowProductReleaseTag;

    explicit Node(std::string objectKey);
    ~Node() override;

    const std::string& getObjectKey() const { return _objectKey; }

    // The order of these operations is the order of their slots.

    /// Adds the node's class and its version.
    virtual void addClassVersion(ClassVersions& versions) const = 0;
    /// Adds a handle for every node that this one refers to.
    virtual void collectReferences(std::unordered_set<Ptr<Node>>& references) const = 0;
    /// Writes the node: its properties with `NodeStream::write`, and its data. A writer may ask several times and takes
    /// from each call what it needs.
    virtual void serialize(NodeStream& stream) const = 0;

private:
    std::string _objectKey;
};

} // namespace tsg
