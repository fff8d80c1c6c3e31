#pragma once

#include "scenegraph/DataNode.h"

#include <cstdint>
#include <string>
#include <vector>

#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace tavosce
{

/// The data of a node as one polydata.
struct NodeDataset
{
    vtkSmartPointer<vtkPolyData> polys; ///< null if the node has no data
    bool hasGeometry = false;           ///< false if all that the polydata has is field data
    std::vector<std::string> renamed;   ///< names that XML cannot hold; the arrays have others
    std::uint64_t leftOut = 0;          ///< how many cells had fewer points than their kind needs
};

/// The geometry of a node, without cells that have fewer points than their kind needs, with the point and cell arrays
/// that fit it, active attributes and lookup tables; all other arrays as field data, and the colours of the lookup
/// tables too, since the files that it is meant for hold no tables. A field array whose name is taken gets "_2" and so
/// on behind it. The names of all arrays, which are the node's own, and of their components are escaped as VTK's XML
/// writer needs them; the node is not used again.
NodeDataset datasetOf(const tsg::DataNode& node);

} // namespace tavosce
