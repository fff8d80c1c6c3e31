#pragma once

#include <array>
#include <string>

#include <vtkFieldData.h>
#include <vtkPolyData.h>

namespace tavosce
{

/// The arrays of one association of a polydata.
struct Section
{
    const char* noun; ///< what one of them is called in messages
    vtkFieldData* fields;
};

/// Point, cell and field arrays, in the order of tsg::PolyDataNode::Association. A polydata without field data gets
/// some.
std::array<Section, 3> sectionsOf(vtkPolyData& dataset);

/// One kind of cells of a polydata.
struct CellKind
{
    const char* name; ///< as VTK abbreviates it
    const char* noun; ///< what they are called in messages
    vtkIdType least;  ///< the points that one of them needs to be something; files may hold smaller ones
    vtkCellArray* (vtkPolyData::*cells)();
    void (vtkPolyData::*setCells)(vtkCellArray*);
};

/// In the order in which cell data goes through them.
constexpr CellKind CELL_KINDS[] = {
    {"verts", "vertices", 1, &vtkPolyData::GetVerts, &vtkPolyData::SetVerts},
    {"lines", "lines", 2, &vtkPolyData::GetLines, &vtkPolyData::SetLines},
    {"polys", "polygons", 3, &vtkPolyData::GetPolys, &vtkPolyData::SetPolys},
    {"strips", "triangle strips", 3, &vtkPolyData::GetStrips, &vtkPolyData::SetStrips},
};

/// The name of an array; empty for null and for one without a name.
std::string arrayName(vtkAbstractArray* array);

/// Puts an array into the place of the one of its name; it becomes the active attribute that the other one was.
void replaceArray(vtkFieldData& fields, vtkAbstractArray& array);

} // namespace tavosce
