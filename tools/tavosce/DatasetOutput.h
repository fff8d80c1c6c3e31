#pragma once

#include <string>

class vtkPolyData;

namespace tavosce
{

/// Writes a polydata as .vtp file; `place` is how messages name it. Throws Failure CannotWrite, also if VTK's writer
/// crashes, and Interruption; what has been made of the file is left behind.
void writeDataset(vtkPolyData& dataset, const std::string& path, const std::string& place);

} // namespace tavosce
