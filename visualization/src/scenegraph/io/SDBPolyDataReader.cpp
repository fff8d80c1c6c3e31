#include "scenegraph/io/SDBPolyDataReader.h"

#include "core/Error.h"
#include "scenegraph/io/detail/CellImport.h"
#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/TokenReader.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <iterator>
#include <new>
#include <stdexcept>

#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkExecutive.h>
#include <vtkFieldData.h>
#include <vtkInformation.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkPolyData.h>

namespace tsg
{

namespace
{

using detail::VtkReport;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBPolyDataReader";

constexpr Invariant OUTPUT_IS_POLYDATA{"Output can't be null", "output", SOURCE, 103};
constexpr VtkReport ENDS_EARLY{"Data file ends prematurely!", SOURCE, 81};
constexpr VtkReport WRONG_DATASET{"Cannot read dataset type: ", SOURCE, 98};
constexpr VtkReport NO_POINT_COUNT{"Cannot read number of points!", SOURCE, 128};
constexpr VtkReport UNRECOGNIZED_KEYWORD{"Unrecognized keyword: ", SOURCE, 292};
constexpr VtkReport NO_POINTS{"No points read!", SOURCE, 300};
constexpr VtkReport NO_TOPOLOGY{"No topology read!", SOURCE, 305};
constexpr VtkReport NO_GEOMETRY{"No geometry defined in data file!", SOURCE, 312};
constexpr VtkReport OUT_OF_MEMORY{"Not enough memory for the data!", SOURCE, 340};

/// The sections of cells and where they go.
struct CellKind
{
    std::string_view keyword;
    void (*set)(vtkPolyData& data, vtkCellArray* cells);
    VtkReport failure;
};

constexpr CellKind CELL_KINDS[] = {
    {detail::VERTICES_WORD,
     [](vtkPolyData& data, vtkCellArray* cells) { data.SetVerts(cells); },
     {"Cannot read vertices!", SOURCE, 143}},
    {detail::LINES_WORD,
     [](vtkPolyData& data, vtkCellArray* cells) { data.SetLines(cells); },
     {"Cannot read lines!", SOURCE, 164}},
    {detail::POLYGONS_WORD,
     [](vtkPolyData& data, vtkCellArray* cells) { data.SetPolys(cells); },
     {"Cannot read polygons!", SOURCE, 185}},
    {detail::TRIANGLE_STRIPS_WORD,
     [](vtkPolyData& data, vtkCellArray* cells) { data.SetStrips(cells); },
     {"Cannot read triangle strips!", SOURCE, 206}},
};
constexpr int CELL_KIND_COUNT = static_cast<int>(std::size(CELL_KINDS));

} // namespace

/// What one run has read so far.
struct SDBPolyDataReader::Run
{
    /// One section of cells.
    struct Cells
    {
        int Count = 0; ///< as the stream says, also of cells that could not be read
        bool Failed = false;
        detail::IdRange Ids;
    };

    vtkPolyData* Output;
    int PointCount = 0; ///< as the stream says
    Cells Sections[CELL_KIND_COUNT] = {};

