#include "scenegraph/io/SceneGraphDataWriter.h"

#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/ConnectivityList.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TextValues.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <utility>

#include <vtkCellArray.h>
#include <vtkErrorCode.h>
#include <vtkExecutive.h>
#include <vtkInformation.h>
#include <vtkObjectFactory.h>
#include <vtkPoints.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SceneGraphDataWriter";

constexpr detail::VtkReport NO_FILE_NAME{"No FileName specified! Can't write!", SOURCE, 144};
constexpr detail::VtkReport NO_INPUT{"No input! Can't write!", SOURCE, 164};
constexpr detail::VtkReport CANNOT_OPEN{"Unable to open file: ", SOURCE, 191};
constexpr detail::VtkReport LONG_STRING{"The output string takes 2 GiB or more", SOURCE, 232};
constexpr detail::VtkReport REFUSED_ARRAY{"Array is not written: ", SOURCE, 301};
constexpr detail::VtkReport REFUSED_CELLS{"Cells are not written, nor any cell data: ", SOURCE, 358};
constexpr detail::VtkReport UNSUPPORTED_TYPE{"Type currently not supported", SOURCE, 690};
constexpr detail::VtkReport NO_CONCRETE_WRITER{"WriteData() should be implemented in concrete subclass", SOURCE, 1143};

/// The word for the type of an array: ids have no width in these files.
std::string_view legacyWord(const detail::TypeWord& type)
{
    return type.vtkType == VTK_ID_TYPE ? "vtkIdType" : type.word;
}

} // namespace

vtkObjectFactoryNewMacro(SceneGraphDataWriter);

SceneGraphDataWriter::SceneGraphDataWriter()
{
    this->SceneGraphDataWriter::SetHeader("vtk output");
    this->SceneGraphDataWriter::SetLookupTableName(detail::LOOKUP_TABLE_NAME);
    this->SceneGraphDataWriter::SetFieldDataName(detail::FIELD_DATA_NAME);
}

SceneGraphDataWriter::~SceneGraphDataWriter()
{
    for (char* text :
         {this->OutputString, this->FileName, this->Header, this->ScalarsName, this->VectorsName, this->TensorsName,
          this->TCoordsName, this->NormalsName, this->LookupTableName, this->FieldDataName, this->GlobalIdsName})
    {
        delete[] text;
    }
}

int SceneGraphDataWriter::FillInputPortInformation(int, vtkInformation* info)
{
    info->Set(vtkAlgorithm::INPUT_REQUIRED_DATA_TYPE(), "vtkDataSet");
    return 1;
}

void SceneGraphDataWriter::WriteData()
{
    detail::reportError(*this, NO_CONCRETE_WRITER);
}

void SceneGraphDataWriter::SetOStream(std::ostream* stream, int fileType)
{
    this->OStream = stream;
    this->WriteToOStream = 1;
    this->SetFileType(fileType);
}

char* SceneGraphDataWriter::RegisterAndGetOutputString()
{
    this->OutputStringLength = 0;
    return std::exchange(this->OutputString, nullptr);
}

std::ostream* SceneGraphDataWriter::OpenVTKFile()
{
    this->OpenedFile.clear();
    this->RefusedCells = false;
    this->LeftOut = false;
    if (this->WriteToOStream == 1)
    {
        return this->OStream;
    }
    return this->WriteToOutputString != 0 ? this->OpenString() : this->OpenFile();
}

std::ostream* SceneGraphDataWriter::OpenString()
{
    delete[] this->RegisterAndGetOutputString();
    if (this->GetInput() == nullptr)
    {
        detail::reportError(*this, NO_INPUT);
        return nullptr;
    }
    if (vtkExecutive* const input = this->GetInputExecutive(0, 0))
    {
        input->Update();
    }
    return new std::stringstream;
}

std::ostream* SceneGraphDataWriter::OpenFile()
{
    if (this->FileName == nullptr)
    {
        detail::reportError(*this, NO_FILE_NAME);
        this->SetErrorCode(vtkErrorCode::NoFileNameError);
        return nullptr;
    }
    const auto lineEnds = this->FileType == VTK_ASCII ? OS::LineEnds::OfThePlatform : OS::LineEnds::AsWritten;
    std::unique_ptr<std::ofstream> file = OS::openForWriting(OS::toWide(this->FileName), lineEnds);
    if (!file->good())
    {
        detail::reportError(*this, CANNOT_OPEN, this->FileName);
        this->SetErrorCode(vtkErrorCode::CannotOpenFileError);
        return nullptr;
    }
    this->OpenedFile = this->FileName;
    return file.release(); // CloseVTKFile deletes it
}

void SceneGraphDataWriter::CloseVTKFile(std::ostream* fp)
{
    if (this->WriteToOStream == 1 || fp == nullptr)
    {
        return;
    }
    const std::unique_ptr<std::ostream> stream(fp);
    if (this->WriteToOutputString != 0)
    {
        if (auto* const text = dynamic_cast<std::stringstream*>(fp))
        {
            this->KeepString(*text);
        }
    }
}

void SceneGraphDataWriter::KeepString(std::iostream& text)
{
    delete[] this->RegisterAndGetOutputString();
    text.clear(); // what has arrived is kept after a failure too
    const std::streamoff length = std::max<std::streamoff>(text.tellp(), 0);
    if (length > INT32_MAX)
    {
        detail::reportError(*this, LONG_STRING);
        this->SetErrorCode(vtkErrorCode::FileFormatError);
        return;
    }
    this->OutputString = new char[static_cast<std::size_t>(length) + 1];
    this->OutputStringLength = static_cast<int>(length);
    text.read(this->OutputString, length);
    this->OutputString[length] = '\0';
}

