#include "scenegraph/io/SDBDataReader.h"

#include "support/BlockReading.h"
#include "support/DatasetBlocks.h"

#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkPointData.h>
#include <vtkRectilinearGrid.h>

namespace
{

using test::block;
using test::header;
using test::points;
using test::readBlock;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Messages = std::vector<std::string>;
using Configure = std::function<void(tsg::SDBPolyDataReader&)>;

std::vector<double> valuesOf(vtkDataArray* array)
{
    std::vector<double> values;
    for (vtkIdType i = 0; array != nullptr && i < array->GetNumberOfValues(); ++i)
    {
        values.push_back(array->GetComponent(i / array->GetNumberOfComponents(),
                                             static_cast<int>(i % array->GetNumberOfComponents())));
    }
    return values;
}

/// A reader of one text with its inner operations laid open.
class OpenReader : public tsg::SDBDataReader
{
public:
    static OpenReader* New();
    vtkTypeMacro(OpenReader, tsg::SDBDataReader);
    using SDBDataReader::CheckFor;
    using SDBDataReader::DecodeArrayName;
    using SDBDataReader::InFile;
    using SDBDataReader::InitializeCharacteristics;
};

vtkStandardNewMacro(OpenReader);

std::string binaryHeader()
{
    return "# vtk DataFile Version 3.0\n\nBINARY\n";
}

// --- Arrays ----------------------------------------------------------------------------------------------------------

struct TypeCase
{
    const char* word;
    const char* className;
    std::string stored;
    std::vector<double> values;
};

TEST(SDBDataReaderTest, typeWordsTellHowValuesAreStored)
{
    const TypeCase cases[] = {
        {"CHAR", "vtkCharArray", block<signed char>({-1, 2}), {-1, 2}},
        {"unsigned_char", "vtkUnsignedCharArray", block<unsigned char>({255, 2}), {255, 2}},
        {"short", "vtkShortArray", block<short>({-300, 2}), {-300, 2}},
        {"unsigned_short", "vtkUnsignedShortArray", block<unsigned short>({65535, 2}), {65535, 2}},
        {"int", "vtkIntArray", block<int>({-70000, 2}), {-70000, 2}},
        {"unsigned_int", "vtkUnsignedIntArray", block<unsigned>({4000000000U, 2}), {4000000000.0, 2}},
        {"long", "vtkLongArray", block<int>({-70000, 2}), {-70000, 2}},
        {"unsigned_long", "vtkUnsignedLongArray", block<unsigned>({4000000000U, 2}), {4000000000.0, 2}},
        {"vtkIdType:4", "vtkIdTypeArray", block<int>({-1, 70000}), {-1, 70000}},
        {"vtkIdType:2", "vtkIdTypeArray", block<unsigned short>({65535, 2}), {65535, 2}},
        {"float", "vtkFloatArray", block<float>({0.5F, 2}), {0.5, 2}},
        {"doubles", "vtkDoubleArray", block<double>({0.1, 2}, tsg::CompressionMethods::Zlib), {0.1, 2}},
        {"bit", "vtkBitArray", "\x40\n", {0, 1}},
    };
    for (const TypeCase& one : cases)
    {
        const std::string bytes = binaryHeader() + one.stored;
        sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
        const vtkNew<OpenReader> reader;
        reader->SetIStream(&stream);
        ASSERT_EQ(reader->ReadHeader(), 1);
        const auto array = vtkSmartPointer<vtkDataArray>::Take(reader->ReadArray(one.word, 2, 1));
        ASSERT_NE(array, nullptr) << one.word;
        EXPECT_STREQ(array->GetClassName(), one.className);
        EXPECT_THAT(valuesOf(array), ElementsAreArray(one.values)) << one.word;
        EXPECT_EQ(stream.peek(), '\n') << one.word;
    }
}

TEST(SDBDataReaderTest, textValuesAreReadUpToTheFirstBadOne)
{
    const std::pair<std::string, std::vector<double>> cases[] = {
        {"char 65 -1 300 7", {65, -1, 44, 7}},
        {"unsigned_char 65 -1 300 7", {65, 255, 44, 7}},
        {"short 1 2 40000 4", {1, 2, 0, 0}},
        {"int 1 -2 2147483647 +4", {1, -2, 2147483647, 4}},
        {"unsigned_int 1 4294967295 3 4", {1, 4294967295.0, 3, 4}},
        {"long 1 2 -5 4", {1, 2, -5, 4}},
        {"float 1e-3 .5 -2.5 1e9", {static_cast<double>(1e-3F), 0.5, -2.5, 1e9}},
        {"double 0.1 nan 1 2", {0.1, 0, 0, 0}},
        {"double 0.1", {0.1, 0, 0, 0}},
    };
    for (const auto& [text, values] : cases)
    {
        const test::BlockReading reading = readBlock(header("ASCII") + "FIELD f 1\na 2 2 " + text);
        const bool whole = values.back() != 0.0;
        EXPECT_THAT(valuesOf(reading.output().GetFieldData()->GetArray("a")), ElementsAreArray(values)) << text;
        Messages messages = {"generic warning: Error reading ascii data!", "warning: No points read!"};
        messages.erase(messages.begin(), messages.begin() + (whole ? 1 : 0));
        EXPECT_THAT(reading.messages, ElementsAreArray(messages)) << text;
    }
}

TEST(SDBDataReaderTest, bitsAreRawBytesOrTextAndHaveToBeThere)
{
    const std::pair<std::string, Messages> cases[] = {
        {header() + "FIELD f 1\na 3 3 bit\n\xff\x80\n", {}},
        {header() + "FIELD f 1\na 3 3 bit\n\xff", {"error: Error reading binary bit array!"}},
        {header("ASCII") + "FIELD f 1\na 3 3 bit\n1 2 1 1 1 1 1 1 1", {}},
        {header("ASCII") + "FIELD f 1\na 3 3 bit\n1 2 1 1 1 x",
         {"error: Error reading ascii bit array! tuple: 1, component: 2"}},
    };
    for (auto [bytes, messages] : cases)
    {
        const test::BlockReading reading = readBlock(bytes);
        vtkDataArray* const array = reading.output().GetFieldData()->GetArray("a");
        EXPECT_THAT(valuesOf(array), ElementsAreArray(std::vector<double>(messages.empty() ? 9 : 0, 1.0))) << bytes;
        messages.push_back("warning: No points read!");
        EXPECT_THAT(reading.messages, ElementsAreArray(messages)) << bytes;
    }
}

// --- Attributes ------------------------------------------------------------------------------------------------------

std::string pointData(const std::string& records, const std::string& fileType = "BINARY")
{
    const std::string one = fileType == "ASCII" ? "POINTS 1 float 0 1 2\n" : points(1);
    return header(fileType) + one + "POINT_DATA 1\n" + records;
}

TEST(SDBDataReaderTest, recordsSayWhatIsWrongWithThem)
{
    const std::string noTable = "error: Lookup table must be specified with scalar.\n"
                                "Use \"LOOKUP_TABLE default\" to use default table.";
    const std::pair<const char*, std::string> cases[] = {
        {"SCALARS s", "error: Cannot read scalar header!"},
        {"SCALARS s int", "error: Cannot read scalar header!"},
        {"SCALARS s int 0 LOOKUP_TABLE t", "error: Cannot read scalar header!"},
        {"SCALARS s int 3", "error: Cannot read scalar header!"},
        {"SCALARS s int LOOKUP_TABLE", "error: Cannot read scalar header!"},
        {"SCALARS s int default 3", noTable},
        {"SCALARS s int 3 LOOKUP_TABLES t", noTable},
        {"SCALARS s vtkIdType LOOKUP_TABLE t", "error: Unsupported data type: vtkidtype"},
        {"COLOR_SCALARS s", "error: Cannot read color scalar data!"},
        {"VECTORS v", "error: Cannot read vector data!"},
        {"NORMALS n", "error: Cannot read normal data!"},
        {"TENSORS t", "error: Cannot read tensor data!"},
        {"GLOBAL_IDS g", "error: Cannot read global id data"},
        {"TEXTURE_COORDINATES t x float", "error: Cannot read texture data!"},
        {"TEXTURE_COORDINATES t 4 float", "error: Unsupported texture coordinates dimension: 4"},
        {"LOOKUP_TABLE t x", "error: Cannot read lookup table data!"},
        {"FIELD f", "error: Cannot read field header!"},
        {"Edge_Flags e int", "error: Unsupported point attribute type: edge_flags"},
    };
    for (const auto& [record, message] : cases)
    {
        EXPECT_THAT(readBlock(pointData(record)).messages, ElementsAre(message)) << record;
    }
}

struct ChoiceCase
{
    const char* what;
    Configure configure;
    const char* active;
    int arrays;
};

TEST(SDBDataReaderTest, theFirstRecordOfAKindOrTheNamedOneBecomesActive)
{
    using Reader = tsg::SDBPolyDataReader;
    const ChoiceCase choices[] = {
        {"first", [](Reader&) {}, "a b", 1},
        {"named", [](Reader& reader) { reader.SetVectorsName("c"), reader.SetNormalsName("c"); }, "c", 1},
        {"none", [](Reader& reader) { reader.SetVectorsName("x"), reader.SetNormalsName("x"); }, nullptr, 0},
        {"all", [](Reader& reader) { reader.ReadAllVectorsOn(), reader.ReadAllNormalsOn(); }, "a b", 2},
    };
    const std::string value = " float\n" + block<float>({1, 2, 3});
    for (const ChoiceCase& choice : choices)
    {
        for (const std::string keyword : {"VECTORS", "NORMALS"})
        {
            const std::string records = keyword + " a%20b" + value + keyword + " c" + value;
            const test::BlockReading reading = readBlock(pointData(records), choice.configure);
            vtkPointData* const data = reading.output().GetPointData();
            vtkDataArray* const active = keyword == "VECTORS" ? data->GetVectors() : data->GetNormals();
            EXPECT_THAT(reading.messages, IsEmpty());
            EXPECT_EQ(data->GetNumberOfArrays(), choice.arrays) << choice.what;
            EXPECT_EQ(std::string(active ? active->GetName() : ""), choice.active ? choice.active : "") << choice.what;
        }
    }
}

TEST(SDBDataReaderTest, scalarsAndColoursAreOneKindWithFlagsOfTheirOwn)
{
    const std::string scalars = " unsigned_char 2\nLOOKUP_TABLE default\n" + block<unsigned char>({8, 9});
    const test::BlockReading reading =
        readBlock(pointData("SCALARS s" + scalars + "SCALARS dropped" + scalars + "COLOR_SCALARS kept 4\n" +
                            block<unsigned char>({1, 2, 3, 4})),
                  [](tsg::SDBPolyDataReader& reader) { reader.ReadAllColorScalarsOn(); });
    vtkPointData* const data = reading.output().GetPointData();
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_EQ(data->GetNumberOfArrays(), 2);
    EXPECT_THAT(valuesOf(data->GetScalars()), ElementsAre(8, 9));
    EXPECT_THAT(valuesOf(data->GetArray("kept")), ElementsAre(1, 2, 3, 4));
}

TEST(SDBDataReaderTest, colorsInTextAreFractionsThatStayWithinBytes)
{
    const test::BlockReading reading =
        readBlock(pointData("COLOR_SCALARS c 4\n0.5 -3 1e30 1\nLOOKUP_TABLE lut 1\n2 -1 0.5 1\n", "ASCII"));
    vtkDataArray* const colors = reading.output().GetPointData()->GetScalars();
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_THAT(valuesOf(colors), ElementsAre(128, 0, 255, 255));
    EXPECT_THAT(valuesOf(colors->GetLookupTable()->GetTable()).front(), 255);
    EXPECT_THAT(readBlock(pointData("LOOKUP_TABLE lut 1\n1 1 1", "ASCII")).messages,
                ElementsAre("error: Error reading lookup table!"));
}

struct TableCase
{
    const char* announced;
    const char* wanted;
    std::string record;
    int colors; ///< 0 if the scalars have no table
};

TEST(SDBDataReaderTest, aTableGoesToTheScalarsThatAnnouncedIt)
{
    const std::string two = " 2\n" + block<unsigned char>({255, 0, 0, 255, 0, 0, 255, 128}) + "\n";
    const TableCase cases[] = {
        {"lut", nullptr, "lut" + two, 2}, {"lut", nullptr, "other" + two, 0}, {"lut", "lut", "lut" + two, 2},
        {"lut", "mine", "lut" + two, 0},  {"lut", nullptr, "lut 0\n", 0},
    };
    for (const TableCase& one : cases)
    {
        const std::string records =
            "SCALARS s int\nLOOKUP_TABLE " + std::string(one.announced) + "\n" + block<int>({1});
        const test::BlockReading reading =
            readBlock(pointData(records + "LOOKUP_TABLE " + one.record + "VECTORS v float\n" + block<float>({1, 2, 3})),
                      [&](tsg::SDBPolyDataReader& reader) { reader.SetLookupTableName(one.wanted); });
        vtkLookupTable* const table = reading.output().GetPointData()->GetScalars()->GetLookupTable();
        EXPECT_THAT(reading.messages, IsEmpty());
        EXPECT_EQ(table != nullptr ? table->GetNumberOfTableValues() : 0, one.colors) << one.record;
        EXPECT_NE(reading.output().GetPointData()->GetVectors(), nullptr) << one.record;
    }
    const Messages cut = readBlock(pointData("LOOKUP_TABLE lut 2\n" + block<char>({1, 2}))).messages;
    EXPECT_THAT(
        cut, ElementsAre("generic warning: Error reading binary data!", "error: Error reading binary lookup table!"));
}

// --- Lines, words and numbers ----------------------------------------------------------------------------------------

TEST(SDBDataReaderTest, namesAreDecodedToTheBytesTheyStandFor)
{
    const std::pair<const char*, std::string> cases[] = {
        {"plain", "plain"}, {"a%20b%25", "a b%"}, {"%e4%C3", "\xe4\xc3"}, {"50%", "50"}, {"50%2", "502"},
        {"%4g", "\x04"},    {"%zzrest", ""},      {"%-1", "\xff"},        {"", ""},      {"%%2541", ""},
    };
    const vtkNew<OpenReader> reader;
    for (const auto& [encoded, name] : cases)
    {
        char result[256];
        reader->DecodeArrayName(result, encoded);
        EXPECT_EQ(std::string(result), name) << encoded;
    }
}

TEST(SDBDataReaderTest, linesAndWordsAreCutTo255Bytes)
{
    const std::string longText(300, 'x');
    const std::string bytes = longText + "\n" + std::string(255, 'y') + "\n\n" + longText + " \t\n\v\f\rZ\xc4 \xff";
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    const vtkNew<OpenReader> reader;
    reader->SetIStream(&stream);
    char text[256];
    for (const std::string& line : {longText.substr(0, 255), std::string(255, 'y'), std::string()})
    {
        EXPECT_EQ(reader->ReadLine(text), 1);
        EXPECT_EQ(std::string(text), line);
    }
    for (const std::string& word :
         {longText.substr(0, 255), longText.substr(255), std::string("z\xc4"), std::string("\xff")})
    {
        EXPECT_EQ(reader->ReadString(text), 1);
        EXPECT_EQ(std::string(reader->LowerCase(text)), word);
    }
    EXPECT_EQ(reader->ReadString(text), 0);
    EXPECT_EQ(reader->ReadLine(text), 0);
}

/// Punctuation that would read "1.5" as fifteen.
struct Grouping : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\1"; }
};

