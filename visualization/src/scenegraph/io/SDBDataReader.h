#pragma once

#include "core/Export.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <vtkAlgorithm.h>
#include <vtkSmartPointer.h>

class vtkDataArray;
class vtkDataSet;
class vtkDataSetAttributes;
class vtkFieldData;
class vtkPointSet;
class vtkRectilinearGrid;

namespace tsg
{

class SDBDataReader;

namespace detail
{
class ArrayReader;
class ConnectivityBuffer;
class FieldArrays;
struct CodecRun;
struct VtkReport;
using ValueSource = std::function<std::uint64_t(char* data, std::uint64_t bytes)>;
using TakeContent = std::function<bool(const ValueSource& content)>;
void lend(SDBDataReader& reader, CodecRun* run);
} // namespace detail

/// Reads the parts of dataset blocks from a caller's stream; docs/formats/dataset-block.md describes the bytes. It
/// reads no dataset by itself: SDBPolyDataReader drives it.
///
/// Operations that return int return 1 for success and 0 for failure, reported as an error event of this object; data
/// that end early are a generic warning of VTK's output window, and what was read is kept. A block of values that is
/// damaged, or has another length than its array, is an error event that names the array; the values that did not come
/// are zero, and reading goes on behind it. The stream is left where reading stopped. Lines and words go to buffers of
/// 256 bytes.
class TAVO_EXPORT SDBDataReader : public vtkAlgorithm
{
public:
    /// The object factory's SDBDataReader if there is one.
    static SDBDataReader* New();
    vtkTypeMacro(SDBDataReader, vtkAlgorithm);

    SDBDataReader(const SDBDataReader&) = delete;
    SDBDataReader& operator=(const SDBDataReader&) = delete;

    /// The stream to read, which has to outlive every run; borrowed. One stream is read once: the next run needs
    /// another call. Memory is taken in proportion to the bytes that it has left; of a stream that cannot seek nobody
    /// knows that, and memory grows with what arrives.
    void SetIStream(std::istream* stream);

    std::istream* GetIStream() const { return this->Stream; }

    /// The title line of the last header read; null before.
    vtkGetStringMacro(Header);
    /// 1 for ASCII, 2 for BINARY, 0 after a header that names neither. Set by ReadHeader.
    vtkGetMacro(FileType, int);

    // The name that an array, field or table needs for becoming the active one; null, the default, lets any.
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
    vtkSetStringMacro(LookupTableName);
    vtkGetStringMacro(LookupTableName);
    vtkSetStringMacro(FieldDataName);
    vtkGetStringMacro(FieldDataName);

    // True if records that do not become the active attribute are kept as ordinary arrays; off by default.
    vtkSetMacro(ReadAllScalars, int);
    vtkGetMacro(ReadAllScalars, int);
    vtkBooleanMacro(ReadAllScalars, int);
    vtkSetMacro(ReadAllVectors, int);
    vtkGetMacro(ReadAllVectors, int);
    vtkBooleanMacro(ReadAllVectors, int);
    vtkSetMacro(ReadAllNormals, int);
    vtkGetMacro(ReadAllNormals, int);
    vtkBooleanMacro(ReadAllNormals, int);
    vtkSetMacro(ReadAllTensors, int);
    vtkGetMacro(ReadAllTensors, int);
    vtkBooleanMacro(ReadAllTensors, int);
    vtkSetMacro(ReadAllColorScalars, int);
    vtkGetMacro(ReadAllColorScalars, int);
    vtkBooleanMacro(ReadAllColorScalars, int);
    vtkSetMacro(ReadAllTCoords, int);
    vtkGetMacro(ReadAllTCoords, int);
    vtkBooleanMacro(ReadAllTCoords, int);
    vtkSetMacro(ReadAllFields, int);
    vtkGetMacro(ReadAllFields, int);
    vtkBooleanMacro(ReadAllFields, int);

    vtkTypeBool ProcessRequest(vtkInformation* request, vtkInformationVector** input,
                               vtkInformationVector* output) override;

    /// Reads the three header lines; the version in the first does not count.
    int ReadHeader();

    /// Reads one line of at most 255 bytes; the rest of a longer one is skipped. 0 only at the end of the stream.
    int ReadLine(char result[256]);

    /// Reads one word of at most 255 bytes. 0 if there is none.
    int ReadString(char result[256]);

