#include "support/TouchEverything.h"

#include "support/Datasets.h"
#include "support/Testing.h"

namespace test
{

namespace
{

double sumOf(vtkDataArray& array)
{
    double sum = 0.0;
    for (const double value : valuesOf(&array))
    {
        sum += value;
    }
    if (vtkLookupTable* const table = array.GetLookupTable())
    {
        table->Build();
        sum += sumOf(*table->GetTable());
    }
    return sum;
}

double sumOf(vtkFieldData* fields)
{
    double sum = 0.0;
    for (int i = 0; fields != nullptr && i < fields->GetNumberOfArrays(); ++i)
    {
        sum += fields->GetArray(i) != nullptr ? sumOf(*fields->GetArray(i)) : 0.0;
    }
    return sum;
}

/// Sums the coordinates of the points that the cells use; `large` gets the cells that have at least `least` points.
double sumOf(vtkPolyData& data, vtkCellArray& cells, vtkIdType least, vtkCellArray& large)
{
    double sum = 0.0;
    const vtkNew<vtkIdList> ids;
    for (cells.InitTraversal(); cells.GetNextCell(ids) != 0;)
    {
        for (const vtkIdType id : *ids)
        {
            if (id < 0 || id >= data.GetNumberOfPoints())
            {
                throw std::out_of_range("a cell refers to point " + std::to_string(id));
            }
            sum += data.GetPoint(id)[0];
        }
        if (ids->GetNumberOfIds() >= least)
        {
            large.InsertNextCell(ids);
        }
    }
    return sum;
}

double sumOfBounds(vtkPolyData& data)
{
    double sum = 0.0;
    data.BuildLinks();
    for (vtkIdType cell = 0; cell < data.GetNumberOfCells(); ++cell)
    {
        double bounds[6];
        data.GetCellBounds(cell, bounds);
        sum += bounds[0];
    }
    return sum;
}

} // namespace

double touchEverything(vtkPolyData& data)
{
    double sum = sumOf(data.GetFieldData()) + sumOf(data.GetPointData()) + sumOf(data.GetCellData());
    if (data.GetPoints() != nullptr)
    {
        sum += sumOf(*data.GetPoints()->GetData());
    }
    const vtkNew<vtkPolyData> large;
    const vtkNew<vtkCellArray> verts, lines, polys, strips;
    sum += sumOf(data, *data.GetVerts(), 1, *verts) + sumOf(data, *data.GetLines(), 2, *lines) +
           sumOf(data, *data.GetPolys(), 3, *polys) + sumOf(data, *data.GetStrips(), 3, *strips);
    large->SetPoints(data.GetPoints());
    large->SetVerts(verts);
    large->SetLines(lines);
    large->SetPolys(polys);
    large->SetStrips(strips);
    return large->GetNumberOfCells() > 0 ? sum + sumOfBounds(*large) : sum;
}

} // namespace test
