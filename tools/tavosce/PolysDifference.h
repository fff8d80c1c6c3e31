#pragma once

#include "ArrayDifference.h"

#include <string>

class vtkPolyData;

namespace tavosce
{

/// Compares the polydata of a node: points, the four kinds of cells, and the arrays that they carry, with active
/// attributes and lookup tables. Both may be given cells with another width of ids.
void comparePolys(const std::string& node, vtkPolyData& left, vtkPolyData& right, const Tolerance& tolerance,
                  Differences& differences);

} // namespace tavosce
