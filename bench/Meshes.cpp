#include "Meshes.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include <vtkCellArray.h>
#include <vtkFloatArray.h>
#include <vtkIdTypeArray.h>
#include <vtkPoints.h>

namespace bench
{

namespace
{

template <class T>
void append(std::vector<char>& bytes, T value)
{
    const auto* first = reinterpret_cast<const char*>(&value);
    bytes.insert(bytes.end(), first, first + sizeof(T));
}

std::vector<char> storedCells(vtkCellArray& cells)
{
    std::vector<char> bytes;
    vtkIdType count = 0;
    const vtkIdType* ids = nullptr;
    for (cells.InitTraversal(); cells.GetNextCell(count, ids) != 0;)
    {
        append(bytes, static_cast<std::int32_t>(count));
        for (vtkIdType i = 0; i < count; ++i)
        {
            append(bytes, static_cast<std::int32_t>(ids[i]));
        }
    }
    return bytes;
}

} // namespace

vtkSmartPointer<vtkPolyData> wavySurface(int side)
{
    auto points = vtkSmartPointer<vtkPoints>::New();
    points->SetNumberOfPoints(static_cast<vtkIdType>(side) * side);
    auto triangles = vtkSmartPointer<vtkCellArray>::New();
    for (int y = 0; y < side; ++y)
    {
        for (int x = 0; x < side; ++x)
        {
            const vtkIdType id = static_cast<vtkIdType>(y) * side + x;
            points->SetPoint(id, x * 0.01, y * 0.01, std::sin(x * 0.013) * std::cos(y * 0.017));
            if (x + 1 < side && y + 1 < side)
            {
                triangles->InsertNextCell({id, id + 1, id + side});
                triangles->InsertNextCell({id + 1, id + side + 1, id + side});
            }
        }
    }
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    polys->SetPoints(points);
    polys->SetPolys(triangles);
    return polys;
}

vtkSmartPointer<vtkDataArray> smoothArray(const std::string& name, int vtkType, int components, int tuples)
{
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(vtkType));
    array->SetName(name.c_str());
    array->SetNumberOfComponents(components);
    array->SetNumberOfTuples(tuples);
    for (int i = 0; i < tuples; ++i)
    {
        for (int c = 0; c < components; ++c)
        {
            array->SetComponent(i, c, 10000.0 * (1.0 + std::sin(i * 0.001 + c)));
        }
    }
    return array;
}

std::vector<char> storedArray(vtkDataArray& array)
{
    std::vector<char> bytes;
    if (auto* ids = vtkIdTypeArray::SafeDownCast(&array))
    {
        for (vtkIdType i = 0; i < ids->GetNumberOfValues(); ++i)
        {
            append(bytes, static_cast<std::int32_t>(ids->GetValue(i)));
        }
        return bytes;
    }
    const auto size = static_cast<std::size_t>(array.GetNumberOfValues() * array.GetDataTypeSize());
    bytes.resize(size);
    std::memcpy(bytes.data(), array.GetVoidPointer(0), size);
    return bytes;
}

std::vector<std::vector<char>> storedArrays(vtkPolyData& polys)
{
    return {storedArray(*polys.GetPoints()->GetData()), storedCells(*polys.GetPolys())};
}

} // namespace bench
