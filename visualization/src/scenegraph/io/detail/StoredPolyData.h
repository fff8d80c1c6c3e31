#pragma once

#include <cstdint>
#include <string>

class vtkPolyData;

/// What can be said of a polydata's dataset block before it is written.
namespace tsg::detail
{

/// Why the points cannot be stored, without which a block makes no sense; empty if they can.
std::string pointsRefusal(vtkPolyData& polys);

/// The bytes of its points, cells and arrays in stored form, more or less: what is left out counts too.
std::uint64_t storedBytes(vtkPolyData& polys);

} // namespace tsg::detail
