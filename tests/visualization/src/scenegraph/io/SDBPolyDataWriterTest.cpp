#include "scenegraph/io/SDBPolyDataWriter.h"

#include "support/Datasets.h"
#include "support/ForeignNumbers.h"
#include "support/FullDisk.h"
#include "support/Golden.h"
#include "support/RaisedError.h"
#include "support/ReportedErrors.h"

#include <vtkErrorCode.h>
#include <vtkExecutive.h>
#include <vtkImageData.h>

namespace
{

using namespace test;

/// A writer of one dataset to a disk, and what it reports.
struct Writing
{
    explicit Writing(vtkPolyData* data, int fileType = VTK_BINARY, std::size_t capacity = std::string::npos)
        : disk(capacity)
    {
        writer->SetOStream(&disk, fileType);
        writer->SetInputData(data);
    }

    FullDisk disk;
    vtkNew<tsg::SDBPolyDataWriter> writer;
    const ReportedErrors errors{*writer};
};

/// The bytes of a dataset that is written without an error.
std::string written(vtkPolyData* data, int fileType = VTK_BINARY)
{
    Writing writing(data, fileType);
    EXPECT_EQ(writing.writer->Write(), 1);
    writing.writer->Update();
    EXPECT_THAT(writing.errors.texts, IsEmpty());
    return writing.disk.bytes();
}

vtkSmartPointer<vtkLookupTable> twoColors()
{
    return tableOf({{1, 0, 0, 1}, {0, 0, 128 / 255.0, 1}});
}

vtkSmartPointer<vtkPolyData> triangleWithData()
{
    auto data = triangle();
    data->GetCellData()->SetGlobalIds(arrayOf(VTK_ID_TYPE, "cell id", 1, {65535}));
    data->GetPointData()->SetScalars(arrayOf(VTK_DOUBLE, "T", 1, {0.1, -2, 1e300}));
    return data;
}

vtkSmartPointer<vtkPolyData> everyAttribute()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->GetFieldData()->AddArray(arrayOf(VTK_DOUBLE, "time", 1, {2.5}));
    data->SetPoints(pointsOf(VTK_DOUBLE, {0.5, 2.5, 100.125}));
    data->SetVerts(cellsOf({{0}}));
    data->GetCellData()->SetScalars(arrayOf(VTK_UNSIGNED_CHAR, "rgb", 3, {255, 128, 0}));
    vtkPointData* const attributes = data->GetPointData();
    attributes->SetScalars(arrayOf(VTK_SHORT, "s", 2, {-1, 258}));
    attributes->GetScalars()->SetLookupTable(twoColors());
    attributes->SetVectors(arrayOf(VTK_INT, nullptr, 3, {1, 2, -3}));
    attributes->SetNormals(arrayOf(VTK_FLOAT, "n", 3, {0, 0, 1}));
    attributes->SetTCoords(arrayOf(VTK_FLOAT, "uv", 2, {0.25, 0.75}));
    attributes->SetTensors(arrayOf(VTK_CHAR, "stress", 6, {1, 2, 3, 4, 5, 6}));
    attributes->SetGlobalIds(arrayOf(VTK_ID_TYPE, "ids", 1, {65536}));
    attributes->SetPedigreeIds(arrayOf(VTK_ID_TYPE, "pedigree", 1, {1}));
    attributes->AddArray(arrayOf(VTK_LONG, "100%", 1, {-1, 7}));
    attributes->AddArray(arrayOf(VTK_UNSIGNED_CHAR, "", 1, {7}));
    attributes->AddArray(arrayOf(VTK_BIT, "flags", 1, {1, 0, 1, 1, 0, 0, 1, 0, 1}));
    attributes->AddArray(arrayOf(VTK_FLOAT, "none", 3, {}));
    return data;
}

vtkSmartPointer<vtkPolyData> linesWithColors()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->GetFieldData()->AddArray(arrayOf(VTK_BIT, "flags", 1, {1, 0, 1, 1, 0, 0, 1, 0, 1}));
    data->SetPoints(pointsOf(VTK_UNSIGNED_CHAR, {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}));
    data->SetLines(cellsOf({{0, 1}, {1, 2, 3}}));
    data->GetPointData()->SetScalars(arrayOf(VTK_UNSIGNED_CHAR, "c", 1, {0, 255, 128, 51}));
    data->GetPointData()->GetScalars()->SetLookupTable(twoColors());
    return data;
}

