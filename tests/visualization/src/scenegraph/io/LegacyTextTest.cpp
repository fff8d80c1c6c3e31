#include "scenegraph/io/detail/LegacyPolyData.h"

#include "scenegraph/io/detail/Limits.h"
#include "support/Datasets.h"
#include "support/ForeignNumbers.h"
#include "support/LogCapture.h"
#include "support/TouchEverything.h"

#include <clocale>
#include <cmath>

#include <vtkFieldData.h>

namespace
{

using namespace test;

constexpr double INF = std::numeric_limits<double>::infinity();

const std::string HEADER = "# vtk DataFile Version 3.0\nvtk output\nASCII\nDATASET POLYDATA\n";
const std::string POINTS = "POINTS 3 float\n0 0 0 1 0 0 0 1 0.5 \n";
const std::string TRIANGLE = "POLYGONS 1 4\n3 0 1 2 \n\n";

/// The polydata of a text, looked at from all sides; null if it is refused.
vtkSmartPointer<vtkPolyData> read(const std::string& text)
{
    sdb::detail::MemoryBudget budget(sdb::detail::loadMemory(text.size()));
    vtkSmartPointer<vtkPolyData> data = tsg::detail::readLegacyPolyData(text, budget);
    if (data != nullptr)
    {
        touchEverything(*data);
    }
    return data;
}

vtkSmartPointer<vtkPolyData> readBody(const std::string& body)
{
    return read(HEADER + body);
}

std::string repeated(const std::string& text, int count)
{
    std::string all;
    for (; count > 0; --count)
    {
        all += text;
    }
    return all;
}

TEST(LegacyTextTest, everySectionComesBack)
{
    std::string text = HEADER + "FIELD FieldData 3\ntime 1 1 double\n0.25 \nNULL_ARRAY\nnone 7 0 int\n\n" + POINTS +
                       "VERTICES 1 2\n1 0 \nLINES 2 6\n3 0 1 2 \n1 1\n" + TRIANGLE + "TRIANGLE_STRIPS 1 1\n0\n" +
                       "CELL_DATA 5\nSCALARS c%20s unsigned_short\nLOOKUP_TABLE default\n1 2 3 4 65535\n" +
                       "COLOR_SCALARS skipped 1\n0 1 0.5 0 1\nVECTORS v float\n" + repeated("1 2 3 ", 5) +
                       "\nNORMALS n float\n" + repeated("0 0 1 ", 5) + "\nTENSORS six float\n" +
                       repeated("1 2 3 4 5 6 7 8 9\n", 5) + "TEXTURE_COORDINATES tc 3 float\n" + repeated("1 2 3 ", 5) +
                       "\nGLOBAL_IDS g int\n1 2 3 4 5\n" +
                       "PEDIGREE_IDS p int\n1 2 3 4 5\nFIELD f 1\nlast 1 5 bit\n1 1 1 0 1\nPOINT_DATA 3\nSCALARS s "
                       "float 2\nLOOKUP_TABLE t\n" +
                       "1 2 3 4 5 6 \nLOOKUP_TABLE t 2\n0 0 0 1\n1 0.5 0 1\n\nSCALARS skipped int\n" +
                       "LOOKUP_TABLE default\n1 2 3\nVECTORS v double\n1 2 3 4 5 6 7 8 9 \n1 2 3\n";
    EXPECT_EQ(read(text), nullptr) << "a vector too many";
    text.resize(text.size() - 6);
    text += "NORMALS n short\n0 0 1 0 0 1 0 0 1 \nTEXTURE_COORDINATES tc 2 float\n0 0 1 0 0 1 \n"
            "TENSORS6 six float\n" +
            repeated("1 2 3 4 5 6 ", 3) + "\nTENSORS nine float\n" + repeated("1 2 3 4 5 6 7 8 9 ", 3) +
            "\nEDGE_FLAGS e unsigned_char\n1 0 1\nGLOBAL_IDS g vtkIdType\n0 -1 2147483647 \nPEDIGREE_IDS p long\n1 "
            "5000000000 3 \nFIELD FieldData 4\n"
            "bits 1 3 bit\n1 0 1 \nbytes 3 1 signed_char\n-128 0 127\nu 1 1 unsigned_long\n18446744073709551615\n"
            "t 1 2 vtktypeint64\n-9223372036854775808 9\n";
    std::string dosText = text;
    for (std::size_t at = 0; (at = dosText.find('\n', at)) != std::string::npos; at += 2)
    {
        dosText.replace(at, 1, "\r\n");
    }
    for (const std::string& variant : {text, dosText})
    {
        const auto data = read(variant);
        ASSERT_NE(data, nullptr);
        EXPECT_THAT(valuesOf(data->GetPoints()->GetData()), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0.5));
        EXPECT_EQ(data->GetNumberOfCells(), 5);
        vtkPointData& points = *data->GetPointData();
        EXPECT_EQ(points.GetNumberOfArrays(), 12);
        EXPECT_STREQ(points.GetScalars()->GetName(), "s");
        EXPECT_NE(points.GetScalars()->GetLookupTable(), nullptr);
        EXPECT_THAT(valuesOf(points.GetArray("g")), ElementsAre(0, -1, 2147483647));
        EXPECT_THAT(valuesOf(points.GetArray("bits")), ElementsAre(1, 0, 1));
        EXPECT_THAT(valuesOf(points.GetArray("t")), ElementsAre(-9223372036854775808.0, 9));
        EXPECT_EQ(data->GetCellData()->GetNumberOfArrays(), 8);
        EXPECT_THAT(valuesOf(data->GetCellData()->GetArray("c s")), ElementsAre(1, 2, 3, 4, 65535));
        EXPECT_THAT(valuesOf(data->GetFieldData()->GetArray("time")), ElementsAre(0.25));
        EXPECT_EQ(data->GetFieldData()->GetArray("none")->GetNumberOfComponents(), 7);
    }
    for (std::size_t size = 0; size < text.size(); ++size)
    {
        // A cut between two sections is sound, and all is looked at; one inside a line may have cut a number.
        EXPECT_TRUE(read(text.substr(0, size)) == nullptr || text[size - 1] == '\n') << size;
    }
}