TEST(SDBDataReaderTest, numbersDependOnNeitherLocaleNorFlagsOfTheStream)
{
    std::istringstream stream(" 12 1.5 -1 40000 77x");
    stream.imbue(std::locale(std::locale::classic(), new Grouping));
    stream.setf(std::ios::hex, std::ios::basefield);
    stream.unsetf(std::ios::skipws);
    const vtkNew<OpenReader> reader;
    reader->SetIStream(&stream);
    int twelve = 0;
    double fraction = 0;
    unsigned short wrapped = 0;
    short large = 0;
    EXPECT_TRUE(reader->Read(&twelve) && reader->Read(&fraction) && reader->Read(&wrapped));
    EXPECT_EQ(reader->Read(&large), 0);
    EXPECT_EQ(twelve, 12);
    EXPECT_EQ(fraction, 1.5);
    EXPECT_EQ(wrapped, 65535);
    stream.clear();
    char letter = 0;
    EXPECT_EQ(reader->Read(&letter), 1);
    EXPECT_EQ(letter, 'M');
    EXPECT_EQ(stream.get(), 'x');
}

TEST(SDBDataReaderTest, titlesAreLinesAndVersionsDoNotCount)
{
    const std::string title(300, 't');
    const std::string bytes = "# vtk DataFile Version 9.9 and more\n" + title + "\n bInArYx";
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    const vtkNew<OpenReader> reader;
    EXPECT_EQ(reader->GetHeader(), nullptr);
    EXPECT_EQ(reader->GetFileType(), 1);
    reader->SetIStream(&stream);
    EXPECT_EQ(reader->ReadHeader(), 1);
    EXPECT_EQ(reader->GetHeader(), title.substr(0, 255));
    EXPECT_EQ(reader->GetFileType(), 2);

    const std::string cut = "# vtk DataFile Version\n\nbin";
    sdb::detail::MemoryStream cutStream(cut.data(), cut.size());
    reader->SetIStream(&cutStream);
    test::ReportedErrors reported(*reader);
    EXPECT_EQ(reader->ReadHeader(), 0);
    EXPECT_EQ(reader->GetFileType(), 0);
    EXPECT_THAT(reported.messages, ElementsAre("error: Unrecognized file type: bin"));
    EXPECT_THAT(reported.texts.front(),
                testing::MatchesRegex("ERROR: In visualization/src/scenegraph/io/SDBDataReader[.cp]*, line [0-9]+\n"
                                      "OpenReader \\(0x[0-9a-f]+\\): Unrecognized file type: bin\n\n"));
}

