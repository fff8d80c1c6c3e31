#pragma once

#include "RecordWalk.h"
#include "SceneFile.h"
#include "Values.h"

#include <cstddef>
#include <string>

namespace tavosce
{

/// An array of a node, or the points or cells of its geometry.
struct FoundArray
{
    std::string name; ///< the shortest by which nothing else of the node can be meant
    Values values;
};

/// Finds what a name means among the data of a node: an array that is stored by itself, else the geometry's "points",
/// "verts", "lines", "polys" or "strips", else an array within the stored polydata. "point:", "cell:" and "node:" in
/// front of the name, or the kind of a node array as "field:" and "node1:" to "node4:", or "polydata:", tell apart
/// what has the same name. Only the block in question is decoded.
/// Throws Failure: WrongUsage - there is no such array, or more than one; TooDamaged - it cannot be decoded.
FoundArray findArray(SceneFile& file, std::size_t record, const RecordContents& contents, const std::string& objectKey,
                     const std::string& name);

} // namespace tavosce
