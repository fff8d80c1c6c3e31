#pragma once

#include "core/Export.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <vtkNew.h>
#include <vtkWriter.h>

class vtkCellArray;
class vtkDataArray;
class vtkDataSet;
class vtkDataSetAttributes;
class vtkFieldData;
class vtkFloatArray;
class vtkLookupTable;
class vtkPoints;

namespace tsg
{

class SDBDataWriter;

namespace detail
{
class ArrayRecord;
struct AttributeFormat;
using Pulse = std::function<void(std::uint64_t bytes)>;
void lend(SDBDataWriter& writer, const Pulse* pulse);
} // namespace detail

/// The general part of the writer of dataset blocks (docs/formats/dataset-block.md): header, points, cells, attributes
/// and field data, written to an output stream of the caller. It writes no dataset by itself.
///
/// Operations that take a stream answer 1 or 0, and 0 for a null stream. A stream found failed after a section sets the
/// error code vtkErrorCode::OutOfDiskSpaceError and answers 0. A block that cannot be written raises InternalError
/// "Writing DataArray failed"; a writer through which that has passed is dead to the VTK pipeline and has to be
/// dropped. An array that the format cannot hold (values beyond 4 bytes, 2 GiB, fewer values than its section asks for)
/// is reported by one error and left out before anything of it is written.
class TAVO_EXPORT SDBDataWriter : public vtkWriter
{
public:
    static SDBDataWriter* New();
    vtkTypeMacro(SDBDataWriter, vtkWriter);

    SDBDataWriter(const SDBDataWriter&) = delete;
    SDBDataWriter& operator=(const SDBDataWriter&) = delete;

    /// The title line: one line. Null is an empty line; "vtk output" by default.
    vtkSetStringMacro(Header);
    vtkGetStringMacro(Header);

    /// VTK_ASCII (1, the default) or VTK_BINARY (2). It governs cells, bit arrays, colour scalars and lookup tables
    /// only: a block that holds any other array can be read back only if it is VTK_BINARY.
    vtkSetClampMacro(FileType, int, VTK_ASCII, VTK_BINARY);
    vtkGetMacro(FileType, int);

    void SetFileTypeToASCII() { this->SetFileType(VTK_ASCII); }

    void SetFileTypeToBinary() { this->SetFileType(VTK_BINARY); }

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

    /// True if blocks of at least 1024 bytes are compressed; off by default.
    vtkSetMacro(CompressBinaryData, int);
    vtkGetMacro(CompressBinaryData, int);

    /// Where everything is written, and the file type. The stream stays with the caller and outlives every write.
    void SetOStream(std::ofstream* stream, int fileType);

    /// Names of the arrays that are written; null for all. Arrays without a name are always written. The set stays with
    /// the caller and outlives every write.
    void SetInclusiveArray(std::set<std::string>* names) { this->InclusiveArray = names; }

    /// Identification, title and file type.
    int WriteHeader(std::ofstream* fp);

    /// The points section. Points that are refused answer 0, since nothing of the dataset makes sense without them.
    int WritePoints(std::ofstream* fp, vtkPoints* points);

    /// One coordinate array of a rectilinear grid: axis 0 is x, 1 is y, any other z. Refused coordinates answer 0.
    int WriteCoordinates(std::ofstream* fp, vtkDataArray* coordinates, int axis);

    /// One cell section; nothing for a null or empty cell array, or for one that is refused.
    int WriteCells(std::ofstream* fp, vtkCellArray* cells, const char* keyword);

    /// The cell-data or point-data section; nothing for a dataset without cells or points.
    int WriteCellData(std::ofstream* fp, vtkDataSet* dataSet);
    int WritePointData(std::ofstream* fp, vtkDataSet* dataSet);

    /// The dataset's own field data.
    int WriteDataSetData(std::ofstream* fp, vtkDataSet* dataSet);

    /// One field section of all admitted arrays that are no attribute of `fieldData`; nothing if there is none. Arrays
    /// of types that dataset blocks do not store are counted in its header, reported and left out.
    int WriteFieldData(std::ofstream* fp, vtkFieldData* fieldData);

