#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"

#include <string>

#include <vtkSmartPointer.h>

class vtkPolyData;

namespace tsg::detail
{

/// Reads a polydata from the text of an ASCII file of the VTK legacy format with VTK's own reader, which gets to see
/// only what LegacyTextCheck has found sound. Unlike that reader alone it also reads values that are no numbers or
/// infinite, and leaves the locale of the process as it was. Null if the text is not sound, is larger than 2 GiB or
/// needs more memory than the budget has. Arrays that a field section counts and does not have are one entry in the
/// log, since some writers leave out what they have counted; the text may also have been cut. What the polydata takes
/// stays charged.
vtkSmartPointer<vtkPolyData> readLegacyPolyData(std::string text, sdb::detail::MemoryBudget& budget);

} // namespace tsg::detail
