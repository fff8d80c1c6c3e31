#pragma once

#include "scenegraph/io/SDBDataWriter.h"

class vtkPolyData;

namespace tsg
{

/// Writes its input, one vtkPolyData, as one dataset block (docs/formats/dataset-block.md) to the stream given with
/// SetOStream. Two errors may be reported, "Error writing header to file" and "Error writing data set to memory"; what
/// was written up to then stays in the stream. InternalError as stated for SDBDataWriter passes through Write and
/// Update.
class TAVO_EXPORT SDBPolyDataWriter : public SDBDataWriter
{
public:
    static SDBPolyDataWriter* New();
    vtkTypeMacro(SDBPolyDataWriter, SDBDataWriter);
    void PrintSelf(ostream& os, vtkIndent indent) override;

    SDBPolyDataWriter(const SDBPolyDataWriter&) = delete;
    SDBPolyDataWriter& operator=(const SDBPolyDataWriter&) = delete;

    /// The input of a port if it is a vtkPolyData, else null.
    vtkPolyData* GetInput();
    vtkPolyData* GetInput(int port);

protected:
    SDBPolyDataWriter() = default;
    ~SDBPolyDataWriter() override = default;

    int FillInputPortInformation(int port, vtkInformation* info) override;
    void WriteData() override;

private:
    int WriteCellsAndTheirData(std::ofstream* fp, vtkPolyData& input);
};

} // namespace tsg
