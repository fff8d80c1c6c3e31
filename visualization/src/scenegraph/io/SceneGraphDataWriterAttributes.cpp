#include "scenegraph/io/SceneGraphDataWriter.h"

#include "scenegraph/io/detail/AttributeValues.h"
#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <locale>
#include <sstream>
#include <vector>

#include <vtkCellData.h>
#include <vtkDataSet.h>
#include <vtkErrorCode.h>
#include <vtkLookupTable.h>
#include <vtkPointData.h>

/// Attributes, colours and field data: the records of a point-data or cell-data section. And what the writer says of
/// itself.
namespace tsg
{

struct SceneGraphDataWriter::AttributeKind
{
    const detail::AttributeFormat& format;
    char* SceneGraphDataWriter::*explicitName;
};

namespace
{

/// A name that VTK's reader would take for something else gets its first letter written as an escape.
std::string fieldArrayName(const std::string& encoded)
{
    if (!detail::beginsWith(encoded, detail::METADATA_WORD) && encoded != detail::MISSING_ARRAY)
    {
        return encoded;
    }
    constexpr char HEXADECIMAL[] = "0123456789ABCDEF";
    const auto first = static_cast<unsigned char>(encoded[0]);
    const std::string escape{'%', HEXADECIMAL[first >> 4], HEXADECIMAL[first & 15]};
    return detail::cutToToken(escape + encoded.substr(1));
}

/// True if there is an attribute with values that these files have no record for.
bool hasForeignAttributes(vtkDataSetAttributes& attributes)
{
    vtkAbstractArray* const pedigreeIds = attributes.GetPedigreeIds();
    return detail::hasTuples(attributes.GetAttribute(vtkDataSetAttributes::EDGEFLAG)) ||
           (pedigreeIds != nullptr && pedigreeIds->GetNumberOfTuples() > 0);
}

} // namespace

using Writer = SceneGraphDataWriter;
const Writer::AttributeKind Writer::SCALARS_KIND{detail::SCALARS_FORMAT, &Writer::ScalarsName};
const Writer::AttributeKind Writer::VECTORS_KIND{detail::VECTORS_FORMAT, &Writer::VectorsName};
const Writer::AttributeKind Writer::NORMALS_KIND{detail::NORMALS_FORMAT, &Writer::NormalsName};
const Writer::AttributeKind Writer::TCOORDS_KIND{detail::TCOORDS_FORMAT, &Writer::TCoordsName};
const Writer::AttributeKind Writer::TENSORS_KIND{detail::TENSORS_FORMAT, &Writer::TensorsName};
const Writer::AttributeKind Writer::GLOBAL_IDS_KIND{detail::GLOBAL_IDS_FORMAT, &Writer::GlobalIdsName};

std::string SceneGraphDataWriter::AttributeName(const AttributeKind& kind, vtkDataArray& array)
{
    return detail::encodedName(
        *this, detail::firstNonEmpty({this->*kind.explicitName, array.GetName(), kind.format.defaultName.data()}));
}

std::string SceneGraphDataWriter::LookupTableWord() const
{
    return detail::firstNonEmpty({this->LookupTableName, detail::LOOKUP_TABLE_NAME});
}

int SceneGraphDataWriter::WriteCellData(std::ostream* fp, vtkDataSet* dataSet)
{
    return this->WriteAttributes(fp, std::string(detail::CELL_DATA_WORD), dataSet->GetCellData(),
                                 dataSet->GetNumberOfCells());
}

int SceneGraphDataWriter::WritePointData(std::ostream* fp, vtkDataSet* dataSet)
{
    return this->WriteAttributes(fp, std::string(detail::POINT_DATA_WORD), dataSet->GetPointData(),
                                 dataSet->GetNumberOfPoints());
}

int SceneGraphDataWriter::WriteAttributes(std::ostream* fp, const std::string& keyword,
                                          vtkDataSetAttributes* attributes, std::int64_t num)
{
    if (fp == nullptr)
    {
        return 0;
    }
    if (num < 1 || !detail::anyTuples(attributes))
    {
        return 1;
    }
    this->LeftOut = this->LeftOut || hasForeignAttributes(*attributes);
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
    return this->WriteFieldData(fp, attributes);
}

int SceneGraphDataWriter::WriteAttribute(std::ostream* fp, const AttributeKind& kind, vtkDataArray* array, int num)
{
    if (fp == nullptr || array == nullptr)
    {
        return fp == nullptr ? 0 : 1;
    }
    const int components = kind.format.components != 0 ? kind.format.components : array->GetNumberOfComponents();
    const bool tensors = kind.format.attribute == vtkDataSetAttributes::TENSORS;
    const auto values = tensors ? detail::withNineComponents(*array) : vtkSmartPointer<vtkDataArray>(array);
    const std::int64_t count = std::int64_t{num} * components;
    if (this->Refuse(*values, count) || this->RefuseForNumber(array))
    {
        return 1;
    }
    const std::string dimension = kind.format.components != 0 ? "" : ' ' + std::to_string(components);
    return this->WriteRecord(fp, *values,
                             std::string(kind.format.keyword) + ' ' +
                                 detail::escapedForTemplate(this->AttributeName(kind, *array)) + dimension + " %s\n",
                             count);
}

int SceneGraphDataWriter::WriteVectorData(std::ostream* fp, vtkDataArray* vectors, int num)
{
    return this->WriteAttribute(fp, VECTORS_KIND, vectors, num);
}

int SceneGraphDataWriter::WriteNormalData(std::ostream* fp, vtkDataArray* normals, int num)
{
    return this->WriteAttribute(fp, NORMALS_KIND, normals, num);
}

int SceneGraphDataWriter::WriteTCoordData(std::ostream* fp, vtkDataArray* tcoords, int num)
{
    return this->WriteAttribute(fp, TCOORDS_KIND, tcoords, num);
}

int SceneGraphDataWriter::WriteTensorData(std::ostream* fp, vtkDataArray* tensors, int num)
{
    return this->WriteAttribute(fp, TENSORS_KIND, tensors, num);
}

int SceneGraphDataWriter::WriteGlobalIdData(std::ostream* fp, vtkDataArray* globalIds, int num)
{
    return this->WriteAttribute(fp, GLOBAL_IDS_KIND, globalIds, num);
}

int SceneGraphDataWriter::WriteScalarData(std::ostream* fp, vtkDataArray* scalars, int num)
{
    if (fp == nullptr || scalars == nullptr)
    {
        return fp == nullptr ? 0 : 1;
    }
    const int components = scalars->GetNumberOfComponents();
    if (this->Refuse(*scalars, std::int64_t{num} * components) || this->RefuseForNumber(scalars))
    {
        return 1;
    }
    vtkLookupTable* const table = scalars->GetLookupTable();
    const int colors = detail::storedColors(table);
    int written = 0;
    if (scalars->GetDataType() == VTK_UNSIGNED_CHAR)
    {
        written = this->WriteColorScalars(fp, *scalars, num);
    }
    else
    {
        const std::string tableName = colors > 0 ? this->LookupTableWord() : std::string(detail::DEFAULT_LOOKUP_TABLE);
        const std::string lines =
            detail::scalarsTemplate(this->AttributeName(SCALARS_KIND, *scalars), components, tableName);
        written = this->WriteRecord(fp, *scalars, std::string(SCALARS_KIND.format.keyword) + ' ' + lines,
                                    std::int64_t{num} * components);
    }
    return written != 0 && colors > 0 ? this->WriteLookupTable(fp, *table, colors) : written;
}

int SceneGraphDataWriter::WriteColorScalars(std::ostream* fp, vtkDataArray& scalars, int num)
{
    const int components = scalars.GetNumberOfComponents();
    detail::writeText(*fp, std::string(detail::COLOR_SCALARS_WORD) + ' ' + this->AttributeName(SCALARS_KIND, scalars) +
                               ' ' + std::to_string(components) + '\n');
    if (this->FileType == VTK_BINARY)
    {
        this->WriteValues(*fp, scalars, std::int64_t{num} * components);
    }
    else
    {
        const detail::StoredValues values(scalars, std::int64_t{num} * components);
        detail::writeColorsAsText(*fp, reinterpret_cast<const unsigned char*>(values.data()), num, components);
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

int SceneGraphDataWriter::WriteLookupTable(std::ostream* fp, vtkLookupTable& table, int colors)
{
    detail::writeText(*fp, std::string(detail::LOOKUP_TABLE_WORD) + ' ' + this->LookupTableWord() + ' ' +
                               std::to_string(colors) + '\n');
    if (this->FileType == VTK_BINARY)
    {
        fp->write(reinterpret_cast<const char*>(table.GetPointer(0)), std::streamsize{detail::COLOR_BYTES} * colors);
    }
    else
    {
        detail::writeTableAsText(*fp, table, colors);
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

std::vector<vtkDataArray*> SceneGraphDataWriter::FieldArrays(vtkFieldData& fieldData)
{
    std::vector<vtkDataArray*> arrays;
    for (const int i : detail::ordinaryArrays(fieldData))
    {
        vtkDataArray* const array = fieldData.GetArray(i);
        this->LeftOut = this->LeftOut || array == nullptr;
        const bool isStorable =
            array == nullptr || !this->Refuse(*array, array->GetNumberOfTuples() * array->GetNumberOfComponents());
        if (isStorable && !this->RefuseForNumber(array))
        {
            arrays.push_back(array);
        }
    }
    return arrays;
}

int SceneGraphDataWriter::WriteFieldArray(std::ostream* fp, vtkDataArray* array)
{
    if (array == nullptr)
    {
        detail::writeText(*fp, std::string(detail::MISSING_ARRAY) + '\n');
        return this->FinishSection(fp);
    }
    const std::int64_t num = array->GetNumberOfTuples();
    const int components = array->GetNumberOfComponents();
    const std::string name = fieldArrayName(
        detail::encodedName(*this, detail::firstNonEmpty({array->GetName(), detail::UNNAMED_ARRAY.data()})));
    return this->WriteRecord(fp, *array, detail::fieldArrayTemplate(name, components, num), num * components);
}

int SceneGraphDataWriter::WriteFieldData(std::ostream* fp, vtkFieldData* fieldData)
{
    if (fp == nullptr || fieldData == nullptr)
    {
        return fp == nullptr ? 0 : 1;
    }
    const std::vector<vtkDataArray*> arrays = this->FieldArrays(*fieldData);
    if (arrays.empty())
    {
        return this->FinishSection(fp); // the section may have begun with nothing but its keyword
    }
    detail::writeText(*fp, std::string(detail::FIELD_WORD) + ' ' +
                               detail::firstNonEmpty({this->FieldDataName, detail::FIELD_DATA_NAME}) + ' ' +
                               std::to_string(arrays.size()) + '\n');
    for (vtkDataArray* const array : arrays)
    {
        if (this->WriteFieldArray(fp, array) == 0)
        {
            return 0;
        }
    }
    return 1;
}

int SceneGraphDataWriter::WriteDataSetData(std::ostream* fp, vtkDataSet* dataSet)
{
    if (fp == nullptr)
    {
        return 0;
    }
    vtkFieldData* const fieldData = dataSet->GetFieldData();
    return detail::anyTuples(fieldData) ? this->WriteFieldData(fp, fieldData) : 1;
}

void SceneGraphDataWriter::PrintSelf(ostream& os, vtkIndent indent)
{
    this->Superclass::PrintSelf(os, indent);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    const auto name = [&](const char* label, const char* value, const char* whenNull)
    { text << indent << label << (value != nullptr ? value : whenNull) << '\n'; };
    name("File Name: ", this->FileName, "(none)");
    text << indent << "File Type: " << (this->FileType == VTK_BINARY ? "BINARY\n" : "ASCII\n");
    name("Header: ", this->Header, "(None)");
    text << indent << "Output String Length: " << this->OutputStringLength << '\n'
         << indent << "Output String (addr): " << static_cast<void*>(this->OutputString) << '\n'
         << indent << "WriteToOutputString: " << (this->WriteToOutputString != 0 ? "On\n" : "Off\n");
    name("Scalars Name: ", this->ScalarsName, "(None)");
    name("Vectors Name: ", this->VectorsName, "(None)");
    name("Normals Name: ", this->NormalsName, "(None)");
    name("Tensors Name: ", this->TensorsName, "(None)");
    name(this->TCoordsName != nullptr ? "Texture Coords Name: " : "Texture Coordinates Name: ", this->TCoordsName,
         "(None)");
    name("Global Ids Name: ", this->GlobalIdsName, "(None)");
    name("Lookup Table Name: ", this->LookupTableName, "(None)");
    name("Field Data Name: ", this->FieldDataName, "(None)");
    detail::writeText(os, text.str());
}

} // namespace tsg