    /// One array record of `num` tuples with `numComp` components. `format` is the header line with "%s" for the type
    /// word and "%%" for a percent sign. With `narrow`, doubles become floats where that loses next to nothing. 0 with
    /// an error, and nothing written, for an array that is refused or whose type is not `dataType` or not stored.
    int WriteArray(std::ofstream* fp, int dataType, vtkDataArray* data, const char* format, int num, int numComp,
                   bool narrow);

protected:
    /// What became of a section: Refused ones are reported and nothing of them is written.
    enum class Section
    {
        Written,
        Refused,
        Failed
    };

    SDBDataWriter();
    ~SDBDataWriter() override;

    int FillInputPortInformation(int port, vtkInformation* info) override;
    /// Reports that a concrete writer is needed.
    void WriteData() override;

    /// One attribute record of `num` tuples. Nothing, and 1, for an array that is not admitted or refused.
    int WriteScalarData(std::ofstream* fp, vtkDataArray* scalars, int num);
    int WriteVectorData(std::ofstream* fp, vtkDataArray* vectors, int num);
    int WriteNormalData(std::ofstream* fp, vtkDataArray* normals, int num);
    int WriteTCoordData(std::ofstream* fp, vtkDataArray* tcoords, int num);
    int WriteTensorData(std::ofstream* fp, vtkDataArray* tensors, int num);
    int WriteGlobalIdData(std::ofstream* fp, vtkDataArray* globalIds, int num);

    /// 1 if `index` is among the first `count` entries of the list, else 0.
    static int vtkIsInTheList(int index, const int* list, int count);

    /// WriteCells, telling a refusal apart.
    Section WriteCellSection(std::ofstream* fp, vtkCellArray* cells, const char* keyword);

    std::ofstream* GetOStream() const { return this->OStream; }

private:
    struct AttributeKind;
    static const AttributeKind SCALARS_KIND;
    static const AttributeKind VECTORS_KIND;
    static const AttributeKind NORMALS_KIND;
    static const AttributeKind TCOORDS_KIND;
    static const AttributeKind TENSORS_KIND;
    static const AttributeKind GLOBAL_IDS_KIND;

    bool includeArray(vtkDataArray* array) const;

    int WriteCoordinateArray(std::ofstream* fp, const std::string& keyword, vtkDataArray* coordinates, int components);
    int WriteAttributes(std::ofstream* fp, const std::string& keyword, vtkDataSetAttributes* attributes,
                        std::int64_t num);
    int WriteAttribute(std::ofstream* fp, const AttributeKind& kind, vtkDataArray* array, int num);
    int WriteColorScalars(std::ofstream* fp, const detail::ArrayRecord& record, const std::string& name, int num,
                          int components);
    int WriteLookupTable(std::ofstream* fp, vtkLookupTable& table, int colors);

    /// The arrays of a field section; refused ones are reported.
    std::vector<vtkDataArray*> FieldArrays(vtkFieldData& fieldData);

    /// The token that names an attribute array.
    std::string AttributeName(const AttributeKind& kind, vtkDataArray& array);
    std::string LookupTableWord() const;
    /// True if there is a reason against writing the array, which is then reported.
    bool ReportRefusal(vtkDataArray& array, const std::string& refusal);

    int WriteRecord(std::ofstream* fp, const detail::ArrayRecord& record, const std::string& format);
    void WriteBits(std::ofstream* fp, const detail::ArrayRecord& record) const;
    /// Raises InternalError if the block cannot be written.
    void WriteBlock(std::ofstream* fp, const void* data, std::uint64_t size) const;
    /// Flushes, and answers 1 or, after a failure, 0.
    int FinishSection(std::ofstream* fp);

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
    int CompressBinaryData = 0;
    std::ofstream* OStream = nullptr;                ///< borrowed; null until one is set
    std::set<std::string>* InclusiveArray = nullptr; ///< borrowed; null writes all arrays
    vtkNew<vtkFloatArray> NarrowingBuffer;
    const detail::Pulse* BlockPulse = nullptr; ///< see lend
    friend void detail::lend(SDBDataWriter& writer, const detail::Pulse* pulse);
};

} // namespace tsg
