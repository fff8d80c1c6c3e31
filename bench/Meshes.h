#pragma once

#include <string>
#include <vector>

#include <vtkDataArray.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace bench
{

/// A wavy surface of side x side float points with two triangles a square.
vtkSmartPointer<vtkPolyData> wavySurface(int side);

/// Smooth values over `tuples` tuples, of a VTK type code.
vtkSmartPointer<vtkDataArray> smoothArray(const std::string& name, int vtkType, int components, int tuples);

/// The bytes that the file stores for the numeric arrays of a polydata: points as floats, connectivity as 32-bit
/// {count, ids...}; and for an array, ids and long in 4 bytes.
std::vector<std::vector<char>> storedArrays(vtkPolyData& polys);
std::vector<char> storedArray(vtkDataArray& array);

} // namespace bench
