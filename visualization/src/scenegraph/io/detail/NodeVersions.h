#pragma once

#include "core/ClassVersions.h"

#include <string>

namespace tsg
{
class NodeRegistry;
}

namespace tsg::detail
{

/// The classes of the nodes that a load comes upon, with the versions that they were stored with.
class NodeVersions
{
public:
    /// A node whose class `stored` does not name is passed over.
    void add(const std::string& objectKey, const ClassVersions& stored);

    /// Logs a line for each class that does not become what the registry knows.
    void logGaps(const NodeRegistry& registry) const;

private:
    ClassVersions _versions;
};

} // namespace tsg::detail
