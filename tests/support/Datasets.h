#pragma once

#include <initializer_list>
#include <vector>

#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>
#include <vtkVariant.h>

namespace test
{

/// An array of a VTK type with the given values, tuple by tuple. A null name leaves it without one.
inline vtkSmartPointer<vtkDataArray> arrayOf(int type, const char* name, int components,
                                             const std::vector<double>& values)
{
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(type));
    array->SetName(name);
    array->SetNumberOfComponents(components);
    for (const double value : values)
    {
        array->InsertVariantValue(array->GetNumberOfValues(), value);
    }
    return array;
}

/// A float array of one component.
inline vtkSmartPointer<vtkDataArray> floats(const char* name, const std::vector<double>& values)
{
    return arrayOf(VTK_FLOAT, name, 1, values);
}

/// All values of an array; none for a null array.
inline std::vector<double> valuesOf(vtkDataArray* array)
{
    std::vector<double> values;
    for (vtkIdType i = 0; array != nullptr && i < array->GetNumberOfValues(); ++i)
    {
        const int components = array->GetNumberOfComponents();
        values.push_back(array->GetComponent(i / components, static_cast<int>(i % components)));
    }
    return values;
}

/// Points of a VTK type with these coordinates, three a point.
inline vtkSmartPointer<vtkPoints> pointsOf(int type, const std::vector<double>& coordinates)
{
    auto points = vtkSmartPointer<vtkPoints>::New();
    points->SetData(arrayOf(type, nullptr, 3, coordinates));
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

/// One point, and nothing else.
inline vtkSmartPointer<vtkPolyData> onePoint()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(pointsOf(VTK_FLOAT, {0, 0, 0}));
    return data;
}

/// One triangle.
inline vtkSmartPointer<vtkPolyData> triangle()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(pointsOf(VTK_FLOAT, {0, 0, 0, 1, 0, 0, 0, 1, 0.5}));
    data->SetPolys(cellsOf({{0, 1, 2}}));
    return data;
}

} // namespace test
