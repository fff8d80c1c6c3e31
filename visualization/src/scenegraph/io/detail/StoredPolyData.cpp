#include "scenegraph/io/detail/StoredPolyData.h"

#include "scenegraph/io/detail/CellSections.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkPointData.h>
#include <vtkPoints.h>

namespace tsg::detail
{

namespace
{

std::uint64_t fieldBytes(vtkFieldData* fields)
{
    std::uint64_t bytes = 0;
    for (int i = 0; fields != nullptr && i < fields->GetNumberOfArrays(); ++i)
    {
        vtkDataArray* const array = fields->GetArray(i);
        bytes += array != nullptr ? storedBytes(*array) : 0;
    }
    return bytes;
}

} // namespace

std::string pointsRefusal(vtkPolyData& polys)
{
    if (polys.GetPoints() == nullptr)
    {
        return {};
    }
    vtkDataArray& points = *polys.GetPoints()->GetData();
    if (typeWordOf(points.GetDataType()) == nullptr)
    {
        return std::string("they are of type ") + points.GetDataTypeAsString();
    }
    return storingRefusal(points, points.GetNumberOfTuples() * points.GetNumberOfComponents());
}

std::uint64_t storedBytes(vtkPolyData& polys)
{
    std::uint64_t bytes = polys.GetPoints() != nullptr ? storedBytes(*polys.GetPoints()->GetData()) : 0;
    for (const CellSection& section : CELL_SECTIONS)
    {
        vtkCellArray& cells = *(polys.*section.cells)();
        bytes += static_cast<std::uint64_t>(cells.GetNumberOfConnectivityEntries()) * sizeof(std::int32_t);
    }
    return bytes + fieldBytes(polys.GetFieldData()) + fieldBytes(polys.GetPointData()) +
           fieldBytes(polys.GetCellData());
}

} // namespace tsg::detail
