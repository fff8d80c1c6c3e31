#pragma once

#include "core/Export.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include <vtkWriter.h>

class vtkCellArray;
class vtkDataArray;
class vtkDataSet;
class vtkDataSetAttributes;
class vtkFieldData;
class vtkLookupTable;
class vtkPoints;

namespace tsg
{

namespace detail
{
struct AttributeFormat;
struct TypeWord;
} // namespace detail

/// The general part of the writer of legacy VTK files, version 3.0: header, points, cells, attributes and field data,
/// written to a file, to a string or to a stream of the caller. It writes no dataset by itself.
///
/// Text is made without any locale, and neither that of the process nor the flags of the caller's stream matter.
/// Numbers have six significant digits. `long`, `unsigned long` and ids are 32 bits wide.
///
/// Operations that take a stream answer 1 or 0, and 0 for a null stream. A stream found failed after a section sets the
/// error code vtkErrorCode::OutOfDiskSpaceError and answers 0. An array that the format cannot hold (types it has no
/// word for, values beyond 4 bytes, 2 GiB, fewer values than its section asks for, more components or more arrays than
/// are read back) is reported by one error and left out before anything of it is written. What the stream of a caller
/// throws passes through, and std::bad_alloc may be thrown; an output that was opened is then closed, and a file
/// deleted.
class TAVO_EXPORT SceneGraphDataWriter : public vtkWriter
{
public:
    static SceneGraphDataWriter* New();
    vtkTypeMacro(SceneGraphDataWriter, vtkWriter);
    void PrintSelf(ostream& os, vtkIndent indent) override;

    SceneGraphDataWriter(const SceneGraphDataWriter&) = delete;
    SceneGraphDataWriter& operator=(const SceneGraphDataWriter&) = delete;

    /// The file to write (UTF-8, or any bytes that the system takes), unless one of the other outputs is on.
    vtkSetStringMacro(FileName);
    vtkGetStringMacro(FileName);

    /// True if the output is kept as a string; off by default.
    vtkSetMacro(WriteToOutputString, int);
    vtkGetMacro(WriteToOutputString, int);
    vtkBooleanMacro(WriteToOutputString, int);

    /// The string of the last write and its length in bytes, without the zero behind it; null and 0 without one. It
    /// belongs to the writer and lives until the next write.
    vtkGetMacro(OutputStringLength, int);
    vtkGetStringMacro(OutputString);

    unsigned char* GetBinaryOutputString() { return reinterpret_cast<unsigned char*>(this->OutputString); }

    /// Hands the string over to the caller, who deletes it with `delete[]`.
    char* RegisterAndGetOutputString();

    /// The title line: one line. Null is an empty line; "vtk output" by default.
    vtkSetStringMacro(Header);
    vtkGetStringMacro(Header);

    /// VTK_ASCII (1, the default) or VTK_BINARY (2).
    vtkSetClampMacro(FileType, int, VTK_ASCII, VTK_BINARY);
    vtkGetMacro(FileType, int);

    void SetFileTypeToASCII() { this->SetFileType(VTK_ASCII); }

    void SetFileTypeToBinary() { this->SetFileType(VTK_BINARY); }

    /// True if a stream of the caller takes the output.
    vtkGetMacro(WriteToOStream, int);

    /// Writes to a stream of the caller from now on, before all other outputs. The stream outlives every write.
    void SetOStream(std::ostream* stream, int fileType);

    /// Names written for the attributes of each kind instead of the arrays' own; null or empty for those.
    vtkSetStringMacro(ScalarsName);
    vtkGetStringMacro(ScalarsName);
    vtkSetStringMacro(VectorsName);
    vtkGetStringMacro(VectorsName);
    vtkSetStringMacro(TensorsName);
    vtkGetStringMacro(TensorsName);
    vtkSetStringMacro(NormalsName);
    vtkGetStringMacro(NormalsName);
    vtkSetStringMacro(TCoordsName);
    vtkGetStringMacro(TCoordsName);
    vtkSetStringMacro(GlobalIdsName);
    vtkGetStringMacro(GlobalIdsName);

    /// Names of lookup tables ("lookup_table") and field data ("FieldData"), written as they are: one word each of at
    /// most 255 bytes. Null or empty stands for the default.
    vtkSetStringMacro(LookupTableName);
    vtkGetStringMacro(LookupTableName);
    vtkSetStringMacro(FieldDataName);
    vtkGetStringMacro(FieldDataName);

    /// Opens the output: the caller's stream, a string, or the file, which is emptied. Null after an error: "No input!
    /// Can't write!" for a string without an input, "No FileName specified! Can't write!" (NoFileNameError) and
    /// "Unable to open file: " (CannotOpenFileError; also for what is no regular file). What it answers goes to
    /// CloseVTKFile.
    virtual std::ostream* OpenVTKFile();
    /// Closes the output: keeps the string, or closes the file. A stream of the caller is left alone. A string of 2 GiB
    /// and more is refused with an error and the error code FileFormatError.
    virtual void CloseVTKFile(std::ostream* fp);

    /// True if this write, or the last one, has left out something that the format cannot hold, or that it has no
    /// record for: pedigree ids, edge flags, and arrays that are not numeric.
    bool HasLeftOut() const { return this->LeftOut; }

    /// Identification, title and file type.
    int WriteHeader(std::ostream* fp);