TEST(LegacyTextTest, valuesWithoutDigitsComeBack)
{
    const auto data = readBody("FIELD f 1\nfd 1 3 double\n1 -nan(ind) 2\nPOINTS 2 float\nnan 0 1\ninf -inf 2\n"
                               "POINT_DATA 2\nSCALARS s float\nLOOKUP_TABLE default\n1.#INF 5\n"
                               "SCALARS again float\nLOOKUP_TABLE default\nnan nan\n"
                               "VECTORS s float\n1 nan 3 4 5 6\nFIELD f 3\ns 1 2 double\n7 -1.#IND00\n"
                               "again 1 2 float\n8 9\nlast%25 1 2 float\nInfinity 1e-50\n");
    ASSERT_NE(data, nullptr);
    EXPECT_THAT(valuesOf(data->GetPoints()->GetData()), ElementsAre(IsNan(), 0, 1, INF, -INF, 2));
    EXPECT_THAT(valuesOf(data->GetFieldData()->GetArray("fd")), ElementsAre(1, IsNan(), 2));
    EXPECT_TRUE(std::signbit(data->GetFieldData()->GetArray("fd")->GetTuple1(1)));
    // Of arrays of one name the last one stays, and of scalars the first.
    EXPECT_THAT(valuesOf(data->GetPointData()->GetArray("s")), ElementsAre(7, IsNan()));
    EXPECT_THAT(valuesOf(data->GetPointData()->GetArray("again")), ElementsAre(8, 9));
    EXPECT_THAT(valuesOf(data->GetPointData()->GetArray("last%")), ElementsAre(INF, 0));
    EXPECT_EQ(data->GetPointData()->GetNumberOfArrays(), 3);
}

