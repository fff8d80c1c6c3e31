#include "scenegraph/io/SDBDataWriter.h"

#include "scenegraph/io/detail/ArrayRecord.h"
#include "scenegraph/io/detail/AttributeValues.h"
#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/DatasetBlock.h"

#include <algorithm>
#include <iterator>

#include <vtkCellData.h>
#include <vtkDataSet.h>
#include <vtkErrorCode.h>
#include <vtkFloatArray.h>
#include <vtkLookupTable.h>
#include <vtkPointData.h>
#include <vtkUnsignedCharArray.h>

/// Attributes, colours and field data: the records of a point-data or cell-data section.
namespace tsg
{

struct SDBDataWriter::AttributeKind
{
    const detail::AttributeFormat& format;
    char* SDBDataWriter::*explicitName;
};

const SDBDataWriter::AttributeKind SDBDataWriter::SCALARS_KIND{detail::SCALARS_FORMAT, &SDBDataWriter::ScalarsName};
const SDBDataWriter::AttributeKind SDBDataWriter::VECTORS_KIND{detail::VECTORS_FORMAT, &SDBDataWriter::VectorsName};
const SDBDataWriter::AttributeKind SDBDataWriter::NORMALS_KIND{detail::NORMALS_FORMAT, &SDBDataWriter::NormalsName};
const SDBDataWriter::AttributeKind SDBDataWriter::TCOORDS_KIND{detail::TCOORDS_FORMAT, &SDBDataWriter::TCoordsName};
const SDBDataWriter::AttributeKind SDBDataWriter::TENSORS_KIND{detail::TENSORS_FORMAT, &SDBDataWriter::TensorsName};
const SDBDataWriter::AttributeKind SDBDataWriter::GLOBAL_IDS_KIND{detail::GLOBAL_IDS_FORMAT,
                                                                  &SDBDataWriter::GlobalIdsName};

namespace
{

constexpr int NO_NARROWING = 0;

} // namespace

int SDBDataWriter::vtkIsInTheList(int index, const int* list, int count)
{
    return std::find(list, list + std::max(count, 0), index) != list + std::max(count, 0) ? 1 : 0;
}

std::string SDBDataWriter::AttributeName(const AttributeKind& kind, vtkDataArray& array)
{
    return detail::encodedName(
        *this, detail::firstNonEmpty({this->*kind.explicitName, array.GetName(), kind.format.defaultName.data()}));
}

std::string SDBDataWriter::LookupTableWord() const
{
    return detail::firstNonEmpty({this->LookupTableName, detail::LOOKUP_TABLE_NAME});
}

int SDBDataWriter::WriteCellData(std::ofstream* fp, vtkDataSet* dataSet)
{
    return this->WriteAttributes(fp, std::string(detail::CELL_DATA_WORD), dataSet->GetCellData(),
                                 dataSet->GetNumberOfCells());
}

int SDBDataWriter::WritePointData(std::ofstream* fp, vtkDataSet* dataSet)
{
    return this->WriteAttributes(fp, std::string(detail::POINT_DATA_WORD), dataSet->GetPointData(),
                                 dataSet->GetNumberOfPoints());
}

int SDBDataWriter::WriteAttributes(std::ofstream* fp, const std::string& keyword, vtkDataSetAttributes* attributes,
                                   std::int64_t num)
{
    if (fp == nullptr)
    {
        return 0;
    }
    if (num < 1)
    {
        return 1;
    }
    detail::writeText(*fp, keyword + ' ' + std::to_string(num) + '\n');
    const int tuples = static_cast<int>(num);
    if (detail::hasTuples(attributes->GetScalars()) && this->WriteScalarData(fp, attributes->GetScalars(), tuples) == 0)
    {
        return 0;
    }
    for (const AttributeKind* const kind :
         {&VECTORS_KIND, &NORMALS_KIND, &TCOORDS_KIND, &TENSORS_KIND, &GLOBAL_IDS_KIND})
    {
        vtkDataArray* const array = attributes->GetAttribute(kind->format.attribute);
        if (detail::hasTuples(array) && this->WriteAttribute(fp, *kind, array, tuples) == 0)
        {
            return 0;
        }
    }
    return detail::anyTuples(attributes) ? this->WriteFieldData(fp, attributes) : 1;
}

int SDBDataWriter::WriteAttribute(std::ofstream* fp, const AttributeKind& kind, vtkDataArray* array, int num)
{
    if (fp == nullptr || !this->includeArray(array))
    {
        return fp == nullptr ? 0 : 1;
    }
    const int components = kind.format.components != 0 ? kind.format.components : array->GetNumberOfComponents();
    const bool tensors = kind.format.attribute == vtkDataSetAttributes::TENSORS;
    const auto values = tensors ? detail::withNineComponents(*array) : vtkSmartPointer<vtkDataArray>(array);
    const detail::ArrayRecord record(*values, num, components, NO_NARROWING, *this->NarrowingBuffer);
    if (this->ReportRefusal(*array, record.refusal()))
    {
        return 1;
    }
    detail::writeText(*fp, std::string(kind.format.keyword) + ' ');
    const std::string dimension = kind.format.components != 0 ? "" : ' ' + std::to_string(components);
    return this->WriteRecord(fp, record,
                             detail::escapedForTemplate(this->AttributeName(kind, *array)) + dimension + " %s\n");
}

int SDBDataWriter::WriteVectorData(std::ofstream* fp, vtkDataArray* vectors, int num)
{
    return this->WriteAttribute(fp, VECTORS_KIND, vectors, num);
}

int SDBDataWriter::WriteNormalData(std::ofstream* fp, vtkDataArray* normals, int num)
{
    return this->WriteAttribute(fp, NORMALS_KIND, normals, num);
}

int SDBDataWriter::WriteTCoordData(std::ofstream* fp, vtkDataArray* tcoords, int num)
{
    return this->WriteAttribute(fp, TCOORDS_KIND, tcoords, num);
}

int SDBDataWriter::WriteTensorData(std::ofstream* fp, vtkDataArray* tensors, int num)
{
    return this->WriteAttribute(fp, TENSORS_KIND, tensors, num);
}

int SDBDataWriter::WriteGlobalIdData(std::ofstream* fp, vtkDataArray* globalIds, int num)
{
    return this->WriteAttribute(fp, GLOBAL_IDS_KIND, globalIds, num);
}

int SDBDataWriter::WriteScalarData(std::ofstream* fp, vtkDataArray* scalars, int num)
{
    if (fp == nullptr || !this->includeArray(scalars))
    {
        return fp == nullptr ? 0 : 1;
    }
    const int components = scalars->GetNumberOfComponents();
    const detail::ArrayRecord record(*scalars, num, components, NO_NARROWING, *this->NarrowingBuffer);
    if (this->ReportRefusal(*scalars, record.refusal()))
    {
        return 1;
    }
    vtkLookupTable* const table = scalars->GetLookupTable();
    const int colors = detail::storedColors(table);
    const std::string name = this->AttributeName(SCALARS_KIND, *scalars);
    int written = 0;
    if (scalars->GetDataType() == VTK_UNSIGNED_CHAR)
    {
        written = this->WriteColorScalars(fp, record, name + ' ' + std::to_string(components), num, components);
    }
    else
    {
        const std::string tableName = colors > 0 ? this->LookupTableWord() : std::string(detail::DEFAULT_LOOKUP_TABLE);
        detail::writeText(*fp, std::string(SCALARS_KIND.format.keyword) + ' ');
        written = this->WriteRecord(fp, record, detail::scalarsTemplate(name, components, tableName));
    }
    return written != 0 && colors > 0 ? this->WriteLookupTable(fp, *table, colors) : written;
}

int SDBDataWriter::WriteColorScalars(std::ofstream* fp, const detail::ArrayRecord& record, const std::string& name,
                                     int num, int components)
{
    detail::writeText(*fp, std::string(detail::COLOR_SCALARS_WORD) + ' ' + name + '\n');
    if (this->FileType == VTK_BINARY)
    {
        this->WriteBlock(fp, record.data(), record.size());
        detail::writeText(*fp, "\n");
    }
    else
    {
        detail::writeColorsAsText(*fp, reinterpret_cast<const unsigned char*>(record.data()), num, components);
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

int SDBDataWriter::WriteLookupTable(std::ofstream* fp, vtkLookupTable& table, int colors)
{
    detail::writeText(*fp, std::string(detail::LOOKUP_TABLE_WORD) + ' ' + this->LookupTableWord() + ' ' +
                               std::to_string(colors) + '\n');
    if (this->FileType == VTK_BINARY)
    {
        this->WriteBlock(fp, table.GetPointer(0), std::uint64_t{detail::COLOR_BYTES} * static_cast<unsigned>(colors));
        detail::writeText(*fp, "\n");
    }
    else
    {
        detail::writeTableAsText(*fp, table, colors);
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

std::vector<vtkDataArray*> SDBDataWriter::FieldArrays(vtkFieldData& fieldData)
{
    std::vector<vtkDataArray*> arrays;
    for (const int i : detail::ordinaryArrays(fieldData))
    {
        vtkDataArray* const array = fieldData.GetArray(i);
        if (this->includeArray(array) &&
            !this->ReportRefusal(
                *array, detail::recordRefusal(*array, array->GetNumberOfTuples(), array->GetNumberOfComponents())))
        {
            arrays.push_back(array);
        }
    }
    return arrays;
}

int SDBDataWriter::WriteFieldData(std::ofstream* fp, vtkFieldData* fieldData)
{
    if (fp == nullptr)
    {
        return 0;
    }
    const std::vector<vtkDataArray*> arrays =
        fieldData != nullptr ? this->FieldArrays(*fieldData) : std::vector<vtkDataArray*>();
    if (arrays.empty())
    {
        return 1;
    }
    detail::writeText(*fp, std::string(detail::FIELD_WORD) + ' ' +
                               detail::firstNonEmpty({this->FieldDataName, detail::FIELD_DATA_NAME}) + ' ' +
                               std::to_string(arrays.size()) + '\n');
    for (vtkDataArray* const array : arrays)
    {
        const vtkIdType num = array->GetNumberOfTuples();
        const int components = array->GetNumberOfComponents();
        const std::string name =
            detail::encodedName(*this, detail::firstNonEmpty({array->GetName(), detail::UNNAMED_ARRAY.data()}));
        const detail::ArrayRecord record(*array, num, components, NO_NARROWING, *this->NarrowingBuffer);
        // A failed stream shows in the error code.
        (void)this->WriteRecord(fp, record, detail::fieldArrayTemplate(name, components, num));
    }
    return this->GetErrorCode() == vtkErrorCode::OutOfDiskSpaceError ? 0 : 1;
}

int SDBDataWriter::WriteDataSetData(std::ofstream* fp, vtkDataSet* dataSet)
{
    if (fp == nullptr)
    {
        return 0;
    }
    vtkFieldData* const fieldData = dataSet->GetFieldData();
    return detail::anyTuples(fieldData) ? this->WriteFieldData(fp, fieldData) : 1;
}

} // namespace tsg
