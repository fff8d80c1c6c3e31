#pragma once

#include "support/Datasets.h"

#include <vtkInformation.h>
#include <vtkXMLPolyDataReader.h>
#include <vtkXMLPolyDataWriter.h>

namespace test
{

/// Writes a file with a VTK writer, in a file type if it has several.
template <class Writer, int FILE_TYPE = 0>
void writeWith(vtkPolyData& polys, const std::string& path)
{
    const vtkNew<Writer> writer;
    writer->SetFileName(path.c_str());
    writer->SetInputData(&polys);
    if constexpr (FILE_TYPE != 0)
    {
        writer->SetFileType(FILE_TYPE);
    }
    writer->Write();
}

template <class Reader>
vtkSmartPointer<vtkPolyData> readWith(const std::string& path)
{
    const vtkNew<Reader> reader;
    reader->SetFileName(path.c_str());
    reader->Update();
    return reader->GetOutput();
}

inline constexpr auto& writeVtp = writeWith<vtkXMLPolyDataWriter>;
inline constexpr auto& readVtp = readWith<vtkXMLPolyDataReader>;

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
