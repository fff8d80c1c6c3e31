#include "scenegraph/io/SceneGraphPolyDataWriter.h"

#include "support/Datasets.h"
#include "support/FileSizeLimit.h"
#include "support/ForeignNumbers.h"
#include "support/FullDisk.h"
#include "support/ReportedErrors.h"
#include "support/TemporaryDirectory.h"

#include <clocale>

#include <vtkErrorCode.h>
#include <vtkFloatArray.h>
#include <vtkPolyDataReader.h>
#include <vtkPolyDataWriter.h>
#include <vtkSOADataArrayTemplate.h>

namespace
{

using namespace test;
using Writer = tsg::SceneGraphPolyDataWriter;

/// What a writer makes of a dataset as a string.
template <class AnyWriter>
std::string stringOf(AnyWriter& writer, vtkPolyData* data)
{
    writer.WriteToOutputStringOn();
    writer.SetInputData(data);
    writer.Write();
    writer.Update();
    return {writer.GetOutputString(), static_cast<std::size_t>(writer.GetOutputStringLength())};
}

/// The text or bytes of a dataset that is written without an error.
std::string written(vtkPolyData* data, int fileType = VTK_ASCII)
{
    const vtkNew<Writer> writer;
    const ReportedErrors errors(*writer);
    writer->SetFileType(fileType);
    std::string text = stringOf(*writer, data);
    EXPECT_THAT(errors.texts, IsEmpty());
    EXPECT_EQ(writer->GetErrorCode(), 0U);
    return text;
}

/// The text of VTK's own writer, with the version of the format that is written here.
std::string stockText(vtkPolyData* data)
{
    const vtkNew<vtkPolyDataWriter> writer;
    writer->SetFileVersion(vtkDataWriter::VTK_LEGACY_READER_VERSION_4_2);
    writer->SetWriteArrayMetaData(false);
    std::string text = stringOf(*writer, data);
    return text.replace(text.find("4.2"), 3, "3.0");
}

/// What VTK's own reader makes of a file, without an error.
vtkSmartPointer<vtkPolyData> readByVtk(const std::string& bytes)
{
    const vtkNew<vtkPolyDataReader> reader;
    const ReportedErrors errors(*reader);
    reader->ReadFromInputStringOn();
    reader->SetBinaryInputString(bytes.data(), static_cast<int>(bytes.size()));
    reader->Update();
    EXPECT_THAT(errors.texts, IsEmpty()) << bytes;
    return reader->GetOutput();
}

vtkSmartPointer<vtkPolyData> pointsWith(vtkDataArray* scalars)
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(pointsOf(VTK_FLOAT, std::vector<double>(scalars->GetNumberOfTuples() * 3, 0.1)));
    data->GetPointData()->SetScalars(scalars);
    return data;
}

/// Every section, and arrays of all types that both writers have.
vtkSmartPointer<vtkPolyData> everything()
{
    auto data = withAllArrays(allCellKinds(), {VTK_BIT, VTK_CHAR, VTK_UNSIGNED_CHAR, VTK_SHORT, VTK_UNSIGNED_SHORT,
                                               VTK_INT, VTK_UNSIGNED_INT, VTK_FLOAT, VTK_DOUBLE, VTK_ID_TYPE});
    data->SetPoints(pointsOf(VTK_FLOAT, {0.1, -0.0, 1e20, 1e-7, 1 / 3.0, 123456789, 2.5, -1, 0, 1, 1, 1, 2, 2, 2}));
    for (vtkDataSetAttributes* const set :
         {data->GetAttributes(vtkDataObject::POINT), data->GetAttributes(vtkDataObject::CELL)})
    {
        set->GetScalars()->SetName("rgb"); // VTK's writer encodes the names of colours twice
    }
    return data;
}

