#pragma once

class vtkDataArray;
class vtkPolyData;

namespace tavosce
{

/// True if two polydata have the same points, bit for bit and of one type, and the same cells of all four kinds. Arrays
/// do not count.
bool sameGeometry(vtkPolyData& left, vtkPolyData& right);

/// True if two arrays have the same type, name, shape, names of components, values (bit for bit) and lookup table.
bool sameArray(vtkDataArray& left, vtkDataArray& right);

} // namespace tavosce
