#include "scenegraph/io/SDBDataWriter.h"

#include "core/Error.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/ArrayRecord.h"
#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/ConnectivityList.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/TextValues.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <vtkCellArray.h>
#include <vtkDataArray.h>
#include <vtkErrorCode.h>
#include <vtkFloatArray.h>
#include <vtkInformation.h>
#include <vtkObjectFactory.h>
#include <vtkPoints.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBDataWriter";

constexpr detail::VtkReport NO_CONCRETE_WRITER{"WriteData() should be implemented in concrete subclass", SOURCE, 62};
constexpr detail::VtkReport UNSUPPORTED_TYPE{"Type currently not supported", SOURCE, 171};
constexpr detail::VtkReport REFUSED_ARRAY{"Array is not written: ", SOURCE, 214};
constexpr detail::VtkReport REFUSED_CELLS{"Cells are not written, nor any cell data: ", SOURCE, 263};

constexpr Invariant BLOCK_FAILED{
    "Writing DataArray failed",
    "sdb::writeCompressed(*fp, reinterpret_cast<const char *>(data), sizeof(T) * num * numComp, compressionMethod)",
    SOURCE, 127};

/// Shift of the narrowing test for coordinates: floats with up to 19 significant bits pass.
constexpr int COORDINATE_SHIFT = 34;
constexpr int NO_NARROWING = 0;

} // namespace

void detail::lend(SDBDataWriter& writer, const Pulse* pulse)
{
    writer.BlockPulse = pulse;
}

vtkObjectFactoryNewMacro(SDBDataWriter);

SDBDataWriter::SDBDataWriter()
{
    this->SDBDataWriter::SetHeader("vtk output");
    this->SDBDataWriter::SetLookupTableName(detail::LOOKUP_TABLE_NAME);
    this->SDBDataWriter::SetFieldDataName(detail::FIELD_DATA_NAME);
}

SDBDataWriter::~SDBDataWriter()
{
    for (char* text : {this->Header, this->ScalarsName, this->VectorsName, this->TensorsName, this->TCoordsName,
                       this->NormalsName, this->LookupTableName, this->FieldDataName, this->GlobalIdsName})
    {
        delete[] text;
    }
}

int SDBDataWriter::FillInputPortInformation(int, vtkInformation* info)
{
    info->Set(vtkAlgorithm::INPUT_REQUIRED_DATA_TYPE(), "vtkDataSet");
    return 1;
}

void SDBDataWriter::WriteData()
{
    detail::reportError(*this, NO_CONCRETE_WRITER);
}

void SDBDataWriter::SetOStream(std::ofstream* stream, int fileType)
{
    this->OStream = stream;
    this->SetFileType(fileType);
}

bool SDBDataWriter::includeArray(vtkDataArray* array) const
{
    if (array == nullptr)
    {
        return false;
    }
    const char* const name = array->GetName();
    return this->InclusiveArray == nullptr || name == nullptr || this->InclusiveArray->count(name) > 0;
}

bool SDBDataWriter::ReportRefusal(vtkDataArray& array, const std::string& refusal)
{
    if (refusal.empty())
    {
        return false;
    }
    detail::reportError(*this, REFUSED_ARRAY,
                        '"' + std::string(detail::firstNonEmpty({array.GetName()})) + "\": " + refusal);
    return true;
}

int SDBDataWriter::WriteHeader(std::ofstream* fp)
{
    if (fp == nullptr)
    {
        return 0;
    }
    detail::writeText(*fp, detail::headerText(this->Header, this->FileType));
    return this->FinishSection(fp);
}

int SDBDataWriter::FinishSection(std::ofstream* fp)
{
    fp->flush();
    if (fp->fail())
    {
        this->SetErrorCode(vtkErrorCode::OutOfDiskSpaceError);
        return 0;
    }
    return 1;
}

void SDBDataWriter::WriteBlock(std::ofstream* fp, const void* data, std::uint64_t size) const
{
    const bool compress = this->CompressBinaryData != 0 && size >= detail::MIN_COMPRESSED_BYTES;
    const CompressionMethods method = compress ? CompressionMethods::Zlib : CompressionMethods::None;
    const detail::Pulse none;
    const detail::Pulse& pulse = this->BlockPulse != nullptr ? *this->BlockPulse : none;
    if (size > 0 && !sdb::detail::writeBlock(*fp, static_cast<const char*>(data), size, method, pulse))
    {
        raise(BLOCK_FAILED);
    }
}

