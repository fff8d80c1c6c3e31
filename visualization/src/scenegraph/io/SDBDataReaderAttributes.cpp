#include "scenegraph/io/SDBDataReader.h"

#include "scenegraph/io/detail/ArrayReader.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TokenReader.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <istream>

#include <vtkDataArray.h>
#include <vtkDataSetAttributes.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>

/// SDBDataReader's readers of attributes and lookup tables.
namespace tsg
{

namespace
{

using detail::VtkReport;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBDataReader";

constexpr VtkReport NO_SCALARS{"Cannot read scalar header!", SOURCE, 760};
constexpr VtkReport NO_TABLE_NAMED{"Lookup table must be specified with scalar.\n"
                                   "Use \"LOOKUP_TABLE default\" to use default table.",
                                   SOURCE, 784};
constexpr VtkReport NO_VECTORS{"Cannot read vector data!", SOURCE, 833};
constexpr VtkReport NO_NORMALS{"Cannot read normal data!", SOURCE, 879};
constexpr VtkReport NO_TENSORS{"Cannot read tensor data!", SOURCE, 925};
constexpr VtkReport NO_COLORS{"Cannot read color scalar data!", SOURCE, 972};
constexpr VtkReport NO_TCOORDS{"Cannot read texture data!", SOURCE, 1050};
constexpr VtkReport UNSUPPORTED_TCOORDS{"Unsupported texture coordinates dimension: ", SOURCE, 1057};
constexpr VtkReport NO_GLOBAL_IDS{"Cannot read global id data", SOURCE, 1102};
constexpr VtkReport NO_TABLE{"Cannot read lookup table data!", SOURCE, 1146};
constexpr VtkReport FAILED_BINARY_TABLE{"Error reading binary lookup table!", SOURCE, 1178};
constexpr VtkReport FAILED_TEXT_TABLE{"Error reading lookup table!", SOURCE, 1193};

/// The byte nearest to a fraction of 255; what lies outside goes to the limits.
unsigned char colorByte(double fraction)
{
    constexpr double LIMIT = 255.0;
    const double value = fraction * LIMIT + 0.5;
    // A value that is no number compares false and becomes 0.
    return value > 0.0 ? static_cast<unsigned char>(std::min(value, LIMIT)) : 0;
}

/// Reads the decimal number that a word begins with; false, with `count` unchanged, if it begins with none.
bool beginsWithCount(const char* word, int& count)
{
    char* end = nullptr;
    const long number = std::strtol(word, &end, 10);
    if (end == word)
    {
        return false;
    }
    count = static_cast<int>(std::clamp<long>(number, INT32_MIN, INT32_MAX));
    return true;
}

} // namespace

/// What distinguishes the kinds of attributes for their reader.
struct SDBDataReader::AttributeKind
{
    int Attribute;
    int Components;
    const char* Name; ///< of the array that is to become active; null for any
    int ReadAll;
    const VtkReport& Failure;
};

bool SDBDataReader::BecomesActive(const AttributeKind& kind, const char* name, vtkDataSetAttributes* set)
{
    return set->GetAbstractAttribute(kind.Attribute) == nullptr && detail::isWanted(kind.Name, name);
}

int SDBDataReader::KeepAttribute(const AttributeKind& kind, const char* name, bool active, vtkDataArray* array,
                                 vtkDataSetAttributes* set)
{
    if (array == nullptr)
    {
        return 0;
    }
    array->SetName(name);
    if (active)
    {
        set->SetAttribute(array, kind.Attribute);
    }
    else if (kind.ReadAll != 0)
    {
        set->AddArray(array);
    }
    this->AdvanceProgress();
    return 1;
}

int SDBDataReader::ReadAttributeArray(const AttributeKind& kind, const char* name, const char* typeWord,
                                      vtkDataSetAttributes* set, int count)
{
    const bool active = BecomesActive(kind, name, set);
    const auto array = this->ReadNamedArray(name, typeWord, count, kind.Components);
    return this->KeepAttribute(kind, name, active, array, set);
}

int SDBDataReader::ReadAttribute(const AttributeKind& kind, vtkDataSetAttributes* set, int count)
{
    char name[detail::TOKEN_BYTES], typeWord[detail::TOKEN_BYTES];
    if (!this->ReadName(name) || !this->ReadString(typeWord))
    {
        return this->Fail(kind.Failure);
    }
    return this->ReadAttributeArray(kind, name, typeWord, set, count);
}

int SDBDataReader::ReadVectorData(vtkDataSetAttributes* set, int count)
{
    const detail::AttributeFormat& format = detail::VECTORS_FORMAT;
    return this->ReadAttribute(
        {format.attribute, format.components, this->VectorsName, this->ReadAllVectors, NO_VECTORS}, set, count);
}

int SDBDataReader::ReadNormalData(vtkDataSetAttributes* set, int count)
{
    const detail::AttributeFormat& format = detail::NORMALS_FORMAT;
    return this->ReadAttribute(
        {format.attribute, format.components, this->NormalsName, this->ReadAllNormals, NO_NORMALS}, set, count);
}

int SDBDataReader::ReadTensorData(vtkDataSetAttributes* set, int count)
{
    const detail::AttributeFormat& format = detail::TENSORS_FORMAT;
    return this->ReadAttribute(
        {format.attribute, format.components, this->TensorsName, this->ReadAllTensors, NO_TENSORS}, set, count);
}

int SDBDataReader::ReadGlobalIds(vtkDataSetAttributes* set, int count)
{
    const detail::AttributeFormat& format = detail::GLOBAL_IDS_FORMAT;
    return this->ReadAttribute({format.attribute, format.components, nullptr, 0, NO_GLOBAL_IDS}, set, count);
}

int SDBDataReader::ReadTCoordsData(vtkDataSetAttributes* set, int count)
{
    char name[detail::TOKEN_BYTES], typeWord[detail::TOKEN_BYTES];
    int dimension = 0;
    if (!this->ReadName(name) || !this->Read(&dimension) || !this->ReadString(typeWord))
    {
        return this->Fail(NO_TCOORDS);
    }
    if (dimension < 1 || dimension > 3)
    {
        return this->Fail(UNSUPPORTED_TCOORDS, std::to_string(dimension).c_str());
    }
    const AttributeKind kind{vtkDataSetAttributes::TCOORDS, dimension, this->TCoordsName, this->ReadAllTCoords,
                             NO_TCOORDS};
    return this->ReadAttributeArray(kind, name, typeWord, set, count);
}

// --- Scalars ---------------------------------------------------------------------------------------------------------

int SDBDataReader::ReadScalarHeader(char* name, char* typeWord, int& components, char* table)
{
    char word[detail::TOKEN_BYTES];
    if (!this->ReadName(name) || !this->ReadString(typeWord) || !this->ReadString(word))
    {
        return this->Fail(NO_SCALARS);
    }
    components = 1;
    if (beginsWithCount(word, components) && (components < 1 || !this->ReadString(word)))
    {
        return this->Fail(NO_SCALARS);
    }
    const std::string_view keyword = detail::LOOKUP_TABLE_WORD;
    if (std::strlen(word) != keyword.size() || !detail::beginsWith(word, keyword))
    {
        return this->Fail(NO_TABLE_NAMED);
    }
    return this->ReadString(table) || this->Fail(NO_SCALARS);
}

int SDBDataReader::ReadScalarData(vtkDataSetAttributes* set, int count)
{
    char name[detail::TOKEN_BYTES], typeWord[detail::TOKEN_BYTES], table[detail::TOKEN_BYTES];
    int components = 1;
    if (!this->ReadScalarHeader(name, typeWord, components, table))
    {
        return 0;
    }
    const AttributeKind kind{vtkDataSetAttributes::SCALARS, components, this->ScalarsName, this->ReadAllScalars,
                             NO_SCALARS};
    if (BecomesActive(kind, name, set))
    {
        this->SetScalarLut(table);
    }
    return this->ReadAttributeArray(kind, name, typeWord, set, count);
}

vtkSmartPointer<vtkDataArray> SDBDataReader::ReadColors(const char* name, int tuples, int components)
{
    if (!this->IsText())
    {
        return this->ReadNamedArray(name, "unsigned_char", tuples, components);
    }
    const auto fractions = this->ReadNamedArray(name, "float", tuples, components);
    if (fractions == nullptr)
    {
        return nullptr;
    }
    const auto* next = static_cast<const float*>(fractions->GetVoidPointer(0));
    const auto convert = [&next](char* data, std::uint64_t bytes)
    {
        std::transform(next, next + bytes, reinterpret_cast<unsigned char*>(data), colorByte);
        next += bytes;
        return bytes;
    };
    return detail::makeStoredArray(VTK_UNSIGNED_CHAR, 1, components, fractions->GetNumberOfValues(),
                                   this->LentRun().budget, convert);
}

int SDBDataReader::ReadCoScalarData(vtkDataSetAttributes* set, int count)
{
    char name[detail::TOKEN_BYTES];
    int components = 0;
    if (!this->ReadName(name) || !this->Read(&components))
    {
        return this->Fail(NO_COLORS);
    }
    const AttributeKind kind{vtkDataSetAttributes::SCALARS, components, this->ScalarsName, this->ReadAllColorScalars,
                             NO_COLORS};
    const bool active = BecomesActive(kind, name, set);
    return this->KeepAttribute(kind, name, active, this->ReadColors(name, count, components), set);
}

// --- Lookup tables ---------------------------------------------------------------------------------------------------

/// The source of a table's colours, handed to `take`. False if not all of them come.
bool SDBDataReader::ReadTableColors(int size, const detail::TakeContent& take)
{
    const std::uint64_t bytes = std::uint64_t{detail::COLOR_BYTES} * static_cast<unsigned>(size);
    if (size == 0 || !this->IsText())
    {
        return size == 0 || this->Arrays().readBlock(bytes, take) || this->Fail(FAILED_BINARY_TABLE) != 0;
    }
    detail::NumberReader numbers(*this->Stream);
    bool complete = true;
    const auto source = [&](char* data, std::uint64_t count)
    {
        std::uint64_t at = 0;
        for (float fraction = 0; at < count && (complete = numbers.read(fraction)); ++at)
        {
            data[at] = static_cast<char>(colorByte(fraction));
        }
        return at;
    };
    return (take(source) && complete) || this->Fail(FAILED_TEXT_TABLE) != 0;
}

int SDBDataReader::ReadLutData(vtkDataSetAttributes* set)
{
    char name[detail::TOKEN_BYTES];
    int size = 0;
    if (!this->ReadString(name) || !this->Read(&size) || size < 0)
    {
        return this->Fail(NO_TABLE);
    }
    const std::uint64_t bytes = std::uint64_t{detail::COLOR_BYTES} * static_cast<unsigned>(size);
    this->Announce("lookup table", name);
    if (size > INT32_MAX / detail::COLOR_BYTES || !this->LentRun().budget.charge(bytes))
    {
        return this->Fail(this->IsText() ? FAILED_TEXT_TABLE : FAILED_BINARY_TABLE);
    }
    detail::AdoptableMemory colors;
    const auto take = [&](const detail::ValueSource& source)
    {
        colors = detail::readMemory(bytes, this->LentRun().budget, source);
        return colors != nullptr;
    };
    if (!this->ReadTableColors(size, take))
    {
        return 0;
    }
    const vtkNew<vtkLookupTable> table;
    table->SetNumberOfTableValues(size);
    // Values that are not written through WritePointer are lost when the table is built.
    std::copy_n(colors.get(), bytes, reinterpret_cast<char*>(table->WritePointer(0, size)));
    vtkDataArray* const scalars = set->GetScalars();
    if (scalars != nullptr && detail::isWanted(this->LookupTableName, name) && detail::isWanted(this->ScalarLut, name))
    {
        scalars->SetLookupTable(table);
    }
    this->AdvanceProgress();
    return 1;
}

} // namespace tsg
