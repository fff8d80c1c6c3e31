#include "scenegraph/io/SDBDataReader.h"

#include "support/BlockReading.h"
#include "support/ForeignNumbers.h"

#include <vtkObjectFactory.h>
#include <vtkRectilinearGrid.h>

namespace
{

using namespace test;

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

/// Such a reader at the beginning of some bytes.
struct OpenReading
{
    explicit OpenReading(std::string content)
        : bytes(std::move(content))
    {
        reader->SetIStream(&stream);
    }

    /// Behind the header of a block of a type.
    OpenReading(const std::string& fileType, const std::string& content)
        : OpenReading("# vtk DataFile Version 3.0\n\n" + fileType + "\n" + content)
    {
        EXPECT_EQ(reader->ReadHeader(), 1);
    }

    const std::string bytes;
    sdb::detail::MemoryStream stream{bytes.data(), bytes.size()};
    const vtkNew<OpenReader> reader;
    const ReportedErrors reported{*reader};
};

TEST(SDBDataReaderTest, typeWordsTellHowValuesAreStored)
{
    const std::string bad = "generic warning: Error reading ascii data!";
    // the file type, what follows the name of a field array, the array that is read, and what is said about it
    const std::tuple<const char*, std::string, const char*, std::vector<double>, std::string> cases[] = {
        {"BINARY", "2 1 CHAR\n" + block<signed char>({-1, 2}), "vtkCharArray", {-1, 2}, ""},
        {"BINARY", "1 2 long\n" + block<int>({-70000, 2}), "vtkLongArray", {-70000, 2}, ""},
        {"BINARY", "1 1 unsigned_long\n" + block<unsigned>({4000000000U}), "vtkUnsignedLongArray", {4e9}, ""},
        {"BINARY", "1 2 vtkIdType:4\n" + block<int>({-1, 70000}), "vtkIdTypeArray", {-1, 70000}, ""},
        {"BINARY", "1 2 vtkIdType:2\n" + block<unsigned short>({65535, 2}), "vtkIdTypeArray", {65535, 2}, ""},
        {"BINARY", "1 1 doubles\n" + block<double>({0.1}, tsg::CompressionMethods::Zlib), "vtkDoubleArray", {0.1}, ""},
        {"BINARY", "1 3 bit\n\x40\n", "vtkBitArray", {0, 1, 0}, ""},
        {"BINARY", "3 3 bit\n\xff", "vtkBitArray", {}, "error: Error reading binary bit array!"},
        {"ASCII", "2 2 char 65 -1 300 7", "vtkCharArray", {65, -1, 44, 7}, ""},
        {"ASCII", "2 2 unsigned_char 65 -1 300 7", "vtkUnsignedCharArray", {65, 255, 44, 7}, ""},
        {"ASCII", "2 2 short 1 2 40000 4", "vtkShortArray", {1, 2, 0, 0}, bad},
        {"ASCII", "2 2 int 1 -2 2147483647 +4", "vtkIntArray", {1, -2, 2147483647, 4}, ""},
        {"ASCII", "1 3 unsigned_int 1 4294967295 3", "vtkUnsignedIntArray", {1, 4294967295.0, 3}, ""},
        {"ASCII", "1 3 long 1 -5 4", "vtkLongArray", {1, -5, 4}, ""},
        {"ASCII", "1 4 float 0.125e1 .5 -2.5 1e9", "vtkFloatArray", {1.25, 0.5, -2.5, 1e9}, ""},
        {"ASCII", "2 2 double 0.1 nan 1 2", "vtkDoubleArray", {0.1, 0, 0, 0}, bad},
        {"ASCII", "1 2 double 0.1", "vtkDoubleArray", {0.1, 0}, bad},
        {"ASCII", "2 2 bit 1 2 0 1", "vtkBitArray", {1, 1, 0, 1}, ""},
        {"ASCII", "2 2 bit 1 2 1 x", "vtkBitArray", {}, "error: Error reading ascii bit array! tuple: 1, component: 1"},
    };
    for (const auto& [fileType, array, className, values, message] : cases)
    {
        SCOPED_TRACE(array);
        const BlockReading reading =
            readBlock(header(fileType) + "FIELD f 1\na " + array + (message.empty() ? "\nPOINTS 0 float\n" : ""));
        vtkDataArray* const found = reading.output().GetFieldData()->GetArray(0);
        EXPECT_STREQ(found != nullptr ? found->GetClassName() : "", values.empty() ? "" : className);
        EXPECT_THAT(valuesOf(found), ElementsAreArray(values));
        EXPECT_EQ(reading.messages.empty() ? "" : reading.messages.front(), message);
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

TEST(SDBDataReaderTest, theFirstRecordOfAKindOrTheNamedOneBecomesActive)
{
    // activeName: empty for none
    const std::tuple<std::function<void(tsg::SDBPolyDataReader&)>, std::string, int> choices[] = {
        {[](auto&) {}, "a b", 1},
        {[](auto& reader) { reader.SetVectorsName("c"), reader.SetNormalsName("c"); }, "c", 1},
        {[](auto& reader) { reader.SetVectorsName("x"), reader.SetNormalsName("x"); }, "", 0},
        {[](auto& reader) { reader.ReadAllVectorsOn(), reader.ReadAllNormalsOn(); }, "a b", 2},
    };
    const std::string value = " float\n" + block<float>({1, 2, 3});
    for (const auto& [configure, activeName, arrays] : choices)
    {
        for (const auto& [keyword, kind] :
             {std::pair("VECTORS", vtkDataSetAttributes::VECTORS), {"NORMALS", vtkDataSetAttributes::NORMALS}})
        {
            const BlockReading reading =
                readBlock(pointData(keyword + (" a%20b" + value) + keyword + " c" + value), configure);
            vtkDataArray* const active = reading.pointData().GetAttribute(kind);
            EXPECT_THAT(reading.messages, IsEmpty());
            EXPECT_EQ(reading.pointData().GetNumberOfArrays(), arrays) << activeName;
            EXPECT_EQ(active != nullptr ? active->GetName() : "", activeName);
        }
    }
}

TEST(SDBDataReaderTest, scalarsAndColoursAreOneKindWithFlagsOfTheirOwn)
{
    const std::string scalars = " unsigned_char 2\nLOOKUP_TABLE default\n" + block<unsigned char>({8, 9});
    const BlockReading reading = readBlock(pointData("SCALARS s" + scalars + "SCALARS dropped" + scalars +
                                                     "COLOR_SCALARS kept 4\n" + block<unsigned char>({1, 2, 3, 4})),
                                           [](auto& reader) { reader.ReadAllColorScalarsOn(); });
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_EQ(reading.pointData().GetNumberOfArrays(), 2);
    EXPECT_THAT(valuesOf(reading.pointData().GetScalars()), ElementsAre(8, 9));
    EXPECT_THAT(valuesOf(reading.pointData().GetArray("kept")), ElementsAre(1, 2, 3, 4));
}

TEST(SDBDataReaderTest, colorsInTextAreFractionsThatStayWithinBytes)
{
    const BlockReading reading =
        readBlock(pointData("COLOR_SCALARS c 4\n0.5 -3 1e30 1\nLOOKUP_TABLE lut 1\n2 -1 0.5 1\n", "ASCII"));
    vtkDataArray* const colors = reading.pointData().GetScalars();
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_THAT(valuesOf(colors), ElementsAre(128, 0, 255, 255));
    EXPECT_THAT(valuesOf(colors->GetLookupTable()->GetTable()).front(), 255);
    EXPECT_THAT(readBlock(pointData("LOOKUP_TABLE lut 1\n1 1 1", "ASCII")).messages,
                ElementsAre("error: Error reading lookup table!"));
}

TEST(SDBDataReaderTest, aTableGoesToTheScalarsThatAnnouncedIt)
{
    // colors: of the table; -1 if the scalars have none
    const std::string two = " 2\n" + block<unsigned char>({255, 0, 0, 255, 0, 0, 255, 128}) + "\n";
    const std::string scalars = "SCALARS s int\nLOOKUP_TABLE lut\n" + block<int>({1}) + "LOOKUP_TABLE ";
    const std::tuple<const char*, std::string, int> cases[] = {{nullptr, "lut" + two, 2},
                                                               {nullptr, "other" + two, -1},
                                                               {"lut", "lut" + two, 2},
                                                               {"mine", "lut" + two, -1},
                                                               {nullptr, "lut 0\n", 0}};
    for (const auto& [wanted, record, colors] : cases)
    {
        const BlockReading reading =
            readBlock(pointData(scalars + record + "VECTORS v float\n" + block<float>({1, 2, 3})),
                      [wanted = wanted](auto& reader) { reader.SetLookupTableName(wanted); });
        vtkLookupTable* const table = reading.pointData().GetScalars()->GetLookupTable();
        EXPECT_THAT(reading.messages, IsEmpty());
        EXPECT_EQ(table != nullptr ? table->GetNumberOfTableValues() : -1, colors) << record;
        EXPECT_NE(reading.pointData().GetVectors(), nullptr) << record;
    }
    expectMessages({{pointData("LOOKUP_TABLE lut 2\n" + block<char>({1, 2})),
                     {"generic warning: Error reading binary data!", "error: Error reading binary lookup table!"}}});
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
    std::string escapes;
    for (int i = 0; i < 300; ++i)
    {
        escapes += "%41";
    }
    char result[256];
    reader->DecodeArrayName(result, escapes.c_str());
    EXPECT_EQ(result, std::string(255, 'A')) << "the result is cut, not what it stands for";
}

TEST(SDBDataReaderTest, linesAndWordsAreCutTo255Bytes)
{
    const std::string longText(300, 'x');
    const OpenReading open(longText + "\n" + std::string(255, 'y') + "\n\n" + longText + " \t\n\v\f\rZ\xc4 \xff");
    const auto& reader = open.reader;
    char text[256];
    for (const std::string& line : {longText.substr(45), std::string(255, 'y'), std::string()})
    {
        EXPECT_EQ(reader->ReadLine(text), 1);
        EXPECT_EQ(text, line);
    }
    for (const std::string& word :
         {longText.substr(45), longText.substr(255), std::string("z\xc4"), std::string("\xff")})
    {
        EXPECT_EQ(reader->ReadString(text), 1);
        EXPECT_EQ(reader->LowerCase(text), word);
    }
    EXPECT_EQ(reader->ReadString(text), 0);
    EXPECT_EQ(reader->ReadLine(text), 0);
}

TEST(SDBDataReaderTest, numbersDependOnNeitherLocaleNorFlagsOfTheStream)
{
    std::istringstream stream(" 12 1.5 -1 40000 77x");
    stream.imbue(ForeignNumbers::locale());
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
    const OpenReading open("# vtk DataFile Version 9.9 and more\n" + title + "\n bInArYx");
    EXPECT_EQ(open.reader->GetHeader(), nullptr);
    EXPECT_EQ(open.reader->GetFileType(), 1);
    EXPECT_EQ(open.reader->ReadHeader(), 1);
    EXPECT_EQ(open.reader->GetHeader(), title.substr(0, 255));
    EXPECT_EQ(open.reader->GetFileType(), 2);

    const OpenReading cut("# vtk DataFile Version\n\nbin");
    EXPECT_EQ(cut.reader->ReadHeader(), 0);
    EXPECT_EQ(cut.reader->GetFileType(), 0);
    EXPECT_THAT(cut.reported.texts,
                ElementsAre(MatchesRegex("ERROR: In visualization/src/scenegraph/io/SDBDataReader[.cp]*, line [0-9]+\n"
                                         "OpenReader \\(0x[0-9a-f]+\\): Unrecognized file type: bin\n\n")));
}

TEST(SDBDataReaderTest, partsOfAConnectivityListAreCopied)
{
    const std::pair<std::string, std::string> forms[] = {{"BINARY", block<int>({1, 0, 2, 1, 2, 3, 0, 1, 2})},
                                                         {"ASCII", "1 0 2 1 2 3 0 1 2"}};
    const std::pair<std::vector<int>, std::vector<int>> cases[] = {
        {{0, 3, 0}, {1, 0, 2, 1, 2, 3, 0, 1, 2}}, {{1, 1, 1}, {2, 1, 2}}, {{3, 0, 0}, {}}, {{1, 3, 0}, {}}};
    for (const auto& [fileType, list] : forms)
    {
        for (const auto& [parts, kept] : cases)
        {
            const OpenReading open(fileType, list);
            std::vector<int> found(kept.size());
            const bool whole = parts[0] + parts[1] <= 3;
            EXPECT_EQ(open.reader->ReadCells(9, found.data(), parts[0], parts[1], parts[2]), whole);
            EXPECT_EQ(found, kept);
            EXPECT_EQ(open.reported.messages.empty(), whole);
        }
    }
}

TEST(SDBDataReaderTest, coordinatesGoToTheirAxis)
{
    const OpenReading open("BINARY", "float\n" + block<float>({1, 2}) + "int\n" + block<int>({3}) + "double\n");
    const vtkNew<vtkRectilinearGrid> grid;
    EXPECT_EQ(open.reader->ReadCoordinates(grid, 0, 2), 1);
    EXPECT_EQ(open.reader->ReadCoordinates(grid, 1, 1), 1);
    EXPECT_EQ(open.reader->ReadCoordinates(grid, 2, 0), 1);
    EXPECT_THAT(valuesOf(grid->GetXCoordinates()), ElementsAre(1, 2));
    EXPECT_THAT(valuesOf(grid->GetYCoordinates()), ElementsAre(3));
    EXPECT_STREQ(grid->GetZCoordinates()->GetClassName(), "vtkDoubleArray");
    EXPECT_EQ(open.reader->ReadCoordinates(grid, 2, 1), 0);
    EXPECT_THAT(open.reported.messages, ElementsAre("error: Cannot read coordinates type!"));
}

} // namespace
