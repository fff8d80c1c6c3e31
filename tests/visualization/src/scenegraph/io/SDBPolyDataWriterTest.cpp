#include "scenegraph/io/SDBPolyDataWriter.h"

#include "core/Error.h"
#include "support/Datasets.h"
#include "support/FullDisk.h"
#include "support/Golden.h"
#include "support/ReportedErrors.h"

#include <locale>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vtkBitArray.h>
#include <vtkCellData.h>
#include <vtkCharArray.h>
#include <vtkDoubleArray.h>
#include <vtkErrorCode.h>
#include <vtkExecutive.h>
#include <vtkFloatArray.h>
#include <vtkIdTypeArray.h>
#include <vtkImageData.h>
#include <vtkIntArray.h>
#include <vtkLongArray.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkShortArray.h>
#include <vtkUnsignedCharArray.h>

namespace
{

using test::arrayOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using tsg::SDBPolyDataWriter;

/// Writes a dataset; the errors must be as expected, and so must the error code.
std::string written(vtkPolyData* data, test::FullDisk& disk, int fileType = VTK_BINARY)
{
    vtkNew<SDBPolyDataWriter> writer;
    writer->SetOStream(&disk, fileType);
    writer->SetInputData(data);
    const test::ReportedErrors errors(*writer);
    EXPECT_EQ(writer->Write(), 1);
    writer->Update();
    EXPECT_THAT(errors.texts, ElementsAre());
    return disk.bytes();
}

std::string written(vtkPolyData* data, int fileType = VTK_BINARY)
{
    test::FullDisk disk;
    return written(data, disk, fileType);
}

vtkSmartPointer<vtkLookupTable> twoColors()
{
    auto table = vtkSmartPointer<vtkLookupTable>::New();
    table->SetNumberOfTableValues(2);
    table->SetTableValue(0, 1, 0, 0, 1);
    table->SetTableValue(1, 0, 0, 128 / 255.0, 1);
    return table;
}

vtkSmartPointer<vtkPolyData> triangle()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(test::pointsOf<vtkFloatArray>({0, 0, 0, 1, 0, 0, 0, 1, 0.5}));
    data->SetPolys(test::cellsOf({{0, 1, 2}}));
    data->GetCellData()->SetGlobalIds(arrayOf<vtkIdTypeArray>("cell id", 1, {65535}));
    data->GetPointData()->SetScalars(arrayOf<vtkDoubleArray>("T", 1, {0.1, -2, 1e300}));
    return data;
}

vtkSmartPointer<vtkPolyData> everyAttribute()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->GetFieldData()->AddArray(arrayOf<vtkDoubleArray>("time", 1, {2.5}));
    data->SetPoints(test::pointsOf<vtkDoubleArray>({0.5, 2.5, 100.125}));
    data->SetVerts(test::cellsOf({{0}}));
    data->GetCellData()->SetScalars(arrayOf<vtkUnsignedCharArray>("rgb", 3, {255, 128, 0}));
    vtkPointData* const attributes = data->GetPointData();
    const auto scalars = arrayOf<vtkShortArray>("s", 2, {-1, 258});
    scalars->SetLookupTable(twoColors());
    attributes->SetScalars(scalars);
    attributes->SetVectors(arrayOf<vtkIntArray>(nullptr, 3, {1, 2, -3}));
    attributes->SetNormals(arrayOf<vtkFloatArray>("n", 3, {0, 0, 1}));
    attributes->SetTCoords(arrayOf<vtkFloatArray>("uv", 2, {0.25, 0.75}));
    attributes->SetTensors(arrayOf<vtkCharArray>("stress", 6, {1, 2, 3, 4, 5, 6}));
    attributes->SetGlobalIds(arrayOf<vtkIdTypeArray>("ids", 1, {65536}));
    attributes->SetPedigreeIds(arrayOf<vtkIdTypeArray>("pedigree", 1, {1}));
    attributes->AddArray(arrayOf<vtkLongArray>("100%", 1, {-1, 7}));
    attributes->AddArray(arrayOf<vtkUnsignedCharArray>("", 1, {7}));
    attributes->AddArray(arrayOf<vtkBitArray>("flags", 1, {1, 0, 1, 1, 0, 0, 1, 0, 1}));
    attributes->AddArray(arrayOf<vtkFloatArray>("none", 3, {}));
    return data;
}

vtkSmartPointer<vtkPolyData> linesWithColors()
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->GetFieldData()->AddArray(arrayOf<vtkBitArray>("flags", 1, {1, 0, 1, 1, 0, 0, 1, 0, 1}));
    data->SetPoints(test::pointsOf<vtkUnsignedCharArray>({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}));
    data->SetLines(test::cellsOf({{0, 1}, {1, 2, 3}}));
    const auto colors = arrayOf<vtkUnsignedCharArray>("c", 1, {0, 255, 128, 51});
    colors->SetLookupTable(twoColors());
    data->GetPointData()->SetScalars(colors);
    return data;
}

TEST(SDBPolyDataWriterTest, blocksAreThoseOfTheFormatPage)
{
    EXPECT_TRUE(test::isGolden("dataset-empty.bin", written(vtkSmartPointer<vtkPolyData>::New())));
    EXPECT_TRUE(test::isGolden("dataset-triangle.bin", written(triangle())));
    EXPECT_TRUE(test::isGolden("dataset-attributes.bin", written(everyAttribute())));
    EXPECT_TRUE(test::isGolden("dataset-text.bin", written(linesWithColors(), VTK_ASCII)));
}