    // Reads one decimal number as text, independent of any locale; characters are the low byte of an int. 0 if there is
    // none or it does not fit.
    int Read(char* result);
    int Read(unsigned char* result);
    int Read(short* result);
    int Read(unsigned short* result);
    int Read(int* result);
    int Read(unsigned int* result);
    int Read(long* result);
    int Read(unsigned long* result);
    int Read(float* result);
    int Read(double* result);

    /// Lower-cases ASCII letters in place up to the length or the terminating zero; returns the text.
    static char* LowerCase(char* text, std::size_t length = 256);

    /// Reads the type word and coordinates of `count` points and gives them to the point set.
    int ReadPoints(vtkPointSet* points, int count);

    /// Reads `size` integers of a connectivity list. Those that a damaged block does not give are zero, which is no
    /// failure.
    int ReadCells(int size, int* list);

    /// Reads a list of `size` integers and keeps `read2` cells after the first `skip1`; the `skip3` cells behind them
    /// are left out too. The list has room for what is kept. 0 also if there are fewer cells, and nothing is kept then.
    int ReadCells(int size, int* list, int skip1, int read2, int skip3);

    /// Reads the type word and the values of the coordinates along `axis` (0 x, 1 y, 2 z).
    int ReadCoordinates(vtkRectilinearGrid* grid, int axis, int count);

    /// Reads the records of a section of `count` tuples until the stream ends, those of the other section included,
    /// whose count has to be the dataset's.
    int ReadPointData(vtkDataSet* data, int count);
    int ReadCellData(vtkDataSet* data, int count);

    /// Reads one list of field arrays. It ends early, with the stream in front of the name, where no further array
    /// follows. The caller releases the result; null after a failure, or if the field is not the one asked for.
    vtkFieldData* ReadFieldData();

    /// Reads the values of one array; the stream stands behind the type word. The caller releases the result.
    /// Null if the word is no type, a count is negative or too large, memory does not suffice, or bits end early.
    vtkDataArray* ReadArray(const char* typeWord, int tuples, int components);

protected:
    SDBDataReader();
    ~SDBDataReader() override;

    /// What RequestInformation could learn from the stream without reading it: nothing. Returns 1.
    virtual int ReadMetaData(vtkInformation*) { return 1; }

    /// The table that the last active scalars announced; null before.
    vtkSetStringMacro(ScalarLut);
    vtkGetStringMacro(ScalarLut);

    virtual int RequestData(vtkInformation* request, vtkInformationVector** input, vtkInformationVector* output);
    virtual int RequestUpdateExtent(vtkInformation* request, vtkInformationVector** input,
                                    vtkInformationVector* output);
    virtual int RequestInformation(vtkInformation* request, vtkInformationVector** input, vtkInformationVector* output);

    // One attribute record each, behind its keyword. The array becomes the set's active attribute if there is none of
    // the kind yet and its name is the one asked for; else it is kept or dropped as the ReadAll flags say.
    int ReadScalarData(vtkDataSetAttributes* set, int count);
    int ReadVectorData(vtkDataSetAttributes* set, int count);
    int ReadNormalData(vtkDataSetAttributes* set, int count);
    int ReadTensorData(vtkDataSetAttributes* set, int count);
    int ReadCoScalarData(vtkDataSetAttributes* set, int count);
    int ReadTCoordsData(vtkDataSetAttributes* set, int count);
    int ReadGlobalIds(vtkDataSetAttributes* set, int count);

    /// Reads a table and gives it to the active scalars if it is theirs.
    int ReadLutData(vtkDataSetAttributes* set);

    /// Reads nothing: datasets have no other data in this format.
    static int ReadDataSetData(vtkDataSet* data);

    /// Replaces "%" and two characters by the byte they denote in base 16, as far as they do; a "%" with fewer behind
    /// it is dropped. `result` has 256 bytes, which bound what it gets.
    static void DecodeArrayName(char* result, const char* name);

    /// The names of arrays that header lines have announced, a list for each kind of record.
    struct Characteristics
    {
        std::vector<std::string> Scalars, Vectors, Tensors, Normals, TCoords, FieldData;
    };

    /// Forgets the names collected.
    void InitializeCharacteristics();

    /// Adds the second word of a header line to the names if the line begins with the keyword, which is in lower case.
    /// The line is lower-cased as far as the keyword reaches.
    static void CheckFor(const char* keyword, char* line, std::vector<std::string>& names);

