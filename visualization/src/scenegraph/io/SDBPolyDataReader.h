#pragma once

#include "scenegraph/io/SDBDataReader.h"

class vtkPolyData;

namespace tsg
{

/// Reads one dataset block from the stream installed with SetIStream, which stands at the block's first byte, when the
/// pipeline asks for data. Everything that is wrong with a block is an error or warning event of this object; what
/// could be read is in the output. A block of which nothing could be read leaves an output without a points object.
///
/// Whatever the stream holds, ids in the output are those of its points: cells that refer to others are left out, and
/// with them the block's cell data.
class TAVO_EXPORT SDBPolyDataReader : public SDBDataReader
{
public:
    /// The object factory's SDBPolyDataReader if there is one.
    static SDBPolyDataReader* New();
    vtkTypeMacro(SDBPolyDataReader, SDBDataReader);
    void PrintSelf(ostream& os, vtkIndent indent) override;

    SDBPolyDataReader(const SDBPolyDataReader&) = delete;
    SDBPolyDataReader& operator=(const SDBPolyDataReader&) = delete;

    /// The data object of the output port if it is polydata, else null. It belongs to the pipeline.
    vtkPolyData* GetOutput();
    vtkPolyData* GetOutput(int port);

    /// Makes the polydata the data object of output port 0, which takes a reference.
    void SetOutput(vtkPolyData* output);

protected:
    SDBPolyDataReader();
    ~SDBPolyDataReader() override;

    int FillOutputPortInformation(int port, vtkInformation* information) override;

    /// Always 1. Throws InternalError if a block of polydata finds an output that is none; what observers throw passes.
    int RequestData(vtkInformation* request, vtkInformationVector** input, vtkInformationVector* output) override;

    /// Always 1: a block is read whole, whatever piece is asked for.
    int RequestUpdateExtent(vtkInformation* request, vtkInformationVector** input,
                            vtkInformationVector* output) override;

private:
    struct Run;

    void ReadBlock(Run& run);
    void ReadDataset(Run& run);
    // False after an error that stops the reading of the block.
    bool ReadSections(Run& run);
    bool ReadSection(Run& run, const char* keyword);
    bool ReadCellSection(Run& run, int kind);
    bool ReadAttributes(Run& run, SectionKind kind, const SectionCounts& expected);
    void ReadAttributesOnly(Run& run, SectionKind kind);
    void EmptyFailedSections(Run& run);
};

} // namespace tsg
