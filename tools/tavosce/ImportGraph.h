#pragma once

#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneGraph.h"
#include "scenegraph/SceneNode.h"

#include <cstddef>
#include <string>
#include <vector>

#include <vtkPolyData.h>

namespace tavosce
{

/// The scene that an import writes: one root, and below it a node for each part. The nodes live as long as the run,
/// since a writer repeats the nodes it has seen; their datasets are exchanged from record to record.
class ImportGraph
{
public:
    explicit ImportGraph(const std::string& title);

    /// Gives a part its dataset, which is taken apart. Geometry and arrays that equal those the part has stay the same
    /// objects, so that a writer finds them unchanged. A part is made when its number, counted from 0, comes first.
    void setPart(std::size_t part, const std::string& name, vtkPolyData& dataset);

    /// The scene, with its root chosen.
    tsg::SceneGraph& graph() { return _graph; }

private:
    tsg::SceneGraph _graph;
    tsg::SceneNode& _root;
    std::vector<tsg::PolyDataNode*> _parts; ///< owned by the graph
};

} // namespace tavosce