TEST(SDBDataReaderTest, partsOfAConnectivityListAreCopied)
{
    const std::pair<std::string, std::string> forms[] = {
        {"BINARY", block<int>({1, 0, 2, 1, 2, 3, 0, 1, 2})},
        {"ASCII", "1 0 2 1 2 3 0 1 2"},
    };
    for (const auto& [fileType, list] : forms)
    {
        const std::pair<std::vector<int>, std::vector<int>> cases[] = {
            {{0, 3, 0}, {1, 0, 2, 1, 2, 3, 0, 1, 2}}, {{1, 1, 1}, {2, 1, 2}}, {{3, 0, 0}, {}}, {{1, 3, 0}, {}}};
        for (const auto& [parts, kept] : cases)
        {
            const std::string bytes = "# vtk DataFile Version 3.0\n\n" + fileType + "\n" + list;
            sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
            const vtkNew<OpenReader> reader;
            reader->SetIStream(&stream);
            test::ReportedErrors reported(*reader);
            ASSERT_EQ(reader->ReadHeader(), 1);
            std::vector<int> found(kept.size());
            const bool whole = parts[0] + parts[1] <= 3;
            EXPECT_EQ(reader->ReadCells(9, found.data(), parts[0], parts[1], parts[2]), whole);
            EXPECT_EQ(found, kept);
            EXPECT_EQ(reported.messages.empty(), whole);
        }
    }
}