    /// The points section. Points that are refused answer 0, since nothing of the dataset makes sense without them.
    int WritePoints(std::ostream* fp, vtkPoints* points);

    /// One coordinate array of a rectilinear grid: axis 0 is x, 1 is y, any other z. Refused coordinates answer 0.
    int WriteCoordinates(std::ostream* fp, vtkDataArray* coordinates, int axis);

    /// One cell section; nothing for a null or empty cell array, or for one that is refused.
    int WriteCells(std::ostream* fp, vtkCellArray* cells, const char* keyword);

    /// The cell-data or point-data section; nothing for a dataset without cells or points, or without arrays in it.
    int WriteCellData(std::ostream* fp, vtkDataSet* dataSet);
    int WritePointData(std::ostream* fp, vtkDataSet* dataSet);

    /// The dataset's own field data.
    int WriteDataSetData(std::ostream* fp, vtkDataSet* dataSet);

    /// One field section of all arrays that are no attribute of `fieldData`; nothing if there is none. An array that is
    /// not numeric is written as a null array.
    int WriteFieldData(std::ostream* fp, vtkFieldData* fieldData);

protected:
    SceneGraphDataWriter();
    ~SceneGraphDataWriter() override;

    int FillInputPortInformation(int port, vtkInformation* info) override;
    /// Reports that a concrete writer is needed.
    void WriteData() override;

    /// One attribute record of `num` tuples. Nothing, and 1, for an array that is refused.
    int WriteScalarData(std::ostream* fp, vtkDataArray* scalars, int num);
    int WriteVectorData(std::ostream* fp, vtkDataArray* vectors, int num);
    int WriteNormalData(std::ostream* fp, vtkDataArray* normals, int num);
    int WriteTCoordData(std::ostream* fp, vtkDataArray* tcoords, int num);
    int WriteTensorData(std::ostream* fp, vtkDataArray* tensors, int num);
    int WriteGlobalIdData(std::ostream* fp, vtkDataArray* globalIds, int num);

    /// One array of `num` tuples with `numComp` components. `format` is the header line with "%s" for the type word and
    /// "%%" for a percent sign. 0 with an error, and nothing written, for an array that is refused or whose type is not
    /// `dataType`.
    int WriteArray(std::ostream* fp, int dataType, vtkDataArray* data, const char* format, int num, int numComp);

    /// True if this write has refused cells: the cell data would belong to others.
    bool HasRefusedCells() const { return this->RefusedCells; }

    /// Deletes the file that this write has opened, if it has opened one.
    void DeleteOpenedFile();

private:
    struct AttributeKind;
    static const AttributeKind SCALARS_KIND;
    static const AttributeKind VECTORS_KIND;
    static const AttributeKind NORMALS_KIND;
    static const AttributeKind TCOORDS_KIND;
    static const AttributeKind TENSORS_KIND;
    static const AttributeKind GLOBAL_IDS_KIND;

    std::ostream* OpenString();
    std::ostream* OpenFile();
    void KeepString(std::iostream& text);

    int WriteAttributes(std::ostream* fp, const std::string& keyword, vtkDataSetAttributes* attributes,
                        std::int64_t num);
    int WriteAttribute(std::ostream* fp, const AttributeKind& kind, vtkDataArray* array, int num);
    int WriteColorScalars(std::ostream* fp, vtkDataArray& scalars, int num);
    int WriteLookupTable(std::ostream* fp, vtkLookupTable& table, int colors);
    /// The arrays of a field section, null for those that are not numeric; refused ones are reported.
    std::vector<vtkDataArray*> FieldArrays(vtkFieldData& fieldData);
    int WriteFieldArray(std::ostream* fp, vtkDataArray* array);
    std::string AttributeName(const AttributeKind& kind, vtkDataArray& array);
    std::string LookupTableWord() const;

    /// True if there is a reason against writing that many values of the array, which is then reported.
    bool Refuse(vtkDataArray& array, std::int64_t values);
    /// Counts an array of a field or an attribute; whether it is one more than are read back, which is reported.
    bool RefuseForNumber(vtkDataArray* array);
    void LeaveOut(vtkDataArray* array, const std::string& reason);
    /// Header line and values of an array that is not refused.
    int WriteRecord(std::ostream* fp, vtkDataArray& array, const std::string& format, std::int64_t values);
    void WriteValues(std::ostream& out, vtkDataArray& array, std::int64_t count) const;
    /// Flushes, and answers 1 or, after a failure, 0.
    int FinishSection(std::ostream* fp);

    int WriteToOutputString = 0;
    char* OutputString = nullptr;
    int OutputStringLength = 0;
    char* FileName = nullptr;
    char* Header = nullptr;
    int FileType = VTK_ASCII;
    char* ScalarsName = nullptr;
    char* VectorsName = nullptr;
    char* TensorsName = nullptr;
    char* TCoordsName = nullptr;
    char* NormalsName = nullptr;
    char* LookupTableName = nullptr;
    char* FieldDataName = nullptr;
    char* GlobalIdsName = nullptr;
    int WriteToOStream = 0;
    std::ostream* OStream = nullptr; ///< borrowed
    std::string OpenedFile;          ///< of the present or last write; empty if that went elsewhere
    bool RefusedCells = false;       ///< see HasRefusedCells
    bool LeftOut = false;            ///< see HasLeftOut
    int ArrayCount = 0;              ///< arrays of fields and attributes that this write has come to
};

} // namespace tsg