std::vector<vtkSmartPointer<vtkPolyData>> datasets()
{
    std::vector<vtkSmartPointer<vtkPolyData>> all{everything(), triangle(), onePoint(),
                                                  vtkSmartPointer<vtkPolyData>::New()};
    for (const int values : {1, 8, 9, 10, 18})
    {
        all.push_back(pointsWith(counting(VTK_INT, "lines of nine", values, 1)));
        all.push_back(pointsWith(counting(VTK_BIT, "lines of eight", values, 1)));
    }
    for (const int components : {1, 2, 3, 4, 5})
    {
        all.push_back(pointsWith(counting(VTK_UNSIGNED_CHAR, "colours", 6, components, 50)));
        all.push_back(pointsWith(counting(VTK_FLOAT, "scalars", 2, components)));
        all.back()->GetPointData()->GetScalars()->SetLookupTable(tableOf({{1, 0, 0, 1}, {0, 0, 128 / 255.0, 1}}));
    }
    auto unnamed = vtkSmartPointer<vtkPolyData>::New();
    unnamed->SetPoints(pointsOf(VTK_SHORT, {1, 2, 3}));
    unnamed->GetPointData()->SetVectors(arrayOf(VTK_FLOAT, nullptr, 3, {1, 2, 3}));
    unnamed->GetPointData()->SetTensors(arrayOf(VTK_FLOAT, nullptr, 9, {1, 2, 3, 4, 5, 6, 7, 8, 9}));
    unnamed->GetPointData()->AddArray(arrayOf(VTK_INT, nullptr, 1, {1}));
    unnamed->GetFieldData()->AddArray(arrayOf(VTK_INT, "", 1, {1}));
    unnamed->GetFieldData()->AddArray(arrayOf(VTK_INT, "empty", 3, {}));
    all.push_back(unnamed);
    const vtkNew<vtkSOADataArrayTemplate<float>> apart; // in memory
    apart->DeepCopy(counting(VTK_FLOAT, "scalars", 4, 3));
    all.push_back(pointsWith(apart));
    auto noPoints = vtkSmartPointer<vtkPolyData>::New();
    noPoints->SetPoints(vtkNew<vtkPoints>());
    all.push_back(noPoints);
    return all;
}

TEST(SceneGraphPolyDataWriterTest, textIsThatOfVtksOwnWriter)
{
    for (const auto& data : datasets())
    {
        EXPECT_EQ(written(data), stockText(data));
    }
}

TEST(SceneGraphPolyDataWriterTest, textIsOurOwnWhereVtkWritesAnotherVersion)
{
    auto data = onePoint();
    data->SetPoints(pointsOf(VTK_DOUBLE, {1 / 3.0, std::numeric_limits<double>::quiet_NaN(), -1e300}));
    data->GetPointData()->SetTensors(arrayOf(VTK_FLOAT, "t", 6, {1, 2, 3, 4, 5, 6}));
    data->GetPointData()->AddArray(arrayOf(VTK_LONG, "l", 1, {-7}));
    data->GetPointData()->AddArray(arrayOf(VTK_UNSIGNED_LONG, "100 %", 1, {4294967295.0}));
    data->GetPointData()->AddArray(arrayOf(VTK_INT, "metadata of mine", 1, {1})); // begins like a keyword
    const vtkNew<vtkStringArray> words;
    words->SetName("words");
    words->InsertNextValue("w");
    data->GetFieldData()->AddArray(words);
    EXPECT_EQ(written(data), "# vtk DataFile Version 3.0\nvtk output\nASCII\nDATASET POLYDATA\n"
                             "FIELD FieldData 1\nNULL_ARRAY\n"
                             "POINTS 1 double\n0.333333 nan -1e+300 \n"
                             "POINT_DATA 1\nTENSORS t float\n1 4 6 4 2 5 6 5 3 \n\n"
                             "FIELD FieldData 3\nl 1 1 long\n-7 \n100%20%25 1 1 unsigned_long\n4294967295 \n"
                             "%6Detadata%20of%20mine 1 1 int\n1 \n");
}

TEST(SceneGraphPolyDataWriterTest, binaryValuesAreBigEndianWithFourBytesForLong)
{
    auto data = triangle();
    data->SetPoints(pointsOf(VTK_SHORT, {1, 2, 3, 4, 5, 6, 7, 8, 258}));
    data->GetPointData()->SetScalars(arrayOf(VTK_UNSIGNED_CHAR, "c", 1, {65, 66, 67}));
    data->GetPointData()->GetScalars()->SetLookupTable(tableOf({{0, 0, 0, 1}, {1, 0, 0, 1}}));
    data->GetPointData()->AddArray(arrayOf(VTK_LONG, "l", 1, {-2, 1, 258}));
    data->GetPointData()->AddArray(arrayOf(VTK_DOUBLE, "d", 1, {1, 0, 0}));
    data->GetFieldData()->AddArray(counting(VTK_BIT, "bits", 5, 2));
    data->GetFieldData()->AddArray(counting(VTK_BIT, "none", 0, 1));
    using namespace std::string_literals;
    EXPECT_EQ(written(data, VTK_BINARY),
              "# vtk DataFile Version 3.0\nvtk output\nBINARY\nDATASET POLYDATA\n"
              "FIELD FieldData 2\nbits 2 5 bit\n\x92\x40\nnone 1 0 bit\n\n"
              "POINTS 3 short\n\0\1\0\2\0\3\0\4\0\5\0\6\0\7\0\10\1\2\n"
              "POLYGONS 1 4\n\0\0\0\3\0\0\0\0\0\0\0\1\0\0\0\2\n"
              "POINT_DATA 3\nCOLOR_SCALARS c 1\nABC\nLOOKUP_TABLE lookup_table 2\n\0\0\0\xff\xff\0\0\xff\n"
              "FIELD FieldData 2\nl 1 3 long\n\xff\xff\xff\xfe\0\0\0\1\0\0\1\2\n"
              "d 1 3 double\n\x3f\xf0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\n"s);
}