void SDBDataWriter::WriteBits(std::ofstream* fp, const detail::ArrayRecord& record) const
{
    if (this->FileType == VTK_BINARY)
    {
        fp->write(reinterpret_cast<const char*>(record.bits()), record.bitBytes());
        return;
    }
    detail::writeBitsAsText(*fp, record.bits(), record.bitCount());
}

int SDBDataWriter::WriteRecord(std::ofstream* fp, const detail::ArrayRecord& record, const std::string& format)
{
    if (record.type() == nullptr)
    {
        detail::reportError(*this, UNSUPPORTED_TYPE);
        return 0;
    }
    detail::writeText(*fp, detail::fillTemplate(format, record.type()->word));
    if (record.type()->vtkType == VTK_BIT)
    {
        this->WriteBits(fp, record);
    }
    else
    {
        this->WriteBlock(fp, record.data(), record.size());
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

int SDBDataWriter::WriteArray(std::ofstream* fp, int dataType, vtkDataArray* data, const char* format, int num,
                              int numComp, bool narrow)
{
    if (fp == nullptr)
    {
        return 0;
    }
    if (data == nullptr || data->GetDataType() != dataType)
    {
        detail::reportError(*this, UNSUPPORTED_TYPE);
        return 0;
    }
    const detail::ArrayRecord record(*data, num, numComp, narrow ? COORDINATE_SHIFT : NO_NARROWING,
                                     *this->NarrowingBuffer);
    return this->ReportRefusal(*data, record.refusal()) ? 0 : this->WriteRecord(fp, record, format);
}

int SDBDataWriter::WriteCoordinateArray(std::ofstream* fp, const std::string& keyword, vtkDataArray* coordinates,
                                        int components)
{
    const vtkIdType num = coordinates->GetNumberOfTuples();
    const detail::ArrayRecord record(*coordinates, num, components, COORDINATE_SHIFT, *this->NarrowingBuffer);
    if (this->ReportRefusal(*coordinates, record.refusal()))
    {
        return 0;
    }
    detail::writeText(*fp, keyword + ' ' + std::to_string(num) + ' ');
    return this->WriteRecord(fp, record, "%s\n");
}

int SDBDataWriter::WritePoints(std::ofstream* fp, vtkPoints* points)
{
    constexpr int DIMENSIONS = 3;
    if (fp == nullptr)
    {
        return 0;
    }
    const std::string keyword(detail::POINTS_WORD);
    if (points == nullptr)
    {
        detail::writeText(*fp, keyword + " 0 float\n");
        return 1;
    }
    return this->WriteCoordinateArray(fp, keyword, points->GetData(), DIMENSIONS);
}

int SDBDataWriter::WriteCoordinates(std::ofstream* fp, vtkDataArray* coordinates, int axis)
{
    if (fp == nullptr)
    {
        return 0;
    }
    const std::string letter(1, axis == 0 ? 'X' : axis == 1 ? 'Y' : 'Z');
    return this->WriteCoordinateArray(fp, letter + "_COORDINATES", coordinates, 1);
}

int SDBDataWriter::WriteCells(std::ofstream* fp, vtkCellArray* cells, const char* keyword)
{
    return this->WriteCellSection(fp, cells, keyword) == Section::Failed ? 0 : 1;
}

SDBDataWriter::Section SDBDataWriter::WriteCellSection(std::ofstream* fp, vtkCellArray* cells, const char* keyword)
{
    if (fp == nullptr)
    {
        return Section::Failed;
    }
    if (cells == nullptr || cells->GetNumberOfCells() < 1)
    {
        return Section::Written;
    }
    const detail::ConnectivityList list(*cells);
    if (!list.refusal().empty())
    {
        detail::reportError(*this, REFUSED_CELLS, std::string(keyword) + ": " + list.refusal());
        return Section::Refused;
    }
    detail::writeText(*fp, std::string(keyword) + ' ' + std::to_string(cells->GetNumberOfCells()) + ' ' +
                               std::to_string(list.size()) + '\n');
    if (this->FileType == VTK_BINARY)
    {
        this->WriteBlock(fp, list.begin(), static_cast<std::uint64_t>(list.size()) * sizeof(*list.begin()));
        detail::writeText(*fp, "\n");
    }
    else
    {
        list.writeAsText(*fp);
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp) != 0 ? Section::Written : Section::Failed;
}

} // namespace tsg