void SceneGraphDataWriter::DeleteOpenedFile()
{
    if (!this->OpenedFile.empty())
    {
        (void)Platform::filesystem().markForDeletion(OS::toWide(this->OpenedFile));
    }
}

int SceneGraphDataWriter::WriteHeader(std::ostream* fp)
{
    if (fp == nullptr)
    {
        return 0;
    }
    this->ArrayCount = 0;
    detail::writeText(*fp, detail::headerText(this->Header, this->FileType));
    return this->FinishSection(fp);
}

int SceneGraphDataWriter::FinishSection(std::ostream* fp)
{
    fp->flush();
    if (fp->fail())
    {
        this->SetErrorCode(vtkErrorCode::OutOfDiskSpaceError);
        return 0;
    }
    return 1;
}

bool SceneGraphDataWriter::Refuse(vtkDataArray& array, std::int64_t values)
{
    const bool hasWord = detail::typeWordOf(array.GetDataType()) != nullptr;
    const std::string refusal = hasWord ? detail::storingRefusal(array, values) : "";
    if (hasWord && refusal.empty())
    {
        return false;
    }
    if (hasWord)
    {
        this->LeaveOut(&array, refusal);
    }
    else
    {
        this->LeftOut = true;
        detail::reportError(*this, UNSUPPORTED_TYPE);
    }
    return true;
}

bool SceneGraphDataWriter::RefuseForNumber(vtkDataArray* array)
{
    if (++this->ArrayCount <= sdb::detail::MAX_TEXT_ARRAYS)
    {
        return false;
    }
    this->LeaveOut(array, "no more than " + std::to_string(sdb::detail::MAX_TEXT_ARRAYS) + " arrays are read back");
    return true;
}

void SceneGraphDataWriter::LeaveOut(vtkDataArray* array, const std::string& reason)
{
    this->LeftOut = true;
    const char* const name = array != nullptr ? array->GetName() : nullptr;
    detail::reportError(*this, REFUSED_ARRAY, '"' + std::string(detail::firstNonEmpty({name})) + "\": " + reason);
}

void SceneGraphDataWriter::WriteValues(std::ostream& out, vtkDataArray& array, std::int64_t count) const
{
    if (count < 1)
    {
        return;
    }
    const bool asText = this->FileType == VTK_ASCII;
    const detail::TypeWord& type = *detail::typeWordOf(array.GetDataType());
    if (type.vtkType == VTK_BIT)
    {
        const auto* const bits = static_cast<const unsigned char*>(array.GetVoidPointer(0));
        asText ? detail::writeBitsAsText(out, bits, count) : detail::writeBits(out, bits, count);
        return;
    }
    const detail::StoredValues values(array, count);
    asText ? detail::writeAsText(out, type.vtkType, values.data(), count)
           : detail::writeBigEndian(out, type.width, values.data(), count);
}

int SceneGraphDataWriter::WriteRecord(std::ostream* fp, vtkDataArray& array, const std::string& format,
                                      std::int64_t values)
{
    detail::writeText(*fp, detail::fillTemplate(format, legacyWord(*detail::typeWordOf(array.GetDataType()))));
    this->WriteValues(*fp, array, values);
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

int SceneGraphDataWriter::WriteArray(std::ostream* fp, int dataType, vtkDataArray* data, const char* format, int num,
                                     int numComp)
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
    const std::int64_t values = std::int64_t{num} * numComp;
    return this->Refuse(*data, values) ? 0 : this->WriteRecord(fp, *data, format, values);
}

int SceneGraphDataWriter::WritePoints(std::ostream* fp, vtkPoints* points)
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
        return this->FinishSection(fp);
    }
    vtkDataArray& coordinates = *points->GetData();
    const std::int64_t num = coordinates.GetNumberOfTuples();
    return this->Refuse(coordinates, num * DIMENSIONS)
               ? 0
               : this->WriteRecord(fp, coordinates, keyword + ' ' + std::to_string(num) + " %s\n", num * DIMENSIONS);
}

int SceneGraphDataWriter::WriteCoordinates(std::ostream* fp, vtkDataArray* coordinates, int axis)
{
    if (fp == nullptr || coordinates == nullptr)
    {
        return 0;
    }
    const std::string letter(1, axis == 0 ? 'X' : axis == 1 ? 'Y' : 'Z');
    const std::int64_t num = coordinates->GetNumberOfTuples();
    return this->Refuse(*coordinates, num)
               ? 0
               : this->WriteRecord(fp, *coordinates, letter + "_COORDINATES " + std::to_string(num) + " %s\n", num);
}

int SceneGraphDataWriter::WriteCells(std::ostream* fp, vtkCellArray* cells, const char* keyword)
{
    if (fp == nullptr)
    {
        return 0;
    }
    if (cells == nullptr || cells->GetNumberOfCells() < 1)
    {
        return 1;
    }
    const detail::ConnectivityList list(*cells);
    if (!list.refusal().empty())
    {
        detail::reportError(*this, REFUSED_CELLS, std::string(keyword) + ": " + list.refusal());
        this->RefusedCells = true;
        this->LeftOut = true;
        return 1;
    }
    detail::writeText(*fp, std::string(keyword) + ' ' + std::to_string(cells->GetNumberOfCells()) + ' ' +
                               std::to_string(list.size()) + '\n');
    if (this->FileType == VTK_BINARY)
    {
        detail::writeBigEndian(*fp, sizeof(*list.begin()), reinterpret_cast<const char*>(list.begin()), list.size());
    }
    else
    {
        list.writeAsText(*fp);
    }
    detail::writeText(*fp, "\n");
    return this->FinishSection(fp);
}

} // namespace tsg
