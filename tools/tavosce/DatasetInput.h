#pragma once

#include "Report.h"

#include <string>

#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace tavosce
{

/// The file name extensions of the datasets that can be read, for messages.
std::string datasetExtensions();

/// Throws Failure if the extension of the path names no format: CannotOpen if there is no such file, else WrongUsage.
void requireDatasetFormat(const std::string& path);

/// Reads a polydata file in the format that its extension names, all arrays included. What the reader warns of is
/// reported. Throws Failure:
///   WrongUsage  - no such format
///   CannotOpen  - missing, a directory, no permission
///   TooDamaged  - empty, or not readable as its format
///   NotStorable - a dataset of another kind than polydata
vtkSmartPointer<vtkPolyData> readDataset(const std::string& path, Report& report);

} // namespace tavosce