TEST(LegacyTextTest, whatVtkCouldNotBeTrustedWithIsRefused)
{
    ASSERT_NE(readBody(POINTS + TRIANGLE), nullptr);
    ASSERT_NE(readBody("POINTS 0 float\n"), nullptr);
    const std::string scalars = "SCALARS s float\nLOOKUP_TABLE default\n1 2 3\n";
    const std::string bodies[] = {
        "", TRIANGLE, "POLYGONS 0 0\n",
        // cells
        POINTS + "POLYGONS 1 3\n300000000 0 1 2\n", POINTS + "POLYGONS 300000000 4\n3 0 1 2\n",
        POINTS + "POLYGONS 1 2000000000\n3 0 1 2\n", POINTS + "POLYGONS -1 4\n3 0 1 2\n",
        POINTS + "POLYGONS 1 4\n-3 0 1 2\n", POINTS + "POLYGONS 1 4\n3 0 1 3\n", POINTS + "POLYGONS 1 4\n3 0 -1 2\n",
        POINTS + "POLYGONS 1 5\n3 0 1 2 0\n", POINTS + "POLYGONS 2 4\n3 0 1 2\n", POINTS + "POLYGONS 1 4\n3 0 1\n",
        POINTS + "POLYGONS 1 4\n3 0 1 2.5\n", POINTS + "POLYGONS 1 4\n3 0 1 4294967296\n", POINTS + TRIANGLE + TRIANGLE,
        TRIANGLE + "POINTS 2 float\n0 0 0 1 1 1\n",
        // points
        POINTS + POINTS, "POINTS 1 float\n1 2\n", "POINTS 1 float 1 2 3\n", "POINTS 2000000000 float\n1 2 3\n",
        "POINTS -1 float\n\n", "POINTS 1 string\na b c\n", "POINTS 1 float\n1 2 3x\n", "POINTS 1 float\n1 2 0x3\n",
        "POINTS 1 float\n1 2 1e39\n", "POINTS 1 float\n1 2 1" + std::string(400, '0') + "e-9\n",
        "POINTS 1 double\n1 2 1e999\n", "POINTS 1 float\n1 2 1e\n", "POINTS 1 float\n1 2 .\n",
        "POINTS 1 int\n1 2 nan\n", "POINTS 1 float\n1 2 nano\n", "POINTS 1 short\n1 2 32768\n",
        std::string("POINTS 1 float\n1 2\0 3\n", 22),
        // arrays
        POINTS + "FIELD F 1\na 1 2000000000 int\n1\n", POINTS + "FIELD F 1\na 2000000000 2000000000 int\n1\n",
        POINTS + "FIELD F 1\na -1 1 int\n1\n", POINTS + "FIELD F 1\na 0 1 int\n1\n",
        POINTS + "FIELD F 1\na 1048577 0 int\n\n", POINTS + "FIELD F 1\na 1 1 variant\n1\n",
        POINTS + "FIELD F 1\na 1 1 int 5\n", POINTS + "FIELD F 1\n" + std::string(256, 'n') + " 1 1 int\n5\n",
        POINTS + "FIELD F 1\na\1 1 1 int\n5\n", POINTS + "FIELD F 2\na 1 1 int\n5\nmetadata_of_a 1 1 int\n5\n",
        POINTS + "FIELD F 16385\n" + repeated("a 1 0 int\n\n", 16385),
        POINTS + "FIELD F 1000\n" + repeated("a 1048576 0 int\n\n", 1000),
        // point and cell data
        POINTS + "POINT_DATA 2\n", POINTS + "CELL_DATA 1\n", POINTS + "POINT_DATA 3\n" + scalars + POINTS,
        POINTS + "CELL_DATA 0\nEDGE_FLAGS e int\n\n", POINTS + repeated("POINT_DATA 3\nCELL_DATA 0\n", 2),
        POINTS + "POINT_DATA 3\nSCALARS s float\n1 2 3\n",
        POINTS + "POINT_DATA 3\n" + scalars + "METADATA\nCOMPONENT_NAMES\nX\n\n", "POINT_DATA 0\n" + POINTS,
        POINTS + "POINT_DATA 3\nTEXTURE_COORDINATES t 4 float\n" + repeated("1 2 3 4 ", 3),
        POINTS + "POINT_DATA 3\nCOLOR_SCALARS c 1\n0 1 nan\n", POINTS + "POINT_DATA 3\nCOLOR_SCALARS c 2000000000\n0\n",
        POINTS + "POINT_DATA 3\nLOOKUP_TABLE t 2000000000\n0 0 0 0\n", POINTS + "POINT_DATA 3\nLOOKUP_TABLE t -1\n",
        POINTS + "nonsense\n"};
    for (const std::string& body : bodies)
    {
        EXPECT_EQ(readBody(body), nullptr) << body.substr(0, 200);
    }
    const std::string rest = "DATASET POLYDATA\n" + POINTS;
    for (const std::string header : {"# vtk DataFile Version 5.1\nt\nASCII\n", "# vtk DataFile Version 30\nt\nASCII\n",
                                     "# vtk DataFile\nt\nASCII\n", "# vtk DataFile Version 3.0\nt\nBINARY\n",
                                     "# vtk DataFile Version 3.0\nASCII\n", ""})
    {
        EXPECT_EQ(read(header + rest), nullptr) << header;
    }
    EXPECT_EQ(read("# vtk DataFile Version 3.0\nt\nASCII\nDATASET UNSTRUCTURED_GRID\n" + POINTS), nullptr);
}

