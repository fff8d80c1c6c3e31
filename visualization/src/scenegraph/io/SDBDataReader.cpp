#include "scenegraph/io/SDBDataReader.h"

#include "scenegraph/io/detail/ArrayReader.h"
#include "scenegraph/io/detail/CellImport.h"
#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "scenegraph/io/detail/TokenReader.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <algorithm>
#include <cstring>
#include <istream>

#include <vtkDemandDrivenPipeline.h>
#include <vtkInformation.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkPointSet.h>
#include <vtkPoints.h>
#include <vtkRectilinearGrid.h>
#include <vtkStreamingDemandDrivenPipeline.h>
#include <vtkWriter.h>

namespace tsg
{

namespace
{

using detail::VtkReport;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBDataReader";

constexpr VtkReport NO_FIRST_LINE{"Premature EOF reading first line! ", SOURCE, 214};
constexpr VtkReport UNRECOGNIZED_FILE_TYPE{"Unrecognized file type: ", SOURCE, 221};
constexpr VtkReport NO_TITLE{"Premature EOF reading title! ", SOURCE, 230};
constexpr VtkReport NO_FILE_TYPE{"Premature EOF reading file type!", SOURCE, 240};
constexpr VtkReport NO_POINTS_TYPE{"Cannot read points type!", SOURCE, 586};
constexpr VtkReport FAILED_TEXT_CELLS{"Error reading ascii cell data!", SOURCE, 622};
constexpr VtkReport FAILED_BINARY_CELLS{"Error reading binary cell data!", SOURCE, 652};
constexpr VtkReport NO_COORDINATES_TYPE{"Cannot read coordinates type!", SOURCE, 712};

/// What the file-type word of a header denotes; 0 if nothing.
int fileTypeOf(std::string_view token)
{
    if (detail::beginsWith(token, detail::ASCII_WORD))
    {
        return VTK_ASCII;
    }
    return detail::beginsWith(token, detail::BINARY_WORD) ? VTK_BINARY : 0;
}

} // namespace

struct SDBDataReader::OwnRun
{
    explicit OwnRun(std::istream* in)
        : budget(sdb::detail::MemoryBudget::forInput(in != nullptr ? sdb::detail::bytesLeft(*in) : 0))
        , run(budget)
    {
    }

