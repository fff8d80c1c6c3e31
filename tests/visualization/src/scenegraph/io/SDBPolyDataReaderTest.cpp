#include "scenegraph/io/SDBPolyDataReader.h"

#include "core/Error.h"
#include "support/BlockReading.h"
#include "support/DatasetBlocks.h"
#include "support/Golden.h"

#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <vtkCallbackCommand.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkDemandDrivenPipeline.h>
#include <vtkInformation.h>
#include <vtkInformationVector.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkPointData.h>

namespace
{

using test::block;
using test::cells;
using test::header;
using test::points;
using test::readBlock;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Messages = std::vector<std::string>;

TEST(SDBPolyDataReaderTest, readsTheExamplesOfTheFormatPage)
{
    const test::BlockReading triangle = readBlock(test::golden("dataset-triangle.bin"));
    EXPECT_THAT(triangle.messages, IsEmpty());
    EXPECT_EQ(triangle.output().GetPoint(2)[2], 0.5);
    EXPECT_EQ(triangle.output().GetNumberOfPolys(), 1);
    EXPECT_TRUE(triangle.output().GetPolys()->IsStorage64Bit());
    EXPECT_STREQ(triangle.reader->GetHeader(), "vtk output");
    EXPECT_EQ(triangle.output().GetCellData()->GetArray("cell id")->GetTuple1(0), 65535.0);
    EXPECT_EQ(triangle.output().GetPointData()->GetScalars("T")->GetTuple1(2), 1e300);

    const test::BlockReading attributes = readBlock(test::golden("dataset-attributes.bin"));
    EXPECT_THAT(attributes.messages, IsEmpty());
    vtkPointData* const data = attributes.output().GetPointData();
    EXPECT_EQ(data->GetNumberOfArrays(), 10);
    EXPECT_EQ(data->GetTensors()->GetComponent(0, 8), 3.0);
    EXPECT_EQ(data->GetArray("100%")->GetTuple1(0), -1.0);
    EXPECT_EQ(data->GetArray("flags")->GetTuple1(8), 1.0);
    EXPECT_EQ(data->GetScalars()->GetLookupTable()->GetTableValue(1)[3], 1.0);

    // Arrays that are neither bits nor ids are blocks even in ASCII, but read as text.
    const test::BlockReading text = readBlock(test::golden("dataset-text.bin"));
    EXPECT_EQ(text.messages.front(), "generic warning: Error reading ascii data!");
    EXPECT_EQ(text.output().GetFieldData()->GetArray("flags")->GetTuple1(3), 1.0);
}

struct MessageCase
{
    std::string bytes;
    Messages messages;
};

TEST(SDBPolyDataReaderTest, saysWhatIsWrongWithABlock)
{
    const std::string start = "# vtk DataFile Version 3.0\ntitle\n";
    const std::string prefix = header();
    const MessageCase cases[] = {
        {"", {"error: Premature EOF reading first line! "}},
        {"# vtk DataFile Vers\n", {"error: Unrecognized file type: # vtk DataFile Vers"}},
        {"# vtk DataFile Version 9.9\n", {"error: Premature EOF reading title! "}},
        {start, {"error: Premature EOF reading file type!"}},
        {start + "biN\nDATASET", {"error: Unrecognized file type: bin"}},
        {start + "BinarY\n", {"error: Data file ends prematurely!"}},
        {start + "BINARY Dataset", {"error: Data file ends prematurely!"}},
        {start + "BINARY DATASET Structured_Points", {"error: Cannot read dataset type: structured_points"}},
        {start + "BINARY POINTS", {"error: Unrecognized keyword: points"}},
        {prefix, {"warning: No points read!"}},
        {prefix + "POINTS 0 float\n", {}},
        {prefix + "Nothing 0", {"error: Unrecognized keyword: nothing"}},
        {prefix + "POINTS x", {"error: Cannot read number of points!"}},
        {prefix + "POINTS -1 float\n", {"error: Cannot read number of points!"}},
        {prefix + "POINTS 3", {"error: Cannot read points type!", "warning: No points read!"}},
        {prefix + "POINTS 1 vtkIdType\n", {"error: Unsupported data type: vtkidtype", "warning: No points read!"}},
        {prefix + points(1) + "VERTICES 1", {"error: Cannot read vertices!"}},
        {prefix + points(1) + "LINES x 2", {"error: Cannot read lines!"}},
        {prefix + points(1) + "POLYGONS 1 -2", {"error: Cannot read polygons!"}},
        {prefix + points(1) + "TRIANGLE_STRIPS -1 2", {"error: Cannot read triangle strips!"}},
        {prefix + points(1) + "CELL_DATA x", {"error: Cannot read cell data!"}},
        {prefix + points(1) + "POINT_DATA x", {"error: Cannot read point data!"}},
        {prefix + points(1) + "CELL_DATA 1\nSCALARS", {"error: Number of cells don't match number data values!"}},
        {prefix + "POINT_DATA 1\nSCALARS", {"error: Number of points don't match number data values!"}},
        {prefix + "POINT_DATA 0\n", {"warning: No points read!"}},
        {prefix + points(1) + "CELL_DATA 0 POINT_DATA 2", {"error: Number of points don't match number data values!"}},
        {prefix + points(1) + "POINT_DATA 1 CELL_DATA 1", {"error: Number of cells don't match number data values!"}},
        {prefix + points(1) + "POINT_DATA 1 CELL_DATA", {"error: Cannot read cell data!"}},
        {start + "BINARY POINT_DATA 0\n", {"warning: No geometry defined in data file!"}},
        {start + "BINARY CELL_DATA -1\n",
         {"warning: No geometry defined in data file!", "error: Cannot read cell data!"}},
        {prefix + "FIELD f 1\na 1 1 string\n" + points(1), {"error: Unsupported data type: string"}},
        {prefix + points(4).substr(0, 40), {"generic warning: Error reading binary data!"}},
    };
    for (const MessageCase& one : cases)
    {
        EXPECT_THAT(readBlock(one.bytes).messages, ElementsAreArray(one.messages)) << one.bytes;
    }
}

TEST(SDBPolyDataReaderTest, attributesWithoutGeometryAreReadAsTheyCome)
{
    const test::BlockReading reading =
        readBlock("# vtk DataFile Version 3.0\nt\nBINARY\nCELL_DATA 2\nSCALARS s int\nLOOKUP_TABLE default\n" +
                  block<int>({1, 2}) + "POINT_DATA 1\nNORMALS n float\n" + block<float>({0, 0, 1}));
    EXPECT_THAT(reading.messages, ElementsAre("warning: No geometry defined in data file!"));
    EXPECT_EQ(reading.output().GetCellData()->GetScalars()->GetTuple1(1), 2.0);
    EXPECT_EQ(reading.output().GetPointData()->GetNormals()->GetNumberOfTuples(), 1);
}

TEST(SDBPolyDataReaderTest, aFailedFieldLeavesTheFieldDataAlone)
{
    const auto nameField = [](tsg::SDBPolyDataReader& reader) { reader.SetFieldDataName("mine"); };
    const std::string field = " 1\na 1 1 int\n" + block<int>({7});
    const test::BlockReading reading =
        readBlock(header() + "FIELD mine" + field + "FIELD other" + field + points(1), nameField);
    EXPECT_THAT(reading.messages, IsEmpty());
    EXPECT_EQ(reading.output().GetFieldData()->GetArray("a")->GetTuple1(0), 7.0);
}

// --- Pipeline --------------------------------------------------------------------------------------------------------

class OverridingReader : public tsg::SDBPolyDataReader
{
public:
    static OverridingReader* New();
    vtkTypeMacro(OverridingReader, tsg::SDBPolyDataReader);
};

vtkStandardNewMacro(OverridingReader);

VTK_CREATE_CREATE_FUNCTION(OverridingReader);

class OverridingFactory : public vtkObjectFactory
{
public:
    OverridingFactory()
    {
        this->RegisterOverride("SDBPolyDataReader", "OverridingReader", "test", 1,
                               vtkObjectFactoryCreateOverridingReader);
    }