    vtkIdType CellCount() const
    {
        vtkIdType sum = 0;
        for (const Cells& section : this->Sections)
        {
            sum += section.Count;
        }
        return sum;
    }
};

vtkObjectFactoryNewMacro(SDBPolyDataReader);

SDBPolyDataReader::SDBPolyDataReader()
{
    const vtkNew<vtkPolyData> output;
    this->GetExecutive()->SetOutputData(0, output);
    output->ReleaseData();
}

SDBPolyDataReader::~SDBPolyDataReader() = default;

void SDBPolyDataReader::PrintSelf(ostream& os, vtkIndent indent)
{
    this->vtkAlgorithm::PrintSelf(os, indent); // NOLINT(bugprone-parent-virtual-call): nothing to add to it
}

vtkPolyData* SDBPolyDataReader::GetOutput()
{
    return this->GetOutput(0);
}

vtkPolyData* SDBPolyDataReader::GetOutput(int port)
{
    return vtkPolyData::SafeDownCast(this->GetOutputDataObject(port));
}

void SDBPolyDataReader::SetOutput(vtkPolyData* output)
{
    this->GetExecutive()->SetOutputData(0, output);
}

int SDBPolyDataReader::FillOutputPortInformation(int, vtkInformation* information)
{
    information->Set(vtkDataObject::DATA_TYPE_NAME(), "vtkPolyData");
    return 1;
}

int SDBPolyDataReader::RequestUpdateExtent(vtkInformation*, vtkInformationVector**, vtkInformationVector*)
{
    return 1;
}

int SDBPolyDataReader::RequestData(vtkInformation*, vtkInformationVector**, vtkInformationVector* output)
{
    Run run{vtkPolyData::GetData(output)};
    try
    {
        this->ReadBlock(run);
    }
    catch (const std::bad_alloc&)
    {
        reportError(*this, OUT_OF_MEMORY);
    }
    catch (const std::length_error&)
    {
        reportError(*this, OUT_OF_MEMORY);
    }
    catch (...)
    {
        this->EmptyFailedSections(run);
        throw;
    }
    this->EmptyFailedSections(run);
    return 1;
}

void SDBPolyDataReader::ReadBlock(Run& run)
{
    char word[detail::TOKEN_BYTES];
    if (!this->ReadHeader())
    {
        return;
    }
    if (!this->ReadString(word))
    {
        reportError(*this, ENDS_EARLY);
        return;
    }
    LowerCase(word);
    if (detail::beginsWith(word, detail::DATASET_WORD))
    {
        this->ReadDataset(run);
    }
    else if (detail::beginsWith(word, detail::CELL_DATA_WORD))
    {
        this->ReadAttributesOnly(run, CellSection);
    }
    else if (detail::beginsWith(word, detail::POINT_DATA_WORD))
    {
        this->ReadAttributesOnly(run, PointSection);
    }
    else
    {
        reportError(*this, UNRECOGNIZED_KEYWORD, word);
    }
}

bool SDBPolyDataReader::ReadAttributes(Run& run, SectionKind kind, const SectionCounts& expected)
{
    int count = 0;
    if (!this->ReadSectionCount(kind, expected, true, count))
    {
        return false;
    }
    (void)this->ReadRecords(run.Output, kind, count, expected); // reported already
    return true;
}

void SDBPolyDataReader::ReadAttributesOnly(Run& run, SectionKind kind)
{
    reportWarning(*this, NO_GEOMETRY);
    (void)this->ReadAttributes(run, kind, {ANY_COUNT, ANY_COUNT}); // reported already
}

void SDBPolyDataReader::ReadDataset(Run& run)
{
    char word[detail::TOKEN_BYTES];
    if (!this->ReadString(word))
    {
        reportError(*this, ENDS_EARLY);
        return;
    }
    if (!detail::beginsWith(LowerCase(word), detail::POLYDATA_WORD))
    {
        reportError(*this, WRONG_DATASET, word);
        return;
    }
    if (run.Output == nullptr)
    {
        raise(OUTPUT_IS_POLYDATA);
    }
    if (!this->ReadSections(run))
    {
        return;
    }
    if (run.Output->GetPoints() == nullptr)
    {
        reportWarning(*this, NO_POINTS);
    }
    if (run.Output->GetVerts() == nullptr && run.Output->GetLines() == nullptr && run.Output->GetPolys() == nullptr &&
        run.Output->GetStrips() == nullptr)
    {
        reportWarning(*this, NO_TOPOLOGY);
    }
}

bool SDBPolyDataReader::ReadSections(Run& run)
{
    char word[detail::TOKEN_BYTES];
    while (this->ReadString(word))
    {
        LowerCase(word);
        const bool cellData = detail::beginsWith(word, detail::CELL_DATA_WORD);
        if (cellData || detail::beginsWith(word, detail::POINT_DATA_WORD))
        {
            // The records go on into the other section, up to the end of the block.
            return this->ReadAttributes(run, cellData ? CellSection : PointSection, {run.CellCount(), run.PointCount});
        }
        if (!this->ReadSection(run, word))
        {
            return false;
        }
    }
    return true;
}

bool SDBPolyDataReader::ReadSection(Run& run, const char* keyword)
{
    if (detail::beginsWith(keyword, detail::FIELD_WORD))
    {
        if (const auto field = vtkSmartPointer<vtkFieldData>::Take(this->ReadFieldData()))
        {
            run.Output->SetFieldData(field);
        }
        return true;
    }
    if (detail::beginsWith(keyword, detail::POINTS_WORD))
    {
        if (!this->Read(&run.PointCount) || run.PointCount < 0)
        {
            reportError(*this, NO_POINT_COUNT);
            return false;
        }
        (void)this->ReadPoints(run.Output, run.PointCount); // reported already
        return true;
    }
    for (int kind = 0; kind < CELL_KIND_COUNT; ++kind)
    {
        if (detail::beginsWith(keyword, CELL_KINDS[kind].keyword))
        {
            return this->ReadCellSection(run, kind);
        }
    }
    reportError(*this, UNRECOGNIZED_KEYWORD, keyword);
    return false;
}

bool SDBPolyDataReader::ReadCellSection(Run& run, int kind)
{
    int cellCount = 0;
    int size = 0;
    const bool counted = this->Read(&cellCount) && this->Read(&size) && cellCount >= 0 && size >= 0;
    const std::uint64_t bytes = static_cast<std::uint64_t>(counted ? size : 0) * sizeof(std::int32_t);
    detail::ConnectivityBuffer list;
    this->Announce(CELL_KINDS[kind].keyword);
    if (!counted || !this->LentRun().budget.charge(bytes) || !this->ReadCellList(size, list))
    {
        reportError(*this, CELL_KINDS[kind].failure);
        return false;
    }
    const detail::ImportedCells imported = detail::importCells(list.get(), size, cellCount);
    const bool failed = imported.cells == nullptr;
    if (failed)
    {
        reportError(*this, CELL_KINDS[kind].failure);
    }
    CELL_KINDS[kind].set(*run.Output, imported.cells);
    run.Sections[kind] = {cellCount, failed, imported.ids};
    return true;
}

/// Points may come after the cells, or twice; so that the ids are checked when all is read.
void SDBPolyDataReader::EmptyFailedSections(Run& run)
{
    if (run.Output == nullptr)
    {
        return;
    }
    bool failed = false;
    for (int kind = 0; kind < CELL_KIND_COUNT; ++kind)
    {
        const Run::Cells& section = run.Sections[kind];
        if (!section.Failed && !section.Ids.fit(run.Output->GetNumberOfPoints()))
        {
            reportError(*this, CELL_KINDS[kind].failure);
            CELL_KINDS[kind].set(*run.Output, nullptr);
            failed = true;
        }
        failed = failed || section.Failed;
    }
    if (failed)
    {
        // They would belong to other cells.
        run.Output->GetCellData()->Initialize();
    }
}

} // namespace tsg
