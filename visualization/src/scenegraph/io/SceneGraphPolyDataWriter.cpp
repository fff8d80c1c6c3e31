#include "scenegraph/io/SceneGraphPolyDataWriter.h"

#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/CellSections.h"
#include "scenegraph/io/detail/PolyDataInput.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <utility>

#include <vtkErrorCode.h>
#include <vtkObjectFactory.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SceneGraphPolyDataWriter";

constexpr detail::VtkReport NO_ROOM_FOR_HEADER{"Ran out of disk space; deleting file: ", SOURCE, 30};
constexpr detail::VtkReport HEADER_FAILED{"Could not read memory header. ", SOURCE, 37};
constexpr detail::VtkReport NO_ROOM_FOR_DATA{"Ran out of disk space; deleting file: ", SOURCE, 101};
constexpr detail::VtkReport DATA_FAILED{"Error writing data set to memory", SOURCE, 107};

} // namespace

vtkObjectFactoryNewMacro(SceneGraphPolyDataWriter);

void SceneGraphPolyDataWriter::PrintSelf(ostream& os, vtkIndent indent)
{
    this->Superclass::PrintSelf(os, indent);
}

vtkPolyData* SceneGraphPolyDataWriter::GetInput()
{
    return this->GetInput(0);
}

vtkPolyData* SceneGraphPolyDataWriter::GetInput(int port)
{
    return detail::polyDataInput(*this, port);
}

int SceneGraphPolyDataWriter::FillInputPortInformation(int, vtkInformation* info)
{
    return detail::requirePolyData(info);
}

void SceneGraphPolyDataWriter::WriteData()
{
    std::ostream* fp = this->OpenVTKFile();
    if (fp == nullptr)
    {
        return;
    }
    try
    {
        this->WriteFile(fp);
    }
    catch (...)
    {
        this->CloseVTKFile(fp);
        this->DeleteOpenedFile();
        throw;
    }
}

// CloseVTKFile deletes the stream even if it throws: nobody may close it again.
void SceneGraphPolyDataWriter::WriteFile(std::ostream*& fp)
{
    vtkPolyData* const input = this->GetInput();
    if (this->WriteHeader(fp) == 0)
    {
        this->Abandon(fp, true);
        return;
    }
    if (input == nullptr || this->WriteBody(fp, *input) == 0)
    {
        this->Abandon(fp, false);
        return;
    }
    this->CloseVTKFile(std::exchange(fp, nullptr));
}

int SceneGraphPolyDataWriter::WriteBody(std::ostream* fp, vtkPolyData& input)
{
    detail::writeText(*fp, std::string(detail::DATASET_WORD) + ' ' + std::string(detail::POLYDATA_WORD) + '\n');
    if (this->WriteDataSetData(fp, &input) == 0 || this->WritePoints(fp, input.GetPoints()) == 0)
    {
        return 0;
    }
    for (const detail::CellSection& section : detail::CELL_SECTIONS)
    {
        if (this->WriteCells(fp, (input.*section.cells)(), section.keyword.data()) == 0)
        {
            return 0;
        }
    }
    const bool complete = this->HasRefusedCells() || this->WriteCellData(fp, &input) != 0;
    return complete && this->WritePointData(fp, &input) != 0 ? 1 : 0;
}

void SceneGraphPolyDataWriter::Abandon(std::ostream*& fp, bool inHeader)
{
    if (this->GetErrorCode() == vtkErrorCode::NoError)
    {
        this->SetErrorCode(vtkErrorCode::FileFormatError); // what was refused is as lost as what found no room
    }
    const char* const fileName = this->GetFileName();
    if (fileName != nullptr)
    {
        detail::reportError(*this, inHeader ? NO_ROOM_FOR_HEADER : NO_ROOM_FOR_DATA, fileName);
        this->CloseVTKFile(std::exchange(fp, nullptr));
        this->DeleteOpenedFile();
        return;
    }
    if (inHeader)
    {
        this->CloseVTKFile(std::exchange(fp, nullptr));
        detail::reportError(*this, HEADER_FAILED);
        return;
    }
    detail::reportError(*this, DATA_FAILED);
    this->CloseVTKFile(std::exchange(fp, nullptr));
}

} // namespace tsg