TEST(SDBPolyDataWriterTest, blocksAreThoseOfTheFormatPage)
{
    EXPECT_TRUE(isGolden("dataset-empty.bin", written(vtkNew<vtkPolyData>())));
    EXPECT_TRUE(isGolden("dataset-triangle.bin", written(triangleWithData())));
    EXPECT_TRUE(isGolden("dataset-attributes.bin", written(everyAttribute())));
    EXPECT_TRUE(isGolden("dataset-text.bin", written(linesWithColors(), VTK_ASCII)));
}

TEST(SDBPolyDataWriterTest, neitherLocaleNorFlagsOfTheStreamShow)
{
    const std::locale before = std::locale::global(ForeignNumbers::locale());
    Writing writing(linesWithColors(), VTK_ASCII);
    writing.disk.imbue(std::locale());
    writing.disk << std::hex << std::showpos << std::scientific;
    writing.disk.width(9);
    EXPECT_EQ(writing.writer->Write(), 1);
    EXPECT_TRUE(isGolden("dataset-text.bin", writing.disk.bytes()));
    std::locale::global(before);
}

TEST(SDBPolyDataWriterTest, aDiskThatFillsUpIsNoticedAtEveryByte)
{
    const auto data = everyAttribute();
    const std::string whole = written(data);
    for (std::size_t n = 0; n < whole.size(); ++n)
    {
        SCOPED_TRACE(n);
        Writing writing(data, VTK_BINARY, n);
        const std::string raised = raisedBy([&] { EXPECT_EQ(writing.writer->Write(), 0); });
        if (!raised.empty())
        {
            EXPECT_THAT(raised, StartsWith("Writing DataArray failed|sdb::writeCompressed(*fp, reinterpret_cast<const "
                                           "char *>(data), sizeof(T) * num * numComp, compressionMethod)|"
                                           "visualization/src/scenegraph/io/SDBDataWriter|"));
        }
        else
        {
            EXPECT_EQ(writing.writer->GetErrorCode(), vtkErrorCode::OutOfDiskSpaceError);
            const bool inHeader = n < whole.find("DATASET");
            EXPECT_THAT(writing.errors.texts, ElementsAre(HasSubstr(inHeader ? "): Error writing header to file"
                                                                             : "): Error writing data set to memory")));
        }
        EXPECT_EQ(writing.disk.bytes(), whole.substr(0, n));
    }
}

TEST(SDBPolyDataWriterTest, cellsThatDoNotFitTakeTheCellDataWithThem)
{
    const auto data = triangleWithData();
    data->SetLines(cellsOf({{0, 1}}));
    data->SetPolys(cellsOf({{0, 1, vtkIdType{1} << 31}}));
    Writing writing(data);
    EXPECT_EQ(writing.writer->Write(), 1);
    EXPECT_THAT(
        writing.errors.texts,
        ElementsAre(MatchesRegex("ERROR: In visualization/src/scenegraph/io/SDBDataWriter, line [0-9]+\n"
                                 "SDBPolyDataWriter \\(0x[0-9a-f]+\\): Cells are not written, nor any cell data: "
                                 "POLYGONS: value 2147483648 does not fit 4 bytes\n\n")));
    EXPECT_THAT(writing.disk.bytes(), AllOf(HasSubstr("\nLINES 1 3\n"), HasSubstr("\nPOINT_DATA 3\n"),
                                            Not(HasSubstr("POLYGONS")), Not(HasSubstr("CELL_DATA"))));
}

TEST(SDBPolyDataWriterTest, cellsOf32And64BitsAreWrittenAlike)
{
    const auto data = triangle();
    const std::string wide = written(data);
    const vtkNew<vtkCellArray> narrow;
    narrow->Use32BitStorage();
    narrow->InsertNextCell({0, 1, 2});
    data->SetPolys(narrow);
    EXPECT_EQ(written(data), wide);
}

} // namespace
