#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <vtkBitArray.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkDoubleArray.h>
#include <vtkIdTypeArray.h>
#include <vtkInformation.h>
#include <vtkLongArray.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>
#include <vtkXMLPolyDataReader.h>
#include <vtkXMLPolyDataWriter.h>

namespace test
{

/// An array of a VTK type whose values count up from `first`.
inline vtkSmartPointer<vtkDataArray> counting(int vtkType, const std::string& name, int tuples, int components,
                                              double first = 1)
{
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(vtkType));
    array->SetName(name.c_str());
    array->SetNumberOfComponents(components);
    array->SetNumberOfTuples(tuples);
    for (int i = 0; i < tuples * components; ++i)
    {
        array->SetComponent(i / components, i % components, vtkType == VTK_BIT ? i % 3 == 0 : first + i);
    }
    return array;
}

/// Five points that need doubles, and one cell of each kind.
inline vtkSmartPointer<vtkPolyData> allCellKinds()
{
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    const vtkNew<vtkPoints> points;
    points->SetDataTypeToDouble();
    for (int i = 0; i < 5; ++i)
    {
        points->InsertNextPoint(i / 3.0, i * i * 1e-9, 1e300);
    }
    polys->SetPoints(points);
    const vtkNew<vtkCellArray> verts, lines, triangles, strips;
    verts->InsertNextCell({4});
    lines->InsertNextCell({0, 1, 2});
    triangles->InsertNextCell({0, 1, 4});
    strips->InsertNextCell({0, 1, 2, 3});
    polys->SetVerts(verts);
    polys->SetLines(lines);
    polys->SetPolys(triangles);
    polys->SetStrips(strips);
    return polys;
}

/// All kinds of cells, arrays of all types, and an active attribute of every kind that a file can carry.
inline vtkSmartPointer<vtkPolyData> everything()
{
    vtkSmartPointer<vtkPolyData> polys = allCellKinds();
    for (const int type : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15, 16, 17})
    {
        const std::string name = "type " + std::to_string(type);
        polys->GetPointData()->AddArray(counting(type, name, 5, 1));
        polys->GetCellData()->AddArray(counting(type, name, 4, type == VTK_BIT ? 1 : 2)); // VTK reads such bits wrongly
        polys->GetFieldData()->AddArray(counting(type, name, type + 8, type == VTK_BIT ? 1 : 3));
    }
    vtkDataArray* const doubles = polys->GetPointData()->GetArray("type 11");
    doubles->SetTuple1(0, std::numeric_limits<double>::quiet_NaN());
    doubles->SetTuple1(1, -std::numeric_limits<double>::infinity());
    doubles->SetTuple1(2, -0.0);
    polys->GetPointData()->SetScalars(counting(VTK_SHORT, "s", 5, 1));
    polys->GetPointData()->SetVectors(counting(VTK_FLOAT, "v", 5, 3));
    polys->GetPointData()->SetNormals(counting(VTK_FLOAT, "n", 5, 3));
    polys->GetPointData()->SetTCoords(counting(VTK_DOUBLE, "t", 5, 2));
    polys->GetCellData()->SetTensors(counting(VTK_DOUBLE, "T", 4, 9));
    polys->GetCellData()->SetGlobalIds(counting(VTK_ID_TYPE, "g", 4, 1));
    polys->GetCellData()->SetPedigreeIds(counting(VTK_ID_TYPE, "p", 4, 1));
    return polys;
}

inline void writeVtp(vtkPolyData& polys, const std::string& path)
{
    const vtkNew<vtkXMLPolyDataWriter> writer;
    writer->SetFileName(path.c_str());
    writer->SetInputData(&polys);
    writer->Write();
}

inline vtkSmartPointer<vtkPolyData> readVtp(const std::string& path)
{
    const vtkNew<vtkXMLPolyDataReader> reader;
    reader->SetFileName(path.c_str());
    reader->Update();
    return reader->GetOutput();
}

/// All that a polydata holds as one text: equal texts, equal content, bit for bit.
inline std::string textOf(vtkPolyData& polys)
{
    const vtkNew<vtkPolyData> plain;
    plain->ShallowCopy(&polys);
    for (int association : {vtkDataObject::POINT, vtkDataObject::CELL, vtkDataObject::FIELD})
    {
        vtkFieldData* const fields = plain->GetAttributesAsFieldData(association);
        for (int i = 0; i < fields->GetNumberOfArrays(); ++i)
        {
            fields->GetAbstractArray(i)->GetInformation()->Clear(); // readers leave ranges there
        }
    }
    if (plain->GetPoints())
    {
        plain->GetPoints()->GetData()->GetInformation()->Clear();
    }
    const vtkNew<vtkXMLPolyDataWriter> writer;
    writer->WriteToOutputStringOn();
    writer->SetCompressorTypeToNone();
    writer->EncodeAppendedDataOff();
    writer->SetInputData(plain);
    writer->Write();
    return writer->GetOutputString();
}

} // namespace test
