#pragma once

class vtkPolyData;

namespace test
{

/// Looks at all that a polydata holds, as an application would, so that a lie in it shows: sums all values and the
/// colours of lookup tables, visits every id of every cell and its point, builds links and takes the bounds of every
/// cell that is not too small for its kind, with which VTK itself fails. Returns the sum.
double touchEverything(vtkPolyData& data);

} // namespace test
