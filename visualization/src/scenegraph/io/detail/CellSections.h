#pragma once

#include "scenegraph/io/detail/DatasetBlock.h"

#include <vtkPolyData.h>

class vtkCellArray;

namespace tsg::detail
{

/// One kind of cells of a polydata, and what its section is called.
struct CellSection
{
    vtkCellArray* (vtkPolyData::*cells)();
    std::string_view keyword;
};

/// In the order in which they are written.
constexpr CellSection CELL_SECTIONS[] = {
    {&vtkPolyData::GetVerts, VERTICES_WORD},
    {&vtkPolyData::GetLines, LINES_WORD},
    {&vtkPolyData::GetPolys, POLYGONS_WORD},
    {&vtkPolyData::GetStrips, TRIANGLE_STRIPS_WORD},
};

} // namespace tsg::detail