    const char* GetVTKSourceVersion() override { return VTK_SOURCE_VERSION; }

    const char* GetDescription() override { return "test"; }
};

TEST(SDBPolyDataReaderTest, isAWellBehavedPipelineSource)
{
    const vtkNew<tsg::SDBPolyDataReader> reader;
    EXPECT_STREQ(reader->GetClassName(), "SDBPolyDataReader");
    EXPECT_TRUE(reader->IsA("SDBDataReader") && reader->IsA("vtkAlgorithm") && reader->IsA("vtkObject"));
    EXPECT_EQ(reader->GetNumberOfInputPorts(), 0);
    EXPECT_EQ(reader->GetNumberOfOutputPorts(), 1);
    const vtkNew<vtkPolyData> mine;
    reader->SetOutput(mine);
    EXPECT_EQ(reader->GetOutput(), mine);
    const auto sibling = vtkSmartPointer<tsg::SDBPolyDataReader>::Take(reader->NewInstance());
    EXPECT_NE(sibling, nullptr);

    const auto factory = vtkSmartPointer<OverridingFactory>::Take(new OverridingFactory);
    vtkObjectFactory::RegisterFactory(factory);
    const vtkNew<tsg::SDBPolyDataReader> overridden;
    vtkObjectFactory::UnRegisterFactory(factory);
    EXPECT_STREQ(overridden->GetClassName(), "OverridingReader");
}

TEST(SDBPolyDataReaderTest, rereadsForAnotherStreamOnlyAndReportsProgress)
{
    const test::BlockReading reading = readBlock(header() + points(1));
    reading.reader->SetIStream(nullptr);
    {
        test::ReportedErrors reported(*reading.reader);
        reading.reader->Update();
        EXPECT_THAT(reported.messages, ElementsAre("error: Premature EOF reading first line! "));
        EXPECT_EQ(reading.output().GetPoints(), nullptr);
    }
    std::vector<double> progress;
    vtkNew<vtkCallbackCommand> watch;
    watch->SetClientData(&progress);
    watch->SetCallback(
        [](vtkObject* reader, unsigned long, void* seen, void*)
        { static_cast<std::vector<double>*>(seen)->push_back(static_cast<vtkAlgorithm*>(reader)->GetProgress()); });
    reading.reader->AddObserver(vtkCommand::ProgressEvent, watch);
    const std::string bytes = header() + points(2) + cells("VERTICES", 1, {1, 0});
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    reading.reader->SetIStream(&stream);
    reading.reader->Update();
    reading.reader->Update();
    EXPECT_EQ(reading.output().GetNumberOfCells(), 1);
    EXPECT_THAT(progress, ElementsAre(0.0, 0.5, 0.75, 1.0));
}

/// Reads a block whose progress events end in a throw of `Exception`.
template <class Exception>
void readThrowing(tsg::SDBPolyDataReader& reader)
{
    // VTK does not give back its own reference to a command that was left by an exception.
    static vtkCallbackCommand* const thrower = vtkCallbackCommand::New();
    thrower->SetCallback(
        [](vtkObject* source, unsigned long, void*, void*)
        {
            const double progress = static_cast<vtkAlgorithm*>(source)->GetProgress();
            if (progress > 0.0 && progress < 1.0)
            {
                throw Exception();
            }
        });
    reader.AddObserver(vtkCommand::ProgressEvent, thrower);
    const std::string bytes = header() + cells("VERTICES", 1, {1, 9}) + points(1);
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    reader.SetIStream(&stream);
    reader.Update();
}

struct Cancelled
{
};

TEST(SDBPolyDataReaderTest, onlyForeignExceptionsLeaveARun)
{
    {
        const vtkNew<tsg::SDBPolyDataReader> reader;
        test::ReportedErrors reported(*reader);
        readThrowing<std::bad_alloc>(*reader);
        EXPECT_THAT(reported.messages, ElementsAre("error: Not enough memory for the data!"));
        EXPECT_EQ(reader->GetOutput()->GetNumberOfCells(), 0);
    }
    const vtkNew<tsg::SDBPolyDataReader> reader;
    test::ReportedErrors reported(*reader);
    EXPECT_THROW(readThrowing<Cancelled>(*reader), Cancelled);
    EXPECT_EQ(reader->GetOutput()->GetNumberOfCells(), 0);
}

TEST(SDBPolyDataReaderTest, aForeignOutputIsABrokenInvariant)
{
    const vtkNew<tsg::SDBPolyDataReader> reader;
    const std::string bytes = header();
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    reader->SetIStream(&stream);
    const vtkNew<vtkInformation> request;
    request->Set(vtkDemandDrivenPipeline::REQUEST_DATA());
    const vtkNew<vtkInformationVector> output;
    output->Append(vtkNew<vtkInformation>());
    try
    {
        reader->ProcessRequest(request, nullptr, output);
        FAIL() << "no exception";
    }
    catch (const InternalError& error)
    {
        EXPECT_EQ(error.message(), "Output can't be null");
        EXPECT_EQ(error.condition(), "output");
        EXPECT_EQ(error.source(), "visualization/src/scenegraph/io/SDBPolyDataReader");
    }
}

} // namespace
