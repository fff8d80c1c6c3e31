#pragma once

#include "core/Properties.h"
#include "scenegraph/NodeData.h"
#include "scenegraph/PolyDataNode.h"

class vtkFieldData;

/// What the sources of the geometry node share: the names on disk, and the way to the arrays of a polydata.
namespace tsg::detail
{

constexpr PolyDataNode::Association ASSOCIATIONS[] = {PolyDataNode::Points, PolyDataNode::Cells, PolyDataNode::Fields};

/// Property names of an association, by its number.
struct PolyDataKeys
{
    const char* active; ///< null for none
    const char* bits;
    const char* tables;
    const char* components;
    const char* strings;
};

constexpr PolyDataKeys POLY_DATA_KEYS[] = {
    {"ActivePointData", "PointBitArrays", "PointLookupTables", "PointComponentNames", "PointStringArrays"},
    {"ActiveCellData", "CellBitArrays", "CellLookupTables", "CellComponentNames", "CellStringArrays"},
    {nullptr, "FieldBitArrays", "FieldLookupTables", "FieldComponentNames", "FieldStringArrays"}};

/// May be null for fields.
vtkFieldData* fieldsOf(vtkPolyData& polys, PolyDataNode::Association association);
int arrayCount(vtkPolyData& polys, PolyDataNode::Association association);

/// An array as the piece of data that it is stored as.
NodeData pieceOf(PolyDataNode::Association association, vtkDataArray* array);

/// Sets a nested record that exists only while it has entries. A value that is no record stays until there are some.
void setRecord(Properties& properties, const char* key, Properties&& record);

} // namespace tsg::detail
