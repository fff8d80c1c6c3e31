#include "scenegraph/OpaqueNode.h"

#include "scenegraph/NodeRegistry.h"

#include <unordered_set>
#include <vector>

namespace tsg
{

OpaqueNode::OpaqueNode(const std::string& objectKey)
    : DataNode(objectKey, classNameOf(objectKey), std::nullopt)
{
}

OpaqueNode::~OpaqueNode() = default;

void OpaqueNode::connectReferences(const Lookup& lookup)
{
    DataNode::connectReferences(lookup);
    std::unordered_set<const Node*> found{this};
    const auto refer = [&](const std::string& text)
    {
        Node* node = lookup(text);
        if (node && found.insert(node).second)
        {
            addHandle(*node);
        }
    };
    std::vector<const Properties*> open{&getProperties()};
    while (!open.empty())
    {
        const Properties& record = *open.back();
        open.pop_back();
        for (const std::string& key : record.names())
        {
            refer(key);
            refer(record.getString(key));
            if (record.kind(key) == Properties::Kind::Record)
            {
                open.push_back(&record.getProperties(key));
            }
        }
    }
}

} // namespace tsg
