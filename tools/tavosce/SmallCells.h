#pragma once

#include <cstdint>

class vtkPolyData;

namespace tavosce
{

/// Takes the cells with fewer points than their kind needs out of a polydata, with their rows of cell data, whose
/// arrays all have names. Cells and arrays that were its own stay as they are: it gets others. How many cells there
/// were.
///
/// Such cells are stored like any other, but VTK's own code crashes on them as soon as it asks for the type of a cell,
/// as its writers do.
std::uint64_t leaveOutSmallCells(vtkPolyData& dataset);

} // namespace tavosce