TEST(SceneGraphPolyDataWriterTest, vtkReadsWhatIsWritten)
{
    for (const int fileType : {VTK_ASCII, VTK_BINARY})
    {
        for (const auto& data : datasets())
        {
            const std::string bytes = written(data, fileType);
            const auto read = readByVtk(bytes);
            if (data->GetPoints() != nullptr) // VTK's reader makes points where there are none
            {
                EXPECT_EQ(written(read, fileType), bytes);
            }
        }
    }
}

TEST(SceneGraphPolyDataWriterTest, neitherLocaleNorFlagsOfTheStreamShow)
{
    const auto data = everything();
    const std::string text = written(data);
    const std::locale before = std::locale::global(ForeignNumbers::locale());
    const std::string numbers = std::setlocale(LC_NUMERIC, nullptr);
    std::ostringstream out;
    out << std::hex << std::showpos << std::scientific;
    out.width(9);
    const vtkNew<Writer> writer;
    writer->SetOStream(&out, VTK_ASCII);
    writer->SetInputData(data);
    EXPECT_EQ(writer->Write(), 1);
    std::locale::global(before);
    EXPECT_EQ(out.str(), text);
    EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), numbers);
}

/// Values that memory does not suffice for, once they are looked at.
struct LastStraw : vtkFloatArray
{
    static LastStraw* New() { VTK_STANDARD_NEW_BODY(LastStraw); }

    void* GetVoidPointer(vtkIdType) override { throw std::bad_alloc(); }
};

/// Finds no memory for the text when its stream is closed.
struct NoRoomAtTheEnd : Writer
{
    static NoRoomAtTheEnd* New() { VTK_STANDARD_NEW_BODY(NoRoomAtTheEnd); }

    void CloseVTKFile(std::ostream* fp) override
    {
        closed += fp != nullptr ? 1 : 0;
        Writer::CloseVTKFile(fp);
        throw std::bad_alloc();
    }

    int closed = 0;
};

TEST(SceneGraphPolyDataWriterTest, anExceptionLeavesNoOpenFileAndNoPartOfOne)
{
    const TemporaryDirectory directory;
    auto data = onePoint();
    const vtkNew<LastStraw> array;
    array->SetName("a");
    array->InsertNextValue(1);
    data->GetPointData()->AddArray(array);
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openFiles();
    for (const int toString : {0, 1})
    {
        const vtkNew<Writer> writer;
        writer->SetFileName(directory.file("f.vtk").narrow.c_str());
        writer->SetWriteToOutputString(toString);
        writer->SetInputData(data);
        EXPECT_THROW(writer->Write(), std::bad_alloc);
        EXPECT_EQ(openFiles(), before);
        EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    }
    const vtkNew<NoRoomAtTheEnd> writer;
    writer->WriteToOutputStringOn();
    writer->SetInputData(onePoint());
    EXPECT_THROW(writer->Write(), std::bad_alloc);
    EXPECT_EQ(writer->closed, 1);
}

