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
    std::string pointIds;               ///< name of the point array of strings that is the pedigree ids, if one is
    std::string cellIds;                ///< likewise of the cells
    std::vector<std::string> changes;   ///< what is different in it since XML cannot hold it, a sentence each
    std::vector<std::string> losses;    ///< what is not in it for that reason, a sentence each
};

/// The geometry of a node, without cells that have fewer points than their kind needs, with the point and cell arrays
/// that fit it, active attributes and lookup tables; all other arrays as field data, and the colours of the lookup
/// tables too, since the files that it is meant for hold no tables. A field array whose name is taken gets "_2" and so
/// on behind it. The names of all arrays and components, which are the node's own, are escaped as VTK's XML writer
/// needs them; the node is not used again. That writer breaks down on pedigree ids that are strings: they are not
/// active. Strings with zero bytes, where it ends them, are left out.
NodeDataset datasetOf(const tsg::DataNode& node);

} // namespace tavosce