TEST(SDBDataReaderTest, coordinatesGoToTheirAxis)
{
    const std::string bytes =
        binaryHeader() + "float\n" + block<float>({1, 2}) + "int\n" + block<int>({3}) + "double\n";
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    const vtkNew<OpenReader> reader;
    reader->SetIStream(&stream);
    ASSERT_EQ(reader->ReadHeader(), 1);
    const vtkNew<vtkRectilinearGrid> grid;
    EXPECT_EQ(reader->ReadCoordinates(grid, 0, 2), 1);
    EXPECT_EQ(reader->ReadCoordinates(grid, 1, 1), 1);
    EXPECT_EQ(reader->ReadCoordinates(grid, 2, 0), 1);
    EXPECT_THAT(valuesOf(grid->GetXCoordinates()), ElementsAre(1, 2));
    EXPECT_THAT(valuesOf(grid->GetYCoordinates()), ElementsAre(3));
    EXPECT_STREQ(grid->GetZCoordinates()->GetClassName(), "vtkDoubleArray");
    test::ReportedErrors reported(*reader);
    EXPECT_EQ(reader->ReadCoordinates(grid, 2, 1), 0);
    EXPECT_THAT(reported.messages, ElementsAre("error: Cannot read coordinates type!"));
}

TEST(SDBDataReaderTest, headerLinesTellNames)
{
    const vtkNew<OpenReader> reader;
    char scalars[] = "SCALARS Pressure float";
    char vectors[] = "VECTORS v float";
    char bare[] = "scalars";
    for (char* const line : {scalars, vectors, bare})
    {
        reader->CheckFor("scalars", line, reader->InFile.Scalars);
    }
    EXPECT_THAT(reader->InFile.Scalars, ElementsAre("Pressure"));
    EXPECT_STREQ(scalars, "scalars Pressure float");
    reader->InitializeCharacteristics();
    EXPECT_THAT(reader->InFile.Scalars, IsEmpty());
}

} // namespace
