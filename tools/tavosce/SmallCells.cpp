#include "SmallCells.h"

#include "DatasetArrays.h"

#include <vtkAbstractArray.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkIdList.h>
#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace tavosce
{

namespace
{

/// Calls `visit` for each cell that has enough points, with its place among those of its kind.
template <class Visit>
void forLargeCells(vtkCellArray& cells, vtkIdType least, Visit visit)
{
    for (vtkIdType i = 0; i < cells.GetNumberOfCells(); ++i)
    {
        if (cells.GetCellSize(i) >= least)
        {
            visit(i);
        }
    }
}

vtkIdType countSmallCells(vtkPolyData& dataset)
{
    vtkIdType res = dataset.GetNumberOfCells();
    for (const CellKind& kind : CELL_KINDS)
    {
        forLargeCells(*(dataset.*kind.cells)(), kind.least, [&](vtkIdType) { --res; });
    }
    return res;
}

/// Replaces the cells of each kind. The places that those which stay had among all cells.
vtkSmartPointer<vtkIdList> keepLargeCells(vtkPolyData& dataset)
{
    auto rows = vtkSmartPointer<vtkIdList>::New();
    const vtkNew<vtkIdList> ids;
    vtkIdType first = 0;
    for (const CellKind& kind : CELL_KINDS)
    {
        vtkCellArray& cells = *(dataset.*kind.cells)();
        const vtkNew<vtkCellArray> kept;
        const auto keep = [&](vtkIdType cell)
        {
            cells.GetCellAtId(cell, ids);
            kept->InsertNextCell(ids);
            rows->InsertNextId(first + cell);
        };
        forLargeCells(cells, kind.least, keep);
        first += cells.GetNumberOfCells();
        (dataset.*kind.setCells)(kept);
    }
    return rows;
}

void keepRows(vtkFieldData& fields, vtkIdList& rows)
{
    for (int i = 0; i < fields.GetNumberOfArrays(); ++i)
    {
        vtkAbstractArray& array = *fields.GetAbstractArray(i);
        const auto kept = vtkSmartPointer<vtkAbstractArray>::Take(array.NewInstance());
        kept->SetName(array.GetName());
        kept->SetNumberOfComponents(array.GetNumberOfComponents());
        kept->CopyComponentNames(&array);
        kept->SetNumberOfTuples(rows.GetNumberOfIds());
        array.GetTuples(&rows, kept);
        replaceArray(fields, *kept);
    }
}

} // namespace

std::uint64_t leaveOutSmallCells(vtkPolyData& dataset)
{
    const vtkIdType small = countSmallCells(dataset);
    if (small > 0)
    {
        keepRows(*dataset.GetCellData(), *keepLargeCells(dataset));
    }
    return static_cast<std::uint64_t>(small);
}

} // namespace tavosce
