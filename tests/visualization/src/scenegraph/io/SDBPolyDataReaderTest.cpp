#include "scenegraph/io/SDBPolyDataReader.h"

#include "support/BlockReading.h"
#include "support/FullDisk.h"
#include "support/Golden.h"

#include <new>
#include <typeinfo>

namespace
{

using namespace test;

TEST(SDBPolyDataReaderTest, readsTheExamplesOfTheFormatPage)
{
    const BlockReading triangle = readBlock(golden("dataset-triangle.bin"));
    EXPECT_THAT(triangle.messages, IsEmpty());
    EXPECT_EQ(triangle.output().GetPoint(2)[2], 0.5);
    EXPECT_EQ(triangle.output().GetNumberOfPolys(), 1);
    EXPECT_TRUE(triangle.output().GetPolys()->IsStorage64Bit());
    EXPECT_STREQ(triangle.reader->GetHeader(), "vtk output");
    EXPECT_EQ(triangle.output().GetCellData()->GetArray("cell id")->GetTuple1(0), 65535.0);
    EXPECT_EQ(triangle.output().GetPointData()->GetScalars("T")->GetTuple1(2), 1e300);

    const BlockReading attributes = readBlock(golden("dataset-attributes.bin"));
    EXPECT_THAT(attributes.messages, IsEmpty());
    vtkPointData& data = attributes.pointData();
    EXPECT_EQ(data.GetNumberOfArrays(), 10);
    EXPECT_EQ(data.GetTensors()->GetComponent(0, 8), 3.0);
    EXPECT_EQ(data.GetArray("100%")->GetTuple1(0), -1.0);
    EXPECT_EQ(data.GetArray("flags")->GetTuple1(8), 1.0);
    EXPECT_EQ(data.GetScalars()->GetLookupTable()->GetTableValue(1)[3], 1.0);

    // Arrays that are neither bits nor ids are blocks even in ASCII, but read as text.
    const BlockReading text = readBlock(golden("dataset-text.bin"));
    EXPECT_EQ(text.messages.front(), "generic warning: Error reading ascii data!");
    EXPECT_EQ(text.output().GetFieldData()->GetArray("flags")->GetTuple1(3), 1.0);
}

TEST(SDBPolyDataReaderTest, saysWhatIsWrongWithABlock)
{
    const std::string start = "# vtk DataFile Version 3.0\ntitle\n", empty = header(), one = empty + points(1);
    const std::string noPoints = "warning: No points read!", noGeometry = "warning: No geometry defined in data file!";
    const std::string badCells = "error: Cannot read cell data!", badType = "error: Unsupported data type: ";
    const std::string cellCount = "error: Number of cells don't match number data values!";
    const std::string pointCount = "error: Number of points don't match number data values!";
    expectMessages({
        {"", {"error: Premature EOF reading first line! "}},
        {"# vtk DataFile Vers\n", {"error: Unrecognized file type: # vtk DataFile Vers"}},
        {"# vtk DataFile Version 9.9\n", {"error: Premature EOF reading title! "}},
        {start, {"error: Premature EOF reading file type!"}},
        {start + "biN\nDATASET", {"error: Unrecognized file type: bin"}},
        {start + "BinarY\n", {"error: Data file ends prematurely!"}},
        {start + "BINARY Dataset", {"error: Data file ends prematurely!"}},
        {start + "BINARY DATASET Structured_Points", {"error: Cannot read dataset type: structured_points"}},
        {start + "BINARY POINTS", {"error: Unrecognized keyword: points"}},
        {empty, {noPoints}},
        {empty + "POINTS 0 float\n"},
        {empty + "Nothing 0", {"error: Unrecognized keyword: nothing"}},
        {empty + "POINTS x", {"error: Cannot read number of points!"}},
        {empty + "POINTS -1 float\n", {"error: Cannot read number of points!"}},
        {empty + "POINTS 3", {"error: Cannot read points type!", noPoints}},
        {empty + "POINTS 1 vtkIdType\n", {badType + "vtkidtype", noPoints}},
        {one + "VERTICES 1", {"error: Cannot read vertices!"}},
        {one + "LINES x 2", {"error: Cannot read lines!"}},
        {one + "POLYGONS 1 -2", {"error: Cannot read polygons!"}},
        {one + "TRIANGLE_STRIPS -1 2", {"error: Cannot read triangle strips!"}},
        {one + "CELL_DATA x", {badCells}},
        {one + "POINT_DATA x", {"error: Cannot read point data!"}},
        {one + "CELL_DATA 1\nSCALARS", {cellCount}},
        {empty + "POINT_DATA 1\nSCALARS", {pointCount}},
        {empty + "POINT_DATA 0\n", {noPoints}},
        {one + "CELL_DATA 0 POINT_DATA 2", {pointCount}},
        {one + "POINT_DATA 1 CELL_DATA 1", {cellCount}},
        {one + "POINT_DATA 1 CELL_DATA", {badCells}},
        {start + "BINARY POINT_DATA 0\n", {noGeometry}},
        {start + "BINARY CELL_DATA -1\n", {noGeometry, badCells}},
        {empty + "FIELD f 1\na 1 1 string\n" + points(1), {badType + "string"}},
        {empty + points(4).substr(0, 40), {"generic warning: Error reading binary data!"}},
    });
}

TEST(SDBPolyDataReaderTest, attributesWithoutGeometryAreReadAsTheyCome)
{
    const BlockReading reading =
        readBlock("# vtk DataFile Version 3.0\nt\nBINARY\nCELL_DATA 2\nSCALARS s int\nLOOKUP_TABLE default\n" +
                  block<int>({1, 2}) + "POINT_DATA 1\nNORMALS n float\n" + block<float>({0, 0, 1}));
    EXPECT_THAT(reading.messages, ElementsAre("warning: No geometry defined in data file!"));
    EXPECT_THAT(valuesOf(reading.output().GetCellData()->GetScalars()), ElementsAre(1, 2));
    EXPECT_THAT(valuesOf(reading.pointData().GetNormals()), ElementsAre(0, 0, 1));
}

TEST(SDBPolyDataReaderTest, aFailedFieldLeavesTheFieldDataAlone)
{
    const std::string field = " 1\na 1 1 int\n" + block<int>({7});
    const BlockReading reading = readBlock(header() + "FIELD mine" + field + "FIELD other" + field + points(1),
                                           [](auto& reader) { reader.SetFieldDataName("mine"); });
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_THAT(valuesOf(reading.output().GetFieldData()->GetArray("a")), ElementsAre(7));
}

// --- Pipeline --------------------------------------------------------------------------------------------------------

/// Hands the progress of a reader on.
struct OnProgress : vtkCommand
{
    static OnProgress* New() { return new OnProgress; }

