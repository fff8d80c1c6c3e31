#pragma once

#include "Report.h"

#include "scenegraph/NodeRegistry.h"
#include "scenegraph/SceneGraph.h"

#include <string>

namespace tavosce
{

/// True if a path is that of a scene directory: a directory with a scene file in it.
bool isSceneDirectory(const std::string& path);

struct LoadedScene
{
    tsg::SceneGraph graph;
    bool isWhole; ///< false if something of it could not be loaded
};

/// Loads a scene directory and chooses the root: the one SceneNode that nothing else refers to. What cannot be loaded
/// is a warning that names its file, and so is a version gap. Throws Failure: CannotOpen; TooDamaged when there is no
/// telling which node is the root.
LoadedScene loadSceneDirectory(const std::string& path, Report& report);

/// Writes a graph, whose root has been chosen and which has been made storable, into a directory that exists. `place`
/// is how messages name the output. Throws Failure: NotStorable for a root that is no SceneNode; CannotWrite.
void saveSceneDirectory(const tsg::SceneGraph& graph, const std::string& directory, const std::string& place);

} // namespace tavosce
