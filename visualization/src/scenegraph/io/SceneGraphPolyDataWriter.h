#pragma once

#include "scenegraph/io/SceneGraphDataWriter.h"

class vtkPolyData;

namespace tsg
{

/// Writes its input, one vtkPolyData, as a legacy VTK file, version 3.0. A file whose disk runs full is deleted, with
/// the error "Ran out of disk space; deleting file: " and its name; a string keeps what it got, with the error "Error
/// writing data set to memory" or "Could not read memory header. ". Points that the format cannot hold end a write in
/// the same way. Write answers 0 then, and the error code is OutOfDiskSpaceError, or FileFormatError for such points.
class TAVO_EXPORT SceneGraphPolyDataWriter : public SceneGraphDataWriter
{
public:
    static SceneGraphPolyDataWriter* New();
    vtkTypeMacro(SceneGraphPolyDataWriter, SceneGraphDataWriter);
    void PrintSelf(ostream& os, vtkIndent indent) override;

    SceneGraphPolyDataWriter(const SceneGraphPolyDataWriter&) = delete;
    SceneGraphPolyDataWriter& operator=(const SceneGraphPolyDataWriter&) = delete;

    /// The input of a port if it is a vtkPolyData, else null.
    vtkPolyData* GetInput();
    vtkPolyData* GetInput(int port);

protected:
    SceneGraphPolyDataWriter() = default;
    ~SceneGraphPolyDataWriter() override = default;

    int FillInputPortInformation(int port, vtkInformation* info) override;
    void WriteData() override;

private:
    void WriteFile(std::ostream*& fp);
    int WriteBody(std::ostream* fp, vtkPolyData& input);
    void Abandon(std::ostream*& fp, bool inHeader);
};

} // namespace tsg