    sdb::detail::MemoryBudget budget;
    detail::CodecRun run;
};

void detail::lend(SDBDataReader& reader, CodecRun* run)
{
    reader.Lent = run;
}

vtkObjectFactoryNewMacro(SDBDataReader);

SDBDataReader::SDBDataReader()
{
    this->SetNumberOfInputPorts(0);
    this->SetNumberOfOutputPorts(1);
}

SDBDataReader::~SDBDataReader()
{
    for (const char* const text :
         {this->Header, this->ScalarsName, this->VectorsName, this->TensorsName, this->NormalsName, this->TCoordsName,
          this->LookupTableName, this->FieldDataName, this->ScalarLut})
    {
        delete[] text;
    }
}

void SDBDataReader::SetIStream(std::istream* stream)
{
    this->Stream = stream;
    this->Own.reset();
    this->Modified();
}

detail::CodecRun& SDBDataReader::LentRun()
{
    if (this->Lent != nullptr)
    {
        return *this->Lent;
    }
    if (!this->Own)
    {
        this->Own = std::make_unique<OwnRun>(this->Stream);
    }
    return this->Own->run;
}

void SDBDataReader::Announce(std::string_view kind, std::string_view name)
{
    this->Announced = kind;
    if (!name.empty())
    {
        this->Announced.append(" \"").append(name).append("\"");
    }
}

void SDBDataReader::SetHeader(const char* header) vtkSetStringBodyMacro(Header, header);

vtkTypeBool SDBDataReader::ProcessRequest(vtkInformation* request, vtkInformationVector** input,
                                          vtkInformationVector* output)
{
    if (request->Has(vtkDemandDrivenPipeline::REQUEST_DATA()))
    {
        return this->RequestData(request, input, output);
    }
    if (request->Has(vtkStreamingDemandDrivenPipeline::REQUEST_UPDATE_EXTENT()))
    {
        return this->RequestUpdateExtent(request, input, output);
    }
    if (request->Has(vtkDemandDrivenPipeline::REQUEST_INFORMATION()))
    {
        return this->RequestInformation(request, input, output);
    }
    return this->vtkAlgorithm::ProcessRequest(request, input, output);
}

int SDBDataReader::RequestData(vtkInformation*, vtkInformationVector**, vtkInformationVector*)
{
    return 1;
}

int SDBDataReader::RequestUpdateExtent(vtkInformation*, vtkInformationVector**, vtkInformationVector*)
{
    return 1;
}

int SDBDataReader::RequestInformation(vtkInformation*, vtkInformationVector**, vtkInformationVector*)
{
    return 1;
}

int SDBDataReader::Fail(const VtkReport& report, const char* detail)
{
    reportError(*this, report, detail);
    return 0;
}

void SDBDataReader::AdvanceProgress()
{
    const double progress = this->GetProgress();
    this->UpdateProgress(progress + 0.5 * (1.0 - progress));
}

bool SDBDataReader::IsText() const
{
    return this->FileType != VTK_BINARY;
}

// --- Header ----------------------------------------------------------------------------------------------------------

int SDBDataReader::ReadHeader()
{
    char line[detail::TOKEN_BYTES];
    this->Own.reset();
    if (!this->ReadLine(line))
    {
        return this->Fail(NO_FIRST_LINE);
    }
    const std::string_view identification = detail::IDENTIFICATION.substr(0, detail::IDENTIFICATION_LENGTH);
    if (std::string_view(line).substr(0, identification.size()) != identification)
    {
        return this->Fail(UNRECOGNIZED_FILE_TYPE, line);
    }
    if (!this->ReadLine(line))
    {
        return this->Fail(NO_TITLE);
    }
    this->SetHeader(line);
    if (!this->ReadString(line))
    {
        return this->Fail(NO_FILE_TYPE);
    }
    LowerCase(line);
    this->FileType = fileTypeOf(line);
    return this->FileType != 0 ? 1 : this->Fail(UNRECOGNIZED_FILE_TYPE, line);
}

void SDBDataReader::InitializeCharacteristics()
{
    this->InFile = Characteristics();
}

void SDBDataReader::CheckFor(const char* keyword, char* line, std::vector<std::string>& names)
{
    LowerCase(line, std::strlen(keyword));
    if (!detail::beginsWith(line, keyword))
    {
        return;
    }
    sdb::detail::MemoryStream words(line, std::strlen(line));
    char word[detail::TOKEN_BYTES];
    (void)detail::readWord(words, word); // the keyword
    if (detail::readWord(words, word))
    {
        names.emplace_back(word);
    }
}

// --- Geometry --------------------------------------------------------------------------------------------------------

detail::ArrayReader SDBDataReader::Arrays()
{
    return {*this->Stream, this->IsText(), this->LentRun(), this->Announced, *this};
}

vtkSmartPointer<vtkDataArray> SDBDataReader::ReadWordAndArray(const VtkReport& failure, int tuples, int components)
{
    char word[detail::TOKEN_BYTES];
    if (!this->ReadString(word))
    {
        this->Fail(failure);
        return nullptr;
    }
    return this->Arrays().read(LowerCase(word), tuples, components);
}

vtkSmartPointer<vtkDataArray> SDBDataReader::ReadNamedArray(const char* name, const char* typeWord, int tuples,
                                                            int components)
{
    this->Announce("array", name);
    return vtkSmartPointer<vtkDataArray>::Take(this->ReadArray(typeWord, tuples, components));
}

vtkDataArray* SDBDataReader::ReadArray(const char* typeWord, int tuples, int components)
{
    if (this->Stream == nullptr)
    {
        return nullptr;
    }
    std::string word(typeWord);
    LowerCase(word.data(), word.size());
    const vtkSmartPointer<vtkDataArray> array = this->Arrays().read(word, tuples, components);
    this->Announced = UNNAMED_ARRAY; // unless the next one is announced
    if (array != nullptr)
    {
        array->Register(nullptr); // the caller's reference
    }
    return array;
}

int SDBDataReader::ReadPoints(vtkPointSet* points, int count)
{
    this->Announce("points");
    const vtkSmartPointer<vtkDataArray> coordinates = this->ReadWordAndArray(NO_POINTS_TYPE, count, 3);
    if (coordinates == nullptr)
    {
        return 0;
    }
    const vtkNew<vtkPoints> read;
    read->SetData(coordinates);
    points->SetPoints(read);
    this->AdvanceProgress();
    return 1;
}

int SDBDataReader::ReadCoordinates(vtkRectilinearGrid* grid, int axis, int count)
{
    this->Announce("coordinates");
    const vtkSmartPointer<vtkDataArray> coordinates = this->ReadWordAndArray(NO_COORDINATES_TYPE, count, 1);
    if (coordinates == nullptr)
    {
        return 0;
    }
    switch (axis)
    {
    case 0:
        grid->SetXCoordinates(coordinates);
        break;
    case 1:
        grid->SetYCoordinates(coordinates);
        break;
    default:
        grid->SetZCoordinates(coordinates);
        break;
    }
    this->AdvanceProgress();
    return 1;
}

// --- Cells -----------------------------------------------------------------------------------------------------------

/// Hands `take` the source of a connectivity list of more than 0 integers. False after an error of a list that is text.
bool SDBDataReader::ReadConnectivity(int size, const detail::TakeContent& take)
{
    if (!this->IsText())
    {
        // What is missing is warned of already.
        (void)this->Arrays().readBlock(static_cast<std::uint64_t>(size) * sizeof(int), take);
        return true;
    }
    detail::NumberReader numbers(*this->Stream);
    bool failed = false;
    const auto source = [&](char* data, std::uint64_t bytes)
    {
        std::uint64_t at = 0;
        for (int value = 0; !failed && at < bytes; at += sizeof value)
        {
            failed = !numbers.read(value);
            std::memcpy(data + at, &value, sizeof value);
        }
        return at;
    };
    return take(source) && (!failed || this->Fail(FAILED_TEXT_CELLS) != 0);
}

bool SDBDataReader::ReadCellList(int size, detail::ConnectivityBuffer& list)
{
    bool hasRoom = size == 0;
    const auto take = [&](const detail::ValueSource& source)
    {
        hasRoom = list.read(size, this->LentRun().budget, source);
        return hasRoom;
    };
    if (size == 0 || this->ReadConnectivity(size, take)) // what is missing shows in the list
    {
        this->AdvanceProgress();
    }
    return hasRoom;
}

int SDBDataReader::ReadCells(int size, int* list)
{
    bool complete = true;
    std::fill_n(list, std::max(size, 0), 0);
    if (size > 0 && this->Stream != nullptr)
    {
        const auto take = [&](const detail::ValueSource& source)
        {
            source(reinterpret_cast<char*>(list), static_cast<std::uint64_t>(size) * sizeof(int));
            return true;
        };
        complete = this->ReadConnectivity(size, take);
    }
    if (complete)
    {
        this->AdvanceProgress();
    }
    return complete ? 1 : 0;
}

int SDBDataReader::ReadCells(int size, int* list, int skip1, int read2, int /*skip3*/)
{
    const VtkReport& failure = this->IsText() ? FAILED_TEXT_CELLS : FAILED_BINARY_CELLS;
    if (this->Stream == nullptr || size < 0)
    {
        return this->Fail(failure);
    }
    const sdb::detail::Charge charge(this->LentRun().budget, static_cast<std::uint64_t>(size) * sizeof(int));
    detail::ConnectivityBuffer whole;
    if (!charge.granted() || !this->ReadCellList(size, whole))
    {
        return this->Fail(failure);
    }
    if (this->IsText() && this->Stream->fail())
    {
        return 0; // reported already
    }
    if (this->Stream->fail() || !detail::copyCells(whole.get(), size, skip1, read2, list))
    {
        return this->Fail(failure);
    }
    return 1;
}

} // namespace tsg
