#pragma once

#include <initializer_list>
#include <vector>

#include <vtkCellArray.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace test
{

/// An array of the given values, tuple by tuple. A null name leaves it without one.
template <class Array>
vtkSmartPointer<Array> arrayOf(const char* name, int components, const std::vector<double>& values)
{
    auto array = vtkSmartPointer<Array>::New();
    array->SetName(name);
    array->SetNumberOfComponents(components);
    for (const double value : values)
    {
        array->InsertNextValue(static_cast<decltype(array->GetValue(0))>(value));
    }
    return array;
}

/// Points with these coordinates, three a point.
template <class Array>
vtkSmartPointer<vtkPoints> pointsOf(const std::vector<double>& coordinates)
{
    auto points = vtkSmartPointer<vtkPoints>::New();
    points->SetData(arrayOf<Array>(nullptr, 3, coordinates));
    return points;
}

/// One cell for each list of point ids.
inline vtkSmartPointer<vtkCellArray> cellsOf(std::initializer_list<std::initializer_list<vtkIdType>> cells)
{
    auto array = vtkSmartPointer<vtkCellArray>::New();
    for (const auto& ids : cells)
    {
        array->InsertNextCell(ids);
    }
    return array;
}

/// `count` points in a row, and nothing else.
inline vtkSmartPointer<vtkPolyData> pointRow(int count)
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(vtkSmartPointer<vtkPoints>::New());
    for (int i = 0; i < count; ++i)
    {
        data->GetPoints()->InsertNextPoint(i, 0, 0);
    }
    return data;
}

} // namespace test