TEST(SDBPolyDataWriterTest, neitherLocaleNorFlagsOfTheStreamShow)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }

        char do_decimal_point() const override { return ','; }

        std::string do_grouping() const override { return "\1"; }
    };

    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    test::FullDisk disk;
    disk.imbue(std::locale());
    disk << std::hex << std::showpos << std::scientific;
    disk.width(9);
    EXPECT_TRUE(test::isGolden("dataset-text.bin", written(linesWithColors(), disk, VTK_ASCII)));
    std::locale::global(before);
}

TEST(SDBPolyDataWriterTest, aDiskThatFillsUpIsNoticedAtEveryByte)
{
    const auto data = everyAttribute();
    const std::string whole = written(data);
    for (std::size_t n = 0; n < whole.size(); ++n)
    {
        SCOPED_TRACE(n);
        test::FullDisk disk(n);
        vtkNew<SDBPolyDataWriter> writer;
        writer->SetOStream(&disk, VTK_BINARY);
        writer->SetInputData(data);
        const test::ReportedErrors errors(*writer);
        try
        {
            EXPECT_EQ(writer->Write(), 0);
            EXPECT_EQ(writer->GetErrorCode(), vtkErrorCode::OutOfDiskSpaceError);
            const bool inHeader = n < whole.find("DATASET");
            ASSERT_EQ(errors.texts.size(), 1U);
            EXPECT_THAT(errors.texts[0], HasSubstr(inHeader ? "): Error writing header to file"
                                                            : "): Error writing data set to memory"));
        }
        catch (const InternalError& error)
        {
            EXPECT_EQ(error.message(), "Writing DataArray failed");
            EXPECT_EQ(error.condition(), "sdb::writeCompressed(*fp, reinterpret_cast<const char *>(data), "
                                         "sizeof(T) * num * numComp, compressionMethod)");
            EXPECT_EQ(error.source(), "visualization/src/scenegraph/io/SDBDataWriter");
        }
        EXPECT_EQ(disk.bytes(), whole.substr(0, n));
    }
}

TEST(SDBPolyDataWriterTest, cellsThatDoNotFitTakeTheCellDataWithThem)
{
    const auto data = triangle();
    data->SetLines(test::cellsOf({{0, 1}}));
    data->SetPolys(test::cellsOf({{0, 1, vtkIdType{1} << 31}}));
    test::FullDisk disk;
    vtkNew<SDBPolyDataWriter> writer;
    writer->SetOStream(&disk, VTK_BINARY);
    writer->SetInputData(data);
    const test::ReportedErrors errors(*writer);
    EXPECT_EQ(writer->Write(), 1);
    EXPECT_THAT(errors.texts, ElementsAre(MatchesRegex(
                                  "ERROR: In visualization/src/scenegraph/io/SDBDataWriter, line [0-9]+\n"
                                  "SDBPolyDataWriter \\(0x[0-9a-f]+\\): Cells are not written, nor any cell data: "
                                  "POLYGONS: value 2147483648 does not fit 4 bytes\n\n")));
    EXPECT_THAT(disk.bytes(), HasSubstr("\nLINES 1 3\n"));
    EXPECT_THAT(disk.bytes(), HasSubstr("\nPOINT_DATA 3\n"));
    EXPECT_THAT(disk.bytes(), testing::Not(HasSubstr("POLYGONS")));
    EXPECT_THAT(disk.bytes(), testing::Not(HasSubstr("CELL_DATA")));
}

TEST(SDBPolyDataWriterTest, cellsOf32And64BitsAreWrittenAlike)
{
    const auto data = triangle();
    const std::string wide = written(data);
    auto narrow = vtkSmartPointer<vtkCellArray>::New();
    narrow->Use32BitStorage();
    narrow->InsertNextCell({0, 1, 2});
    data->SetPolys(narrow);
    EXPECT_EQ(written(data), wide);
}

TEST(SDBPolyDataWriterTest, itIsAWriterOfPolyData)
{
    vtkNew<SDBPolyDataWriter> writer;
    for (const char* name : {"SDBPolyDataWriter", "SDBDataWriter", "vtkWriter", "vtkAlgorithm", "vtkObject"})
    {
        EXPECT_TRUE(writer->IsA(name)) << name;
    }
    EXPECT_STREQ(writer->GetClassName(), "SDBPolyDataWriter");
    EXPECT_EQ(writer->GetInput(), nullptr);
    const auto data = triangle();
    writer->SetInputData(data);
    EXPECT_EQ(writer->GetInput(), data);
    EXPECT_EQ(writer->GetInput(0), data);
    EXPECT_EQ(writer->GetInput(1), nullptr);

    // Without a stream there is nothing to write to; input of another type never arrives.
    const test::ReportedErrors errors(*writer);
    writer->Write();
    EXPECT_THAT(errors.texts, ElementsAre(HasSubstr("): Error writing header to file")));
    test::FullDisk disk;
    writer->SetOStream(&disk, VTK_BINARY);
    vtkNew<vtkImageData> image;
    writer->SetInputData(image);
    const test::ReportedErrors typeErrors(*writer->GetExecutive());
    writer->Write();
    EXPECT_FALSE(typeErrors.texts.empty());
    EXPECT_EQ(disk.bytes(), "");
}

} // namespace
