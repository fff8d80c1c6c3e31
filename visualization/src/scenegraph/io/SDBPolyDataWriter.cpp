#include "scenegraph/io/SDBPolyDataWriter.h"

#include "scenegraph/io/detail/BlockText.h"
#include "scenegraph/io/detail/CellSections.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/PolyDataInput.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <vtkObjectFactory.h>
#include <vtkPolyData.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBPolyDataWriter";

constexpr detail::VtkReport HEADER_FAILED{"Error writing header to file", SOURCE, 47};
constexpr detail::VtkReport DATA_SET_FAILED{"Error writing data set to memory", SOURCE, 104};

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
    return detail::polyDataInput(*this, port);
}

int SDBPolyDataWriter::FillInputPortInformation(int, vtkInformation* info)
{
    return detail::requirePolyData(info);
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
    for (const detail::CellSection& row : detail::CELL_SECTIONS)
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
