#include "scenegraph/io/SDBDataReader.h"

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/FieldArrays.h"
#include "scenegraph/io/detail/TokenReader.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <istream>

#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkDataSet.h>
#include <vtkPointData.h>

/// SDBDataReader's walk over the records of attribute sections, and its reader of field arrays.
namespace tsg
{

namespace
{

using detail::VtkReport;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBDataReader";

constexpr VtkReport NO_FIELD{"Cannot read field header!", SOURCE, 1232};

constexpr const char* POLY_DATA_SOURCE = "visualization/src/scenegraph/io/SDBPolyDataReader";

/// What distinguishes the two attribute sections.
struct Section
{
    std::string_view keyword;
    VtkReport noCount;        ///< of the section that follows the geometry
    VtkReport otherCount;     ///< of any
    VtkReport noFurtherCount; ///< of one inside the other section
    VtkReport unsupportedRecord;
};

/// Indexed by SDBDataReader::SectionKind.
constexpr Section SECTIONS[] = {
    {detail::CELL_DATA_WORD,
     {"Cannot read cell data!", POLY_DATA_SOURCE, 228},
     {"Number of cells don't match number data values!", POLY_DATA_SOURCE, 236},
     {"Cannot read cell data!", SOURCE, 268},
     {"Unsupported cell attribute type: ", SOURCE, 366}},
    {detail::POINT_DATA_WORD,
     {"Cannot read point data!", POLY_DATA_SOURCE, 252},
     {"Number of points don't match number data values!", POLY_DATA_SOURCE, 260},
     {"Cannot read point data!", SOURCE, 386},
     {"Unsupported point attribute type: ", SOURCE, 484}},
};

} // namespace

// --- Attribute sections ----------------------------------------------------------------------------------------------

/// The attribute set of a section and the way of adding to it.
struct SDBDataReader::SectionData
{
    explicit SectionData(vtkDataSetAttributes& set)
        : Set(set)
        , Arrays(set)
    {
    }

