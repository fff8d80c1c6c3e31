#include "scenegraph/io/SDBPolyDataReader.h"

#include "scenegraph/io/detail/MemoryBudget.h"
#include "support/BlockReading.h"
#include "support/Golden.h"
#include "support/Testing.h"

#include <climits>

/// What damaged and hostile dataset blocks come to. Every reading touches all that it has read.
namespace
{

using namespace test;

TEST(DatasetDamageTest, connectivityIsProvedBeforeVtkSeesIt)
{
    struct Case
    {
        const char* what;
        int cellCount;
        std::vector<int> list;
        bool accepted = false;
    };

    const Case cases[] = {
        {"sound", 2, {3, 0, 1, 2, 3, 2, 1, 0}, true},
        {"no cells", 0, {}, true},
        {"empty cells", 3, {0, 0, 0}, true},
        {"a count beyond the list", 1, {100000000, 0, 1, 2}},
        {"a count one too large", 1, {4, 0, 1, 2}},
        {"the largest count", 1, {INT_MAX}},
        {"a negative count", 1, {-1, 0, 1, 2}},
        {"a negative count that a later one evens out", 2, {-2, 4, 0, 1}},
        {"more cells than the header tells", 1, {3, 0, 1, 2, 3, 2, 1, 0}},
        {"fewer cells than the header tells", 3, {3, 0, 1, 2, 3, 2, 1, 0}},
        {"far fewer cells than the header tells", 300000000, {3, 0, 1, 2}},
        {"cells without a list", 1, {}},
        {"an id of no point", 1, {3, 0, 1, 3}},
        {"a negative id", 1, {3, 0, -1, 2}},
        {"the largest id", 1, {3, 0, 1, INT_MAX}},
    };
    for (const Case& one : cases)
    {
        SCOPED_TRACE(one.what);
        const BlockReading reading =
            readBlock(header() + points(3) + cells("POLYGONS", one.cellCount, one.list) + "CELL_DATA " +
                      std::to_string(one.cellCount) + "\nPOINT_DATA 3\nSCALARS s int\nLOOKUP_TABLE default\n" +
                      block<int>({1, 2, 3}));
        const Messages failure = {"error: Cannot read polygons!"};
        EXPECT_THAT(reading.messages, ElementsAreArray(one.accepted ? Messages() : failure));
        EXPECT_EQ(reading.output().GetNumberOfPolys(), one.accepted ? one.cellCount : 0);
        EXPECT_NE(reading.pointData().GetScalars(), nullptr);
    }
}

TEST(DatasetDamageTest, idsHaveToFitThePointsInTheEndHoweverTheBlockEnds)
{
    struct Case
    {
        std::string sections;
        Messages messages;
        int lines;
        int vertices = 1;
    };

    const std::string lines = cells("LINES", 1, {2, 1, 2});
    const std::string vertices = cells("VERTICES", 1, {1, 0});
    const std::string both = lines + vertices;
    const std::string data = "CELL_DATA 2\nSCALARS s int\nLOOKUP_TABLE default\n" + block<int>({1, 2});
    const std::string failed = "error: Cannot read lines!";
    const Case cases[] = {
        {both + points(3) + data, {}, 1},
        {points(3) + both + points(2) + data, {failed}, 0},
        {points(3) + both + "POINTS 0 float\nPOINTS 1 float\n" + block<float>({0, 0, 0}) + data, {failed}, 0},
        {points(2) + both + data + "JUNK", {"error: Unsupported cell attribute type: junk", failed}, 0},
        {points(2) + both + "CELL_DATA x", {"error: Cannot read cell data!", failed}, 0},
        {points(2) + lines + cells("LINES", 1, {2, 0, 1}) + vertices + data, {}, 1},
        {points(3) + cells("LINES", 1, {9, 9}) + both + data, {failed}, 1},
        {both + data, {"warning: No points read!", "error: Cannot read vertices!", failed}, 0, 0},
    };
    for (const Case& one : cases)
    {
        SCOPED_TRACE(one.sections);
        const BlockReading reading = readBlock(header() + one.sections);
        EXPECT_THAT(reading.messages, ElementsAreArray(one.messages));
        EXPECT_EQ(reading.output().GetNumberOfLines(), one.lines);
        EXPECT_EQ(reading.output().GetNumberOfVerts(), one.vertices);
        EXPECT_EQ(reading.output().GetCellData()->GetScalars() != nullptr, one.lines == 1 && one.vertices == 1);
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
    // The points, what VTK keeps for their components, the list and the cells made of it.
    const std::uint64_t needed = 4 * 12 + 3 * sizeof(double) + 2 * sizeof(int) + 3 * sizeof(vtkIdType);
    for (const std::uint64_t allowed : {needed, needed - 1})
    {
        sdb::detail::MemoryBudget budget(allowed);
        const BlockReading reading =
            readBlock(bytes, [&](tsg::SDBPolyDataReader& reader) { reader.SetMemoryBudget(&budget); });
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
TEST(DatasetDamageTest, blocksOfAnotherLengthFillWhatTheirHeaderPromises)
{
    const auto fours = [](std::size_t count)
    { return block(std::vector<float>(count, 4.0F), tsg::CompressionMethods::Zlib); };
    std::string damaged = fours(9);
    damaged[17] = '\x55'; // the first byte of the zlib stream
    for (const auto& [stored, last] : {std::pair(fours(100), 4.0), {fours(9), 4.0}, {fours(2), 0.0}, {damaged, 0.0}})
    {
        const BlockReading reading =
            readBlock(header() + "POINTS 3 float\n" + stored + "LINES 1 3\n" + block<int>({2, 0, 1}));
        EXPECT_THAT(reading.messages, IsEmpty());
        EXPECT_EQ(reading.output().GetPoint(2)[2], last);
        EXPECT_EQ(reading.output().GetNumberOfLines(), 1);
    }
}

constexpr const char* WHOLE_BLOCKS[] = {"dataset-triangle.bin", "dataset-attributes.bin", "dataset-text.bin"};

TEST(DatasetDamageTest, everyPrefixOfABlockIsReadOrReported)
{
    for (const char* const name : WHOLE_BLOCKS)
    {
        const std::string whole = golden(name);
        const std::size_t points = whole.find("\nPOINTS") + 8;
        for (std::size_t length = 0; length < whole.size(); ++length)
        {
            const BlockReading reading = readBlock(whole.substr(0, length));
            if (length <= points)
            {
                EXPECT_THAT(reading.messages, Not(IsEmpty())) << name << " " << length;
                EXPECT_EQ(reading.output().GetPoints(), nullptr) << name << " " << length;
            }
        }
    }
}

TEST(DatasetDamageTest, noDamagedByteMakesALie)
{
    for (const char* const name : WHOLE_BLOCKS)
    {
        const std::string whole = golden(name);
        for (std::size_t at = 0; at < whole.size(); ++at)
        {
            for (const char byte : {'\0', '\xff', '9', '-', ' ', static_cast<char>(whole[at] ^ 1)})
            {
                std::string damaged = whole;
                damaged[at] = byte;
                EXPECT_NO_THROW(readBlock(damaged)) << name << " " << at << " " << byte;
            }
        }
    }
}

} // namespace