    void Execute(vtkObject* reader, unsigned long, void*) override
    {
        receive(static_cast<vtkAlgorithm*>(reader)->GetProgress());
    }

    std::function<void(double)> receive;
};

TEST(SDBPolyDataReaderTest, rereadsForAnotherStreamOnlyAndReportsProgress)
{
    const BlockReading reading = readBlock(header() + points(1));
    reading.reader->SetIStream(nullptr);
    const ReportedErrors reported(*reading.reader);
    reading.reader->Update();
    EXPECT_THAT(reported.messages, ElementsAre("error: Premature EOF reading first line! "));
    EXPECT_EQ(reading.output().GetPoints(), nullptr);
    std::vector<double> progress;
    const vtkNew<OnProgress> keep;
    keep->receive = [&](double value) { progress.push_back(value); };
    reading.reader->AddObserver(vtkCommand::ProgressEvent, keep);
    const std::string bytes = header() + points(2) + cells("VERTICES", 1, {1, 0});
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    reading.reader->SetIStream(&stream);
    reading.reader->Update();
    reading.reader->Update();
    EXPECT_EQ(reading.output().GetNumberOfCells(), 1);
    EXPECT_THAT(progress, ElementsAre(0.0, 0.5, 0.75, 1.0));
}

/// Reads a block; the progress on the way ends in a throw of `Exception`.
template <class Exception>
BlockReading readThrowing(vtkSmartPointer<tsg::SDBPolyDataReader>& reader)
{
    // VTK does not give back its own reference to a command that was left by an exception.
    static const auto* const thrower = new vtkNew<OnProgress>;
    (*thrower)->receive = [](double progress)
    {
        if (progress > 0.0 && progress < 1.0)
        {
            throw Exception();
        }
    };
    return readBlock(header() + cells("VERTICES", 1, {1, 9}) + points(1),
                     [&](tsg::SDBPolyDataReader& used)
                     {
                         reader = &used;
                         used.AddObserver(vtkCommand::ProgressEvent, *thrower);
                     });
}

TEST(SDBPolyDataReaderTest, streamsThatCannotSeekAreReadAsFarAsTheyGo)
{
    const std::vector<float> values(5000000, 1.5F);
    for (const auto method : {tsg::CompressionMethods::None, tsg::CompressionMethods::Zlib})
    {
        OneWayStream in(header() + points(1) + "FIELD f 1\nlarge 1 5000000 float\n" + block(values, method));
        const vtkNew<tsg::SDBPolyDataReader> reader;
        reader->SetIStream(&in);
        reader->Update();
        vtkDataArray* const array = reader->GetOutput()->GetFieldData()->GetArray("large");
        ASSERT_NE(array, nullptr);
        EXPECT_EQ(array->GetTuple1(4999999), 1.5);
    }
    const LogCapture log;
    OneWayStream lie(header() + "POINTS 500000000 float\n" + std::string(1, '\0') + "few bytes");
    const vtkNew<tsg::SDBPolyDataReader> reader;
    const ReportedErrors reported(*reader);
    reader->SetIStream(&lie);
    reader->Update();
    EXPECT_EQ(reader->GetOutput()->GetNumberOfPoints(), 0);
}

TEST(SDBPolyDataReaderTest, onlyForeignExceptionsLeaveARun)
{
    vtkSmartPointer<tsg::SDBPolyDataReader> reader;
    EXPECT_THAT(readThrowing<std::bad_alloc>(reader).messages, ElementsAre("error: Not enough memory for the data!"));
    EXPECT_EQ(reader->GetOutput()->GetNumberOfCells(), 0);
    EXPECT_THROW(readThrowing<std::bad_cast>(reader), std::bad_cast);
    EXPECT_EQ(reader->GetOutput()->GetNumberOfCells(), 0);
}

} // namespace
