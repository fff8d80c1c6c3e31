#pragma once

#include "scenegraph/GraphBuilder.h"
#include "scenegraph/SceneGraph.h"

namespace tavosce
{

/// Takes the graph from a builder, with nothing left behind: data under no node's key hangs at a node of its own.
tsg::SceneGraph takeAll(tsg::GraphBuilder& builder);

} // namespace tavosce