    /// The attribute sections of a dataset.
    enum SectionKind
    {
        CellSection,
        PointSection
    };

    /// How many tuples the sections have to have; ANY_COUNT leaves it to the stream.
    struct SectionCounts
    {
        vtkIdType Cells;
        vtkIdType Points;
    };

    static constexpr vtkIdType ANY_COUNT = -1;

    /// Reads the count of a section behind its keyword; the first follows the geometry, others are inside that. False
    /// if it cannot be read or is not the expected one.
    bool ReadSectionCount(SectionKind kind, const SectionCounts& expected, bool isFirst, int& count);

    /// Reads the records of a section of `count` tuples and of the other section until the stream ends. 0 if a count of
    /// a further section or a record fails.
    int ReadRecords(vtkDataSet* data, SectionKind kind, int count, const SectionCounts& expected);

    /// Progress goes half of the way that is left.
    void AdvanceProgress();

    /// Reads a list of `size` integers, not below 0, into memory that is taken for it; what is damaged or missing is
    /// zero, and reported. False if there is no room for it. Nothing is charged.
    bool ReadCellList(int size, detail::ConnectivityBuffer& list);

    /// What this run has been lent, or takes for itself.
    detail::CodecRun& LentRun();

    /// Says what is being read next, for messages: the name of an array, a table or a section.
    void Announce(std::string_view kind, std::string_view name = {});

    Characteristics InFile;

private:
    struct AttributeKind;

    struct FieldArrayLine;
    struct SectionData;

    template <class T>
    int ReadNumber(T* result);
    bool ReadName(char name[256]);
    bool IsText() const;
    detail::ArrayReader Arrays();
    bool ReadConnectivity(int size, const detail::TakeContent& take);
    vtkSmartPointer<vtkDataArray> ReadWordAndArray(const detail::VtkReport& failure, int tuples, int components);
    vtkSmartPointer<vtkDataArray> ReadNamedArray(const char* name, const char* typeWord, int tuples, int components);

    int ReadRecords(SectionData* sets, SectionKind kind, int count, const SectionCounts& expected);
    int ReadRecord(const char* word, SectionKind kind, SectionData& data, int count);
    int ReadFieldRecord(detail::FieldArrays& arrays);
    bool ReadFieldArrayLine(FieldArrayLine& line);

    int ReadAttribute(const AttributeKind& kind, vtkDataSetAttributes* set, int count);
    int ReadAttributeArray(const AttributeKind& kind, const char* name, const char* typeWord, vtkDataSetAttributes* set,
                           int count);
    static bool BecomesActive(const AttributeKind& kind, const char* name, vtkDataSetAttributes* set);
    int KeepAttribute(const AttributeKind& kind, const char* name, bool active, vtkDataArray* array,
                      vtkDataSetAttributes* set);
    int ReadScalarHeader(char* name, char* typeWord, int& components, char* table);
    vtkSmartPointer<vtkDataArray> ReadColors(const char* name, int tuples, int components);
    bool ReadTableColors(int size, const detail::TakeContent& take);

    int Fail(const detail::VtkReport& report, const char* detail = "");
    void SetHeader(const char* header);

    std::istream* Stream = nullptr;
    detail::CodecRun* Lent = nullptr; ///< see lend
    struct OwnRun;
    std::unique_ptr<OwnRun> Own; ///< in place of what was not lent, made at its first use in a run
    static constexpr const char* UNNAMED_ARRAY = "array";
    std::string Announced = UNNAMED_ARRAY; ///< see Announce
    friend void detail::lend(SDBDataReader& reader, detail::CodecRun* run);

    int FileType = 1;
    char* Header = nullptr;

    char* ScalarsName = nullptr;
    char* VectorsName = nullptr;
    char* TensorsName = nullptr;
    char* NormalsName = nullptr;
    char* TCoordsName = nullptr;
    char* LookupTableName = nullptr;
    char* FieldDataName = nullptr;
    char* ScalarLut = nullptr;

    int ReadAllScalars = 0;
    int ReadAllVectors = 0;
    int ReadAllNormals = 0;
    int ReadAllTensors = 0;
    int ReadAllColorScalars = 0;
    int ReadAllTCoords = 0;
    int ReadAllFields = 0;
};

} // namespace tsg
