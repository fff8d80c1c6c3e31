#pragma once

#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/SDBPolyDataWriter.h"
#include "support/Testing.h"

#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace fuzz
{

/// The polydata of a dataset block; null if there is none in it.
vtkSmartPointer<vtkPolyData> readBlock(const std::string& bytes);

/// The dataset block of a polydata, with all its arrays.
std::string writeBlock(vtkPolyData& polys);

} // namespace fuzz