    vtkDataSetAttributes& Set;
    detail::FieldArrays Arrays;
};

int SDBDataReader::ReadDataSetData(vtkDataSet*)
{
    return 1;
}

int SDBDataReader::ReadPointData(vtkDataSet* data, int count)
{
    return this->ReadRecords(data, PointSection, count, {data->GetNumberOfCells(), data->GetNumberOfPoints()});
}

int SDBDataReader::ReadCellData(vtkDataSet* data, int count)
{
    return this->ReadRecords(data, CellSection, count, {data->GetNumberOfCells(), data->GetNumberOfPoints()});
}

bool SDBDataReader::ReadSectionCount(SectionKind kind, const SectionCounts& expected, bool isFirst, int& count)
{
    const vtkIdType wanted = kind == CellSection ? expected.Cells : expected.Points;
    if (!this->Read(&count) || (wanted == ANY_COUNT && count < 0))
    {
        return this->Fail(isFirst ? SECTIONS[kind].noCount : SECTIONS[kind].noFurtherCount);
    }
    return wanted == ANY_COUNT || wanted == count || this->Fail(SECTIONS[kind].otherCount);
}

int SDBDataReader::ReadRecords(vtkDataSet* data, SectionKind kind, int count, const SectionCounts& expected)
{
    if (data == nullptr)
    {
        return 0;
    }
    SectionData sets[] = {SectionData(*data->GetCellData()), SectionData(*data->GetPointData())};
    const int result = this->ReadRecords(sets, kind, count, expected);
    for (SectionData& set : sets)
    {
        set.Arrays.finish();
    }
    return result;
}

/// The sections open one another any number of times: in one loop, not by calls.
int SDBDataReader::ReadRecords(SectionData* sets, SectionKind kind, int count, const SectionCounts& expected)
{
    char word[detail::TOKEN_BYTES];
    while (this->ReadString(word))
    {
        LowerCase(word);
        const SectionKind other = kind == CellSection ? PointSection : CellSection;
        if (detail::beginsWith(word, SECTIONS[other].keyword))
        {
            kind = other;
            if (!this->ReadSectionCount(kind, expected, false, count))
            {
                return 0;
            }
        }
        else if (!this->ReadRecord(word, kind, sets[kind], count))
        {
            return 0;
        }
    }
    return 1;
}

int SDBDataReader::ReadRecord(const char* word, SectionKind kind, SectionData& data, int count)
{
    struct Record
    {
        std::string_view keyword;
        int (SDBDataReader::*read)(vtkDataSetAttributes*, int);
    };

    static constexpr Record RECORDS[] = {
        {detail::SCALARS_FORMAT.keyword, &SDBDataReader::ReadScalarData},
        {detail::VECTORS_FORMAT.keyword, &SDBDataReader::ReadVectorData},
        {detail::TENSORS_FORMAT.keyword, &SDBDataReader::ReadTensorData},
        {detail::NORMALS_FORMAT.keyword, &SDBDataReader::ReadNormalData},
        {detail::TCOORDS_FORMAT.keyword, &SDBDataReader::ReadTCoordsData},
        {detail::GLOBAL_IDS_FORMAT.keyword, &SDBDataReader::ReadGlobalIds},
        {detail::COLOR_SCALARS_WORD, &SDBDataReader::ReadCoScalarData},
    };
    for (const Record& record : RECORDS)
    {
        if (detail::beginsWith(word, record.keyword))
        {
            return (this->*record.read)(&data.Set, count);
        }
    }
    if (detail::beginsWith(word, detail::LOOKUP_TABLE_WORD))
    {
        return this->ReadLutData(&data.Set);
    }
    if (detail::beginsWith(word, detail::FIELD_WORD))
    {
        return this->ReadFieldRecord(data.Arrays);
    }
    return this->Fail(SECTIONS[kind].unsupportedRecord, word);
}

int SDBDataReader::ReadFieldRecord(detail::FieldArrays& arrays)
{
    const auto field = vtkSmartPointer<vtkFieldData>::Take(this->ReadFieldData());
    if (field == nullptr)
    {
        return 0;
    }
    for (int i = 0; i < field->GetNumberOfArrays(); ++i)
    {
        arrays.add(*field->GetAbstractArray(i));
    }
    return 1;
}

// --- Field arrays ----------------------------------------------------------------------------------------------------

/// The line in front of a field array's values.
struct SDBDataReader::FieldArrayLine
{
    char Name[detail::TOKEN_BYTES];
    int Components;
    int Tuples;
    char TypeWord[detail::TOKEN_BYTES];
};

/// Lists may promise more arrays than follow: where no such line follows, the stream is left as it was before.
bool SDBDataReader::ReadFieldArrayLine(FieldArrayLine& line)
{
    const std::ios::iostate state = this->Stream->rdstate();
    const std::streampos position = this->Stream->rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
    if (this->ReadName(line.Name) && this->Read(&line.Components) && this->Read(&line.Tuples) &&
        this->ReadString(line.TypeWord))
    {
        return true;
    }
    this->Stream->clear(state);
    this->Stream->rdbuf()->pubseekpos(position, std::ios::in);
    return false;
}

vtkFieldData* SDBDataReader::ReadFieldData()
{
    char name[detail::TOKEN_BYTES];
    int count = 0;
    if (!this->ReadString(name) || !this->Read(&count) || count < 0)
    {
        this->Fail(NO_FIELD);
        return nullptr;
    }
    const bool skipped = !detail::isWanted(this->FieldDataName, name) && this->ReadAllFields == 0;
    const auto field = vtkSmartPointer<vtkFieldData>::New();
    detail::FieldArrays arrays(*field);
    FieldArrayLine line;
    for (int i = 0; i < count && this->ReadFieldArrayLine(line); ++i)
    {
        const auto array = this->ReadNamedArray(line.Name, line.TypeWord, line.Tuples, line.Components);
        if (array == nullptr)
        {
            return nullptr;
        }
        array->SetName(line.Name);
        if (!skipped)
        {
            arrays.add(*array);
        }
    }
    if (skipped)
    {
        return nullptr;
    }
    field->Register(nullptr); // the caller's reference
    return field;
}

} // namespace tsg
