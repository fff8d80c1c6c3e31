#pragma once

#include <array>

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

/// Puts an array into the place of the one of its name; it becomes the active attribute that the other one was.
void replaceArray(vtkFieldData& fields, vtkDataArray& array);

} // namespace tavosce
