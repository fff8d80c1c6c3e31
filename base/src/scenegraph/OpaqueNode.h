#pragma once

#include "core/Export.h"
#include "scenegraph/DataNode.h"

#include <string>

namespace tsg
{

/// A node of a class that the application does not know, kept as it is. What it refers to shows in its properties:
/// every string value and every key, at any depth, that is the object key of another node.
class TAVO_EXPORT OpaqueNode : public DataNode
{
public:
    /// The class name is that in the object key; the node has no class version until one is set.
    explicit OpaqueNode(const std::string& objectKey);
    ~OpaqueNode() override;

    void connectReferences(const Lookup& lookup) override;
};

} // namespace tsg
