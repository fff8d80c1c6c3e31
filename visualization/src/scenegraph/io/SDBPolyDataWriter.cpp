#include "scenegraph/io/SDBPolyDataWriter.h"

#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <vtkCellArray.h>
#include <vtkExecutive.h>
#include <vtkInformation.h>
#include <vtkObjectFactory.h>
#include <vtkPolyData.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBPolyDataWriter";

constexpr detail::VtkReport HEADER_FAILED{"Error writing header to file", SOURCE, 47};
constexpr detail::VtkReport DATA_SET_FAILED{"Error writing data set to memory", SOURCE, 104};

struct CellSection
{
    vtkCellArray* (vtkPolyData::*cells)();
    std::string_view keyword;
};

constexpr CellSection CELL_SECTIONS[] = {
    {&vtkPolyData::GetVerts, detail::VERTICES_WORD},
    {&vtkPolyData::GetLines, detail::LINES_WORD},
    {&vtkPolyData::GetPolys, detail::POLYGONS_WORD},
    {&vtkPolyData::GetStrips, detail::TRIANGLE_STRIPS_WORD},
};

} // namespace

vtkObjectFactoryNewMacro(SDBPolyDataWriter);

void SDBPolyDataWriter::PrintSelf(ostream& os, vtkIndent indent)
{
    this->vtkWriter::PrintSelf(os, indent); // NOLINT(bugprone-parent-virtual-call): the base adds nothing
}

vtkPolyData* SDBPolyDataWriter::GetInput()
{
    return this->GetInput(0);
}

vtkPolyData* SDBPolyDataWriter::GetInput(int port)
{
    const bool connected =
        port >= 0 && port < this->GetNumberOfInputPorts() && this->GetNumberOfInputConnections(port) > 0;
    return connected ? vtkPolyData::SafeDownCast(this->GetExecutive()->GetInputData(port, 0)) : nullptr;
}

int SDBPolyDataWriter::FillInputPortInformation(int, vtkInformation* info)
{
    info->Set(vtkAlgorithm::INPUT_REQUIRED_DATA_TYPE(), "vtkPolyData");
    return 1;
}

void SDBPolyDataWriter::WriteData()
{
    vtkPolyData* const input = this->GetInput();
    std::ofstream* const fp = this->GetOStream();
    if (this->WriteHeader(fp) == 0)
    {
        detail::reportError(*this, HEADER_FAILED);
        return;
    }
    detail::writeText(*fp, std::string(detail::DATASET_WORD) + ' ' + std::string(detail::POLYDATA_WORD) + '\n');
    if (this->WriteDataSetData(fp, input) == 0 || this->WritePoints(fp, input->GetPoints()) == 0 ||
        this->WriteCellsAndTheirData(fp, *input) == 0 || this->WritePointData(fp, input) == 0)
    {
        detail::reportError(*this, DATA_SET_FAILED);
    }
}

/// Without one of the cell sections the cell data would belong to other cells: they are left out with it.
int SDBPolyDataWriter::WriteCellsAndTheirData(std::ofstream* fp, vtkPolyData& input)
{
    bool complete = true;
    for (const CellSection& row : CELL_SECTIONS)
    {
        const Section result = this->WriteCellSection(fp, (input.*row.cells)(), row.keyword.data());
        if (result == Section::Failed)
        {
            return 0;
        }
        complete = complete && result == Section::Written;
    }
    return complete ? this->WriteCellData(fp, &input) : 1;
}

} // namespace tsg
