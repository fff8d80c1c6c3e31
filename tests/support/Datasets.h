#pragma once

#include <initializer_list>
#include <string>
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
#include <vtkStringArray.h>
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

/// An array of strings, tuple by tuple.
inline vtkSmartPointer<vtkStringArray> stringsOf(const char* name, const std::vector<std::string>& values,
                                                 int components = 1)
{
    auto array = vtkSmartPointer<vtkStringArray>::New();
    array->SetName(name);
    array->SetNumberOfComponents(components);
    for (const std::string& value : values)
    {
        array->InsertNextValue(value);
    }
    return array;
}

/// An array whose values count from `first` on and begin again after a hundred; every third bit is set.
inline vtkSmartPointer<vtkDataArray> counting(int type, const std::string& name, vtkIdType tuples, int components,
                                              double first = 1)
{
    std::vector<double> values;
    for (int i = 0; i < tuples * components; ++i)
    {
        values.push_back(type == VTK_BIT ? i % 3 == 0 : first + i % 100);
    }
    return arrayOf(type, name.c_str(), components, values);
}

/// The names of arrays in order, each with those of its components ("-" for none), and strings with their values.
inline std::string namesIn(vtkFieldData& fields)
{
    std::string res;
    for (int i = 0; i < fields.GetNumberOfArrays(); ++i)
    {
        vtkAbstractArray& array = *fields.GetAbstractArray(i);
        auto* const strings = vtkStringArray::SafeDownCast(&array);
        res += array.GetName();
        for (int c = 0; array.HasAComponentName() && c < array.GetNumberOfComponents(); ++c)
        {
            res += std::string(".") + (array.GetComponentName(c) ? array.GetComponentName(c) : "-");
        }
        for (vtkIdType value = 0; strings && value < strings->GetNumberOfValues(); ++value)
        {
            res += (value % array.GetNumberOfComponents() == 0 ? "=" : ",") + strings->GetValue(value);
        }
        res += ' ';
    }
    return res;
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

/// Colours red, green, blue and opacity, from 0 to 1.
inline vtkSmartPointer<vtkLookupTable> tableOf(std::initializer_list<std::initializer_list<double>> colors)
{
    auto table = vtkSmartPointer<vtkLookupTable>::New();
    table->SetNumberOfTableValues(static_cast<vtkIdType>(colors.size()));
    vtkIdType i = 0;
    for (const auto& color : colors)
    {
        table->SetTableValue(i++, color.begin());
    }
    return table;
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

/// Five points that need doubles, and one cell of each kind.
inline vtkSmartPointer<vtkPolyData> allCellKinds()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(pointsOf(VTK_DOUBLE, {0, 0, 1e300, 1 / 3.0, 1e-9, 0, 2 / 3.0, 4e-9, 0, 1, 9e-9, 0, 4, 16e-9, 0}));
    data->SetVerts(cellsOf({{4}}));
    data->SetLines(cellsOf({{0, 1, 2}}));
    data->SetPolys(cellsOf({{0, 1, 4}}));
    data->SetStrips(cellsOf({{0, 1, 2, 3}}));
    return data;
}

/// Makes points and cells carry an active attribute of every kind and arrays of these types, the fields as well.
inline vtkSmartPointer<vtkPolyData> withAllArrays(vtkSmartPointer<vtkPolyData> data, const std::vector<int>& types)
{
    for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL})
    {
        vtkDataSetAttributes* const set = data->GetAttributes(owner);
        const vtkIdType tuples = data->GetNumberOfElements(owner);
        set->SetScalars(counting(VTK_UNSIGNED_CHAR, "colour of 100%", tuples, 3));
        set->SetVectors(counting(VTK_FLOAT, "v", tuples, 3));
        set->SetNormals(counting(VTK_SHORT, "n", tuples, 3));
        set->SetTCoords(counting(VTK_DOUBLE, "t", tuples, 2));
        set->SetTensors(counting(VTK_FLOAT, "\xc3\xa4", tuples, 9));
        set->SetGlobalIds(counting(VTK_ID_TYPE, "ids", tuples, 1));
        for (const int type : types)
        {
            set->AddArray(counting(type, "type " + std::to_string(type), tuples, type == VTK_BIT ? 1 : 2));
        }
    }
    for (const int type : types)
    {
        data->GetFieldData()->AddArray(counting(type, "type " + std::to_string(type), type + 8, 1));
    }
    return data;
}

} // namespace test
