#pragma once

#include "core/Export.h"
#include "scenegraph/NodeRegistry.h"

namespace tsg
{

/// Makes all node classes of this library known to a registry.
TAVO_EXPORT void registerStandardNodes(NodeRegistry& registry);

} // namespace tsg