TEST(SceneGraphPolyDataWriterTest, theStreamComesBeforeTheStringAndTheStringBeforeTheFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("grid.vtk").narrow;
    const auto data = triangle();
    const std::string text = written(data);
    const vtkNew<Writer> writer;
    writer->SetFileName(path.c_str());
    writer->SetInputData(data);
    EXPECT_EQ(writer->Write(), 1);
    EXPECT_EQ(bytesOf(path), text);
    std::filesystem::remove(path);

    EXPECT_EQ(stringOf(*writer, data), text);
    EXPECT_EQ(writer->GetBinaryOutputString()[text.size()], 0);
    const std::unique_ptr<char[]> owned(writer->RegisterAndGetOutputString());
    EXPECT_EQ(owned.get(), text);
    EXPECT_EQ(writer->GetOutputStringLength(), 0);
    EXPECT_EQ(writer->RegisterAndGetOutputString(), nullptr);

    std::ostringstream out;
    writer->SetOStream(&out, 7);
    EXPECT_EQ(writer->GetFileType(), VTK_BINARY);
    writer->SetFileType(0);
    EXPECT_EQ(writer->GetFileType(), VTK_ASCII);
    EXPECT_EQ(writer->Write(), 1);
    EXPECT_EQ(out.str(), text);
    EXPECT_EQ(writer->GetOutputStringLength(), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(SceneGraphPolyDataWriterTest, whatCannotBeOpenedIsReported)
{
    const TemporaryDirectory directory;
    const vtkNew<Writer> writer;
    const ReportedErrors errors(*writer);
    writer->SetInputData(triangle());
    EXPECT_EQ(writer->Write(), 0);
    EXPECT_EQ(writer->GetErrorCode(), vtkErrorCode::NoFileNameError);
    writer->SetFileName(directory.path().c_str());
    EXPECT_EQ(writer->Write(), 0);
    EXPECT_EQ(writer->GetErrorCode(), vtkErrorCode::CannotOpenFileError);
    const vtkNew<tsg::SceneGraphDataWriter> general;
    const ReportedErrors generalErrors(*general);
    general->WriteToOutputStringOn();
    EXPECT_EQ(general->OpenVTKFile(), nullptr);
    general->SetInputData(triangle());
    general->Write();
    EXPECT_THAT(errors.texts,
                ElementsAre(MatchesRegex("ERROR: In visualization/src/scenegraph/io/SceneGraphDataWriter[.a-z]*, line "
                                         "144\nSceneGraphPolyDataWriter .0x[0-9a-f]+.: No FileName specified! Can't "
                                         "write!\n\n"),
                            HasSubstr("line 191\nSceneGraphPolyDataWriter (")));
    EXPECT_EQ(errors.messages.back(), "error: Unable to open file: " + directory.path());
    EXPECT_THAT(generalErrors.texts, ElementsAre(HasSubstr("line 164\nSceneGraphDataWriter ("),
                                                 HasSubstr("line 1143\nSceneGraphDataWriter (")));
}

TEST(SceneGraphPolyDataWriterTest, aDiskThatFillsUpIsNoticedAtEveryByteAndItsFileIsRemoved)
{
    const TemporaryDirectory directory;
    const std::string path = directory.file("grid.vtk").narrow;
    const auto data = everything();
    const std::string text = written(data);
    const std::size_t header = text.find("DATASET");
    for (std::size_t room = 0; room < text.size(); room += 13)
    {
        const vtkNew<Writer> writer;
        const ReportedErrors errors(*writer);
        writer->SetInputData(data);
        const std::string place = room < header ? "line 30\n" : "line 101\n";
        {
            writer->SetFileName(path.c_str());
            const FileSizeLimit limit(room);
            EXPECT_EQ(writer->Write(), 0) << room;
        }
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_EQ(writer->GetErrorCode(), vtkErrorCode::OutOfDiskSpaceError);

        writeBytes(path, "of somebody else");
        FullDisk disk(room);
        writer->SetOStream(&disk, VTK_ASCII);
        EXPECT_EQ(writer->Write(), 0);
        EXPECT_EQ(bytesOf(path), "of somebody else");
        FullDisk another(room);
        writer->SetOStream(&another, VTK_ASCII);
        writer->SetFileName(nullptr);
        EXPECT_EQ(writer->Write(), 0);
        const std::string lost = "error: Ran out of disk space; deleting file: " + path;
        EXPECT_THAT(errors.messages, ElementsAre(lost, lost,
                                                 room < header ? "error: Could not read memory header. "
                                                               : "error: Error writing data set to memory"));
        EXPECT_THAT(errors.texts[0], HasSubstr(place));
    }
}

TEST(SceneGraphPolyDataWriterTest, whatTheFormatCannotHoldIsReportedAndLeftOut)
{
    auto data = triangle();
    vtkPointData* const attributes = data->GetPointData();
    attributes->SetScalars(arrayOf(VTK_LONG_LONG, "wide", 1, {1, 2, 3}));
    attributes->SetVectors(arrayOf(VTK_FLOAT, "short", 3, {1, 2, 3}));
    attributes->AddArray(arrayOf(VTK_LONG, "beyond", 1, {5e9, 0, 0}));
    attributes->AddArray(arrayOf(VTK_SIGNED_CHAR, "signed", 1, {1, 2, 3}));
    attributes->AddArray(arrayOf(VTK_INT, std::string(300, '%').c_str(), 1, {1, 2, 3}));
    auto cells = triangle();
    cells->SetPolys(cellsOf({{0, 1, 5000000000}}));
    cells->GetCellData()->AddArray(arrayOf(VTK_INT, "of cells", 1, {1}));

    const vtkNew<Writer> writer;
    const ReportedErrors errors(*writer);
    std::string name; // 85 escapes of 3 bytes, since no token has more than 255
    for (int i = 0; i < 85; ++i)
    {
        name += "%25";
    }
    EXPECT_THAT(stringOf(*writer, data), EndsWith("POINT_DATA 3\nFIELD FieldData 1\n" + name + " 1 3 int\n1 2 3 \n"));
    EXPECT_THAT(errors.messages,
                ElementsAre("error: Type currently not supported",
                            "error: Array is not written: \"short\": it holds 3 values where 9 are expected",
                            "error: Array is not written: \"beyond\": value 5000000000 does not fit 4 bytes",
                            "error: Type currently not supported"));
    EXPECT_TRUE(writer->HasLeftOut());
    stringOf(*writer, triangle());
    EXPECT_FALSE(writer->HasLeftOut());
    EXPECT_THAT(stringOf(*writer, cells), AllOf(Not(HasSubstr("POLYGONS")), Not(HasSubstr("CELL_DATA"))));
    EXPECT_THAT(errors.messages.back(), HasSubstr("POLYGONS: value 5000000000 does not fit 4 bytes"));

    data->SetPoints(pointsOf(VTK_LONG, {5e9, 0, 0}));
    EXPECT_THAT(stringOf(*writer, data), EndsWith("DATASET POLYDATA\n"));
    EXPECT_EQ(writer->GetErrorCode(), vtkErrorCode::FileFormatError);
    EXPECT_EQ(errors.messages.back(), "error: Error writing data set to memory");
}

/// An in-memory stream that claims to hold 2 GiB.
struct LongString : std::stringstream
{
    struct Buffer : std::stringbuf
    {
        pos_type seekoff(off_type, std::ios::seekdir, std::ios::openmode) override { return off_type{INT32_MAX} + 1; }
    };

    LongString() { static_cast<std::ios&>(*this).rdbuf(&buffer); }

    Buffer buffer;
};

TEST(SceneGraphPolyDataWriterTest, aStringOf2GiBIsRefused)
{
    const vtkNew<Writer> writer;
    const ReportedErrors errors(*writer);
    writer->WriteToOutputStringOn();
    writer->CloseVTKFile(new LongString);
    EXPECT_EQ(writer->GetOutputString(), nullptr);
    EXPECT_EQ(writer->GetOutputStringLength(), 0);
    EXPECT_EQ(writer->GetErrorCode(), vtkErrorCode::FileFormatError);
    EXPECT_THAT(errors.messages, ElementsAre("error: The output string takes 2 GiB or more"));
}

/// Opens the operations for subclasses.
struct OpenWriter : tsg::SceneGraphDataWriter
{
    static OpenWriter* New() { VTK_STANDARD_NEW_BODY(OpenWriter); }

    using SceneGraphDataWriter::WriteArray;
    using SceneGraphDataWriter::WriteScalarData;
};

TEST(SceneGraphPolyDataWriterTest, sectionsCanBeWrittenByThemselves)
{
    const vtkNew<OpenWriter> writer;
    const ReportedErrors errors(*writer);
    const auto array = arrayOf(VTK_INT, "a", 2, {1, 2, 3, 4});
    std::ostringstream out;
    for (const int axis : {0, 1, 7})
    {
        EXPECT_EQ(writer->WriteCoordinates(&out, floats("x", {1.5}), axis), 1);
    }
    EXPECT_EQ(writer->WriteArray(&out, VTK_INT, array, "50%% of %s\n", 1, 2), 1);
    EXPECT_EQ(writer->WriteCells(&out, nullptr, "LINES"), 1);
    EXPECT_EQ(out.str(), "X_COORDINATES 1 float\n1.5 \nY_COORDINATES 1 float\n1.5 \nZ_COORDINATES 1 float\n1.5 \n"
                         "50% of int\n1 2 \n");
    EXPECT_EQ(writer->WriteArray(&out, VTK_FLOAT, array, "%s\n", 1, 2), 0);
    EXPECT_EQ(writer->WriteArray(&out, VTK_INT, array, "%s\n", 3, 2), 0);
    EXPECT_THAT(errors.messages,
                ElementsAre("error: Type currently not supported",
                            "error: Array is not written: \"a\": it holds 4 values where 6 are expected"));
    const int withoutStream[] = {writer->WriteHeader(nullptr), writer->WritePoints(nullptr, nullptr),
                                 writer->WriteFieldData(nullptr, nullptr), writer->WritePointData(nullptr, onePoint()),
                                 writer->WriteScalarData(nullptr, array, 1)};
    EXPECT_THAT(withoutStream, Each(0));
}

} // namespace
