#pragma once

#include "Report.h"

#include "scenegraph/SceneGraph.h"

#include <string>

namespace tavosce
{

/// What a scene graph can be stored as.
enum class SceneForm
{
    Database, ///< a record of a scene database
    Directory ///< a scene directory
};

/// Makes a graph fit to be stored in a form, in place; `place` is how messages name the scene. Datasets are treated as
/// makeStorable treats them. What the form cannot hold (kinds of node data that it has no place for, values beyond its
/// widths, names that no file can have, a second dataset of the same kind and name) is left out and noted if
/// `skipUnsupported`. Throws Failure NotStorable otherwise, after one error line for each, and as makeStorable does.
void makeStorable(tsg::SceneGraph& graph, SceneForm form, const std::string& place, bool skipUnsupported,
                  Report& report);

} // namespace tavosce
