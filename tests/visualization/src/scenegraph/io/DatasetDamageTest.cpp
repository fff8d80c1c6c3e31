#include "scenegraph/io/SDBPolyDataReader.h"

#include "scenegraph/io/detail/CodecRun.h"
#include "support/BlockReading.h"
#include "support/Golden.h"

#include <climits>

/// What damaged and hostile dataset blocks come to. Every reading touches all that it has read.
namespace
{

using namespace test;

TEST(DatasetDamageTest, connectivityIsProvedBeforeVtkSeesIt)
{
    // what is wrong, the number of cells that the header tells, the list, and whether it is accepted
    const std::tuple<const char*, int, std::vector<int>, bool> cases[] = {
        {"sound", 2, {3, 0, 1, 2, 3, 2, 1, 0}, true},
        {"no cells", 0, {}, true},
        {"empty cells", 3, {0, 0, 0}, true},
        {"a count beyond the list", 1, {100000000, 0, 1, 2}, false},
        {"a count one too large", 1, {4, 0, 1, 2}, false},
        {"the largest count", 1, {INT_MAX}, false},
        {"a negative count", 1, {-1, 0, 1, 2}, false},
        {"a negative count that a later one evens out", 2, {-2, 4, 0, 1}, false},
        {"more cells than the header tells", 1, {3, 0, 1, 2, 3, 2, 1, 0}, false},
        {"fewer cells than the header tells", 3, {3, 0, 1, 2, 3, 2, 1, 0}, false},
        {"far fewer cells than the header tells", 300000000, {3, 0, 1, 2}, false},
        {"cells without a list", 1, {}, false},
        {"an id of no point", 1, {3, 0, 1, 3}, false},
        {"a negative id", 1, {3, 0, -1, 2}, false},
        {"the largest id", 1, {3, 0, 1, INT_MAX}, false},
    };
    for (const auto& [what, cellCount, list, accepted] : cases)
    {
        SCOPED_TRACE(what);
        const BlockReading reading = readBlock(
            header() + points(3) + cells("POLYGONS", cellCount, list) + "CELL_DATA " + std::to_string(cellCount) +
            "\nPOINT_DATA 3\nSCALARS s int\nLOOKUP_TABLE default\n" + block<int>({1, 2, 3}));
        const Messages failure = {"error: Cannot read polygons!"};
        EXPECT_THAT(reading.messages, ElementsAreArray(accepted ? Messages() : failure));
        EXPECT_EQ(reading.output().GetNumberOfPolys(), accepted ? cellCount : 0);
        EXPECT_NE(reading.pointData().GetScalars(), nullptr);
    }
}

TEST(DatasetDamageTest, idsHaveToFitThePointsInTheEndHoweverTheBlockEnds)
{
    const std::string lines = cells("LINES", 1, {2, 1, 2});
    const std::string vertices = cells("VERTICES", 1, {1, 0});
    const std::string both = lines + vertices;
    const std::string data = "CELL_DATA 2\nSCALARS s int\nLOOKUP_TABLE default\n" + block<int>({1, 2});
    const std::string failed = "error: Cannot read lines!";
    // sections, messages, and the numbers of lines and vertices
    const std::tuple<std::string, Messages, int, int> cases[] = {
        {both + points(3) + data, {}, 1, 1},
        {points(3) + both + points(2) + data, {failed}, 0, 1},
        {points(3) + both + "POINTS 0 float\nPOINTS 1 float\n" + block<float>({0, 0, 0}) + data, {failed}, 0, 1},
        {points(2) + both + data + "JUNK", {"error: Unsupported cell attribute type: junk", failed}, 0, 1},
        {points(2) + both + "CELL_DATA x", {"error: Cannot read cell data!", failed}, 0, 1},
        {points(2) + lines + cells("LINES", 1, {2, 0, 1}) + vertices + data, {}, 1, 1},
        {points(3) + cells("LINES", 1, {9, 9}) + both + data, {failed}, 1, 1},
        {both + data, {"warning: No points read!", "error: Cannot read vertices!", failed}, 0, 0},
    };
    for (const auto& [sections, messages, lineCount, vertexCount] : cases)
    {
        SCOPED_TRACE(sections);
        const BlockReading reading = readBlock(header() + sections);
        EXPECT_THAT(reading.messages, ElementsAreArray(messages));
        EXPECT_EQ(reading.output().GetNumberOfLines(), lineCount);
        EXPECT_EQ(reading.output().GetNumberOfVerts(), vertexCount);
        EXPECT_EQ(reading.output().GetCellData()->GetScalars() != nullptr, lineCount == 1 && vertexCount == 1);
    }
}

TEST(DatasetDamageTest, countsThatNoBlockCanHoldTakeNoMemory)
{
    const std::string start = header() + points(1) + "POINT_DATA 1\n", field = start + "FIELD f 1\na ";
    const std::string warning = "generic warning: Error reading binary data!", noPoints = "warning: No points read!";
    expectMessages({
        {header() + "POINTS 2000000000 double\n", {warning, noPoints}},
        {header() + "POINTS 99999999999 double\n", {"error: Cannot read number of points!"}},
        {header() + "POLYGONS 1 2000000000\n", {"error: Cannot read polygons!"}},
        {header() + "POLYGONS 2000000000 2\n" + block<int>({1, 0}), {"error: Cannot read polygons!", noPoints}},
        {start + "SCALARS s char 2000000000\nLOOKUP_TABLE default\n", {warning}},
        {start + "SCALARS s char 99999999999999999999 LOOKUP_TABLE default\n", {warning}},
        {start + "COLOR_SCALARS s -3\n", {warning}},
        {start + "COLOR_SCALARS s 2000000\n", {warning}},
        {start + "LOOKUP_TABLE t 2000000000\n", {"error: Error reading binary lookup table!"}},
        {start + "LOOKUP_TABLE t 500000000\n", {"error: Error reading binary lookup table!"}},
        {start + "LOOKUP_TABLE t -1\n", {"error: Cannot read lookup table data!"}},
        {start + "FIELD f 2000000000\na 1 1 int\n" + block<int>({1})},
        {start + "FIELD f -1\n", {"error: Cannot read field header!"}},
        {field + "2000000000 2000000000 double\n", {warning}},
        {field + "-1 1 int\n", {warning}},
        {field + "1 -1 int\n", {warning}},
        {field + "-3 -3 int\n", {warning}},
        {field + "3 1431655765 bit\n", {warning}},
        {field + "1 2000000000 vtkIdType:2\n", {warning}},
        {header("ASCII") + "POINTS 2000000000 float\n1 2 3\n",
         {"generic warning: Error reading ascii data!", "error: Unrecognized keyword: 1"}},
    });
}

TEST(DatasetDamageTest, aRunKeepsToTheBudgetItIsGiven)
{
    const std::string bytes = header() + points(4) + cells("VERTICES", 1, {1, 3});
    // The points, a share of what VTK keeps for their components, and the list.
    const std::uint64_t needed = 4 * 12 + 3 * sizeof(double) / sdb::detail::MEMORY_FACTOR + 2 * sizeof(int);
    for (const std::uint64_t allowed : {needed, needed - 1})
    {
        sdb::detail::MemoryBudget budget(allowed);
        tsg::detail::CodecRun run(budget);
        const BlockReading reading =
            readBlock(bytes, [&](tsg::SDBPolyDataReader& reader) { tsg::detail::lend(reader, &run); });
        EXPECT_EQ(reading.output().GetNumberOfCells(), allowed == needed ? 1 : 0);
        EXPECT_EQ(reading.messages.empty(), allowed == needed);
    }
}

TEST(DatasetDamageTest, sectionsThatOpenOneAnotherDoNotNest)
{
    std::string bytes = header() + points(1) + "POINT_DATA 1\n";
    while (bytes.size() < 500000)
    {
        bytes += "CELL_DATA 0 POINT_DATA 1\n";
    }
    const BlockReading reading = readBlock(bytes + "VECTORS v float\n" + block<float>({1, 2, 3}));
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_NE(reading.pointData().GetVectors(), nullptr);
}

TEST(DatasetDamageTest, manySmallFieldArraysAreReadInTheTimeOfTheirBytes)
{
    constexpr int COUNT = 50000;
    std::string one = "POINT_DATA 1\nFIELD f " + std::to_string(COUNT) + "\n", many = "POINT_DATA 1\n";
    for (int i = 0; i < COUNT; ++i)
    {
        const std::string array = std::to_string(i) + " 1 0 int\n";
        one += array;
        many += "FIELD f 1 " + array;
    }
    for (const std::string& data : {one, many, many + many.substr(many.find('F'))})
    {
        const BlockReading reading = readBlock(header() + points(1) + data);
        EXPECT_THAT(reading.messages, IsEmpty());
        EXPECT_EQ(reading.pointData().GetNumberOfArrays(), COUNT);
        EXPECT_STREQ(reading.pointData().GetArrayName(COUNT - 1), "49999");
    }
}

TEST(DatasetDamageTest, aFieldListThatEndsEarlyEndsQuietly)
{
    const std::string array = "a 1 1 int\n" + block<int>({7});
    const MessageCase cases[] = {
        {""},
        {" \n"},
        {"POINT_DATA 1\nVECTORS v float\n" + block<float>({1, 2, 3})},
        {"POINT_DATA 1\nb 1", {"error: Unsupported point attribute type: b"}},
        {"b 1 x int\n", {"error: Unsupported cell attribute type: b"}},
        {"b 1 1 string\n", {"error: Unsupported data type: string"}},
    };
    for (const auto& [rest, messages] : cases)
    {
        const BlockReading reading =
            readBlock(header() + "FIELD f 3\n" + array + points(1) + cells("VERTICES", 1, {1, 0}) +
                      "CELL_DATA 1\nFIELD f 2\n" + array + rest);
        EXPECT_THAT(reading.messages, ElementsAreArray(messages)) << rest;
        EXPECT_EQ(reading.output().GetFieldData()->GetArray("a")->GetTuple1(0), 7.0) << rest;
        EXPECT_EQ(reading.output().GetPoint(0)[1], 1.0) << rest;
    }
}

/// Bytes that decode to something else than the header in front of them promises.
TEST(DatasetDamageTest, blocksOfAnotherLengthAreReportedAndFillWhatTheirHeaderPromises)
{
    const auto fours = [](std::size_t count)
    { return block(std::vector<float>(count, 4.0F), tsg::CompressionMethods::Zlib); };
    std::string damaged = fours(9), wrongSum = fours(9);
    damaged[17] = '\x55';               // the first byte of the zlib stream
    wrongSum[wrongSum.size() - 2] ^= 1; // before the line feed
    const std::tuple<std::string, double, bool> cases[] = {{fours(9), 4.0, true},
                                                           {fours(100), 4.0, false},
                                                           {fours(2), 0.0, false},
                                                           {damaged, 0.0, false},
                                                           {wrongSum, 4.0, false}};
    for (const auto& [stored, last, isSound] : cases)
    {
        const BlockReading reading =
            readBlock(header() + "POINTS 3 float\n" + stored + "LINES 1 3\n" + block<int>({2, 0, 1}) +
                      "POINT_DATA 3\nFIELD f 1\nT 1 9 float\n" + stored);
        EXPECT_THAT(reading.messages,
                    ElementsAreArray(isSound ? Messages()
                                             : Messages{"error: Damaged block of values: points",
                                                        R"(error: Damaged block of values: array "T")"}));
        EXPECT_EQ(reading.output().GetPoint(2)[2], last);
        EXPECT_EQ(reading.output().GetNumberOfLines(), 1);
    }
}

TEST(DatasetDamageTest, everyCutOrDamagedBlockIsReadOrReported)
{
    for (const char* const name : {"dataset-triangle.bin", "dataset-attributes.bin", "dataset-text.bin"})
    {
        const std::string whole = golden(name);
        const std::size_t points = whole.find("\nPOINTS") + 8;
        for (std::size_t at = 0; at < whole.size(); ++at)
        {
            SCOPED_TRACE(name + (" " + std::to_string(at)));
            const BlockReading cut = readBlock(whole.substr(0, at));
            EXPECT_TRUE(at > points || (!cut.messages.empty() && cut.output().GetPoints() == nullptr));
            for (const char byte : {'\0', '\xff', '9', '-', ' ', static_cast<char>(whole[at] ^ 1)})
            {
                std::string damaged = whole;
                damaged[at] = byte;
                EXPECT_NO_THROW(readBlock(damaged)) << byte;
            }
        }
    }
}

} // namespace
