#pragma once

#include "Report.h"

#include "scenegraph/GraphBuilder.h"
#include "scenegraph/SceneGraph.h"

namespace tavosce
{

/// Takes the graph from a builder, with nothing left behind: data under no node's key hangs at a node of its own.
tsg::SceneGraph takeAll(tsg::GraphBuilder& builder);

/// Warns of each class that was loaded with a version gap.
void warnOfVersionGaps(const tsg::GraphBuilder& builder, const std::string& place, Report& report);

} // namespace tavosce