/// Some writers count arrays that they have left out.
TEST(LegacyTextTest, aFieldSectionMayEndBeforeItsCountAndThatIsLogged)
{
    const std::string array = "a 1 1 int\n5\n";
    const std::pair<std::string, const char*> cases[] = {
        {"FIELD F 2000000000\n" + array + POINTS, "1999999999"},
        {POINTS + "FIELD F 12\n" + array + "NULL_ARRAY\n", "10"},
        {"FIELD F 3\n" + array + POINTS + "POINT_DATA 3\nFIELD f 4\na 1 3 int\n5 6 7\nVECTORS 1 float\n" +
             repeated("1 2 3 ", 3) + "\n",
         "5"}};
    for (const auto& [body, missing] : cases)
    {
        const LogCapture log;
        const auto data = readBody(body);
        ASSERT_NE(data, nullptr) << body;
        EXPECT_THAT(log.entries, ElementsAre(HasSubstr(std::string(missing) + " arrays that a polydata counts")));
        EXPECT_EQ(data->GetFieldData()->GetArray("a")->GetTuple1(0), 5);
        const bool hasPointData = data->GetPointData()->GetNumberOfArrays() > 0;
        EXPECT_TRUE(!hasPointData || (data->GetPointData()->GetArray("a") && data->GetPointData()->GetArray("1")));
    }
}

TEST(LegacyTextTest, memoryIsBoundedByTheBudget)
{
    const std::string text = HEADER + "POINTS 1000 double\n" + repeated("0 ", 3000) + '\n';
    for (const std::uint64_t bytes : {0, 100, 100000})
    {
        sdb::detail::MemoryBudget budget(bytes);
        EXPECT_EQ(tsg::detail::readLegacyPolyData(text, budget), nullptr);
    }
    sdb::detail::MemoryBudget budget(1000000);
    EXPECT_NE(tsg::detail::readLegacyPolyData(text, budget), nullptr);
    EXPECT_LE(budget.left(), 1000000 - 24000U);
    EXPECT_GE(budget.left(), 1000000 - 30000U) << "what was only scratch is given back";
}

TEST(LegacyTextTest, localesNeitherMatterNorChange)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    const std::locale old = std::locale::global(ForeignNumbers::locale());
    const std::string during = std::setlocale(LC_ALL, nullptr);
    const auto data = readBody("POINTS 1 float\n1.5 1234 -2.5\n");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), during);
    std::locale::global(old);
    std::setlocale(LC_ALL, before.c_str());
    ASSERT_NE(data, nullptr);
    EXPECT_THAT(valuesOf(data->GetPoints()->GetData()), ElementsAre(1.5, 1234, -2.5));
}

} // namespace
