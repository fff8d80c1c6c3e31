#include "scenegraph/io/SDBDataWriter.h"

#include "scenegraph/io/SDB.h"
#include "support/Datasets.h"
#include "support/FullDisk.h"
#include "support/ReportedErrors.h"

#include <numeric>

#include <vtkObjectFactory.h>
#include <vtkSOADataArrayTemplate.h>

namespace
{

using namespace test;

/// Opens the operations for subclasses.
class Writer : public tsg::SDBDataWriter
{
public:
    static Writer* New();
    vtkTypeMacro(Writer, tsg::SDBDataWriter);
    using SDBDataWriter::WriteScalarData;
    using SDBDataWriter::WriteVectorData;
};

vtkStandardNewMacro(Writer);

const std::string NONE(1, '\0'); ///< the method byte of a block that is not compressed

/// Bytes of short values as they stand in a file.
std::string shorts(std::initializer_list<int> values)
{
    std::string bytes;
    for (const int value : values)
    {
        bytes += {static_cast<char>(value), static_cast<char>(value >> 8)};
    }
    return bytes;
}

/// A writer of BINARY blocks with the stream that takes them and the errors that it reports.
class SDBDataWriterTest : public testing::Test
{
protected:
    SDBDataWriterTest() { writer->SetFileTypeToBinary(); }

    /// The bytes written since the last call.
    std::string take()
    {
        const std::string bytes = disk.bytes().substr(_taken);
        _taken += bytes.size();
        return bytes;
    }

    /// A field section of one array, without its first line.
    std::string field(vtkDataArray* array)
    {
        const vtkNew<vtkFieldData> fields;
        fields->AddArray(array);
        EXPECT_EQ(writer->WriteFieldData(&disk, fields), 1);
        return take().substr(18);
    }

    std::string pointData()
    {
        EXPECT_EQ(writer->WritePointData(&disk, data), 1);
        return take();
    }

    std::string scalars(vtkDataArray* array)
    {
        EXPECT_EQ(writer->WriteScalarData(&disk, array, 1), 1);
        return take();
    }

    vtkNew<Writer> writer;
    FullDisk disk;
    ReportedErrors errors{*writer};
    const vtkSmartPointer<vtkPolyData> data = onePoint();
    vtkPointData* const attributes = data->GetPointData();

private:
    std::size_t _taken = 0;
};

TEST_F(SDBDataWriterTest, fileTypesAreClampedAndHeadersMayBeEmpty)
{
    for (const auto& [set, found] : {std::pair(7, 2), {0, 1}, {2, 2}})
    {
        writer->SetOStream(&disk, set);
        EXPECT_EQ(writer->GetFileType(), found);
    }
    writer->SetHeader(nullptr);
    EXPECT_EQ(writer->WriteHeader(&disk), 1);
    EXPECT_EQ(take(), "# vtk DataFile Version 3.0\n\nBINARY\n");
}

TEST_F(SDBDataWriterTest, withoutAStreamEverythingFails)
{
    const auto array = floats("f", {1});
    const int results[] = {
        writer->WriteHeader(nullptr),
        writer->WritePoints(nullptr, data->GetPoints()),
        writer->WriteCoordinates(nullptr, array, 0),
        writer->WriteCells(nullptr, cellsOf({{0}}), "VERTICES"),
        writer->WriteCellData(nullptr, data),
        writer->WritePointData(nullptr, data),
        writer->WriteDataSetData(nullptr, data),
        writer->WriteFieldData(nullptr, attributes),
        writer->WriteArray(nullptr, VTK_FLOAT, array, "%s\n", 1, 1, false),
        writer->WriteScalarData(nullptr, array, 1),
        writer->WriteVectorData(nullptr, array, 1),
    };
    EXPECT_THAT(results, Each(0));
}

TEST_F(SDBDataWriterTest, blocksFrom1024BytesOnAreCompressed)
{
    writer->SetCompressBinaryData(1);
    std::vector<double> values(256);
    std::iota(values.begin(), values.end(), 0);
    const auto array = floats("f", values);
    const std::string bytes(static_cast<const char*>(array->GetVoidPointer(0)), 1024);
    std::istringstream in(field(array).substr(std::string("f 1 256 float\n").size()));
    EXPECT_EQ(in.peek(), 1);
    std::string decoded(1024, '\0');
    ASSERT_TRUE(sdb::readCompressed(in, decoded.data(), decoded.size()));
    EXPECT_EQ(decoded, bytes);
    EXPECT_EQ(in.get(), '\n');

    array->SetNumberOfTuples(255);
    EXPECT_EQ(field(array), "f 1 255 float\n" + NONE + bytes.substr(0, 1020) + "\n");
    array->SetNumberOfTuples(256);
    writer->SetCompressBinaryData(0);
    EXPECT_EQ(field(array), "f 1 256 float\n" + NONE + bytes + "\n");
}

TEST_F(SDBDataWriterTest, idsTakeTwoBytesIfTheLargestDoes)
{
    const std::pair<std::vector<double>, std::string> cases[] = {
        {{0, 65536}, "i 1 2 vtkIdType:4\n" + NONE + shorts({0, 0, 0, 1})},
        {{0, 65535, -1}, "i 1 3 vtkIdType:2\n" + NONE + shorts({0, 65535, 65535})},
        {{-2147483648.0}, "i 1 1 vtkIdType:2\n" + NONE + shorts({0})},
        {{}, "i 1 0 vtkIdType:2\n"},
    };
    for (const auto& [ids, bytes] : cases)
    {
        EXPECT_EQ(field(arrayOf(VTK_ID_TYPE, "i", 1, ids)), bytes + "\n");
    }
    EXPECT_THAT(errors.texts, IsEmpty());
}

TEST_F(SDBDataWriterTest, anArrayThatDoesNotFitIsLeftOutAndTheSectionGoesOn)
{
    data->GetPoints()->InsertNextPoint(1, 0, 0);
    attributes->SetScalars(arrayOf(VTK_LONG, "big", 1, {0, 4294967301.0}));
    attributes->SetVectors(arrayOf(VTK_FLOAT, "short", 3, {1, 2, 3}));
    attributes->SetTensors(arrayOf(VTK_FLOAT, "few", 6, {1, 2, 3, 4, 5, 6}));
    attributes->SetGlobalIds(arrayOf(VTK_ID_TYPE, "far", 1, {1, 4294967301.0}));
    attributes->AddArray(arrayOf(VTK_ID_TYPE, "low", 1, {-2147483649.0}));
    attributes->AddArray(arrayOf(VTK_SHORT, "kept", 1, {5}));
    EXPECT_EQ(pointData(), "POINT_DATA 2\nFIELD FieldData 1\nkept 1 1 short\n" + NONE + shorts({5}) + "\n");
    EXPECT_THAT(errors.texts,
                ElementsAre(HasSubstr("Array is not written: \"big\": value 4294967301 does not fit 4 bytes"),
                            HasSubstr("\"short\": it holds 3 values where 6 are expected"), HasSubstr("\"few\""),
                            HasSubstr("\"far\""), HasSubstr("\"low\": value -2147483649")));

    const auto far = pointsOf(VTK_LONG, {0, 0, 1e10});
    EXPECT_EQ(writer->WritePoints(&disk, far), 0); // nothing makes sense without its points
    EXPECT_EQ(writer->WriteArray(&disk, VTK_LONG, far->GetData(), "%s\n", 1, 3, false), 0);
    EXPECT_EQ(take(), "");
}

TEST_F(SDBDataWriterTest, typesWithoutAWordAreCountedInFieldsAndEndOtherSections)
{
    attributes->AddArray(arrayOf(VTK_LONG_LONG, "a", 1, {1}));
    attributes->AddArray(arrayOf(VTK_SHORT, "b", 1, {5}));
    EXPECT_EQ(pointData(), "POINT_DATA 1\nFIELD FieldData 2\nb 1 1 short\n" + NONE + shorts({5}) + "\n");
    attributes->SetActiveScalars("a");
    EXPECT_EQ(writer->WritePointData(&disk, data), 0);
    EXPECT_EQ(take(), "POINT_DATA 1\nSCALARS ");
    EXPECT_EQ(writer->WriteArray(&disk, VTK_DOUBLE, floats("", {1}), "%s\n", 1, 1, false), 0);
    EXPECT_EQ(writer->WriteArray(&disk, VTK_FLOAT, nullptr, "%s\n", 1, 1, false), 0);
    EXPECT_EQ(take(), "");
    EXPECT_THAT(errors.texts, SizeIs(4));
    EXPECT_THAT(errors.texts, Each(HasSubstr("): Type currently not supported\n")));
}

TEST_F(SDBDataWriterTest, onlyArraysOfTheInclusionSetAndUnnamedOnesAreWritten)
{
    std::set<std::string> names{"kept"};
    writer->SetInclusiveArray(&names);
    attributes->SetScalars(floats("s", {1}));
    attributes->SetNormals(arrayOf(VTK_FLOAT, "n", 3, {1, 2, 3}));
    attributes->SetVectors(arrayOf(VTK_CHAR, nullptr, 3, {65, 66, 67}));
    attributes->AddArray(arrayOf(VTK_CHAR, "dropped", 1, {65}));
    attributes->AddArray(arrayOf(VTK_CHAR, "kept", 1, {66}));
    attributes->AddArray(arrayOf(VTK_CHAR, "", 1, {67}));
    EXPECT_EQ(pointData(),
              "POINT_DATA 1\nVECTORS vectors char\n" + NONE + "ABC\nFIELD FieldData 1\nkept 1 1 char\n" + NONE + "B\n");
    names = {""};
    EXPECT_THAT(pointData(), EndsWith("FIELD FieldData 1\nunknown 1 1 char\n" + NONE + "C\n"));
    names.clear();
    attributes->SetVectors(nullptr);
    EXPECT_EQ(pointData(), "POINT_DATA 1\n");
}

TEST_F(SDBDataWriterTest, namesAreEncodedCutAndReplaced)
{
    const auto x = [](std::size_t count) { return std::string(count, 'x'); };
    const std::pair<std::string, std::string> cases[] = {
        {"a b\"%\x7f\n\xe4", "a%20b%22%25%7F%0A%E4"},
        {"", "unknown"},
        {x(300), x(255)},
        {x(252) + "% ", x(252) + "%25"},
        {x(253) + "% ", x(253)},
        {x(254) + "% ", x(254)},
        {x(255) + "% ", x(255)},
    };
    for (const auto& [name, encoded] : cases)
    {
        EXPECT_EQ(field(arrayOf(VTK_CHAR, name.c_str(), 1, {})), encoded + " 1 0 char\n\n");
    }

    const auto array = arrayOf(VTK_CHAR, "own", 1, {65});
    EXPECT_THAT(scalars(array), StartsWith("SCALARS own char\n"));
    writer->SetScalarsName("");
    EXPECT_THAT(scalars(array), StartsWith("SCALARS own char\n"));
    writer->SetScalarsName("my %s");
    EXPECT_THAT(scalars(array), StartsWith("SCALARS my%20%25s char\n"));
    writer->SetScalarsName(nullptr);
    array->SetName("");
    EXPECT_THAT(scalars(array), StartsWith("SCALARS scalars char\n"));
    EXPECT_EQ(writer->WriteArray(&disk, VTK_CHAR, array, "100%% %s of %d\n", 0, 1, false), 1);
    EXPECT_EQ(take(), "100% char of %d\n\n");
}

TEST_F(SDBDataWriterTest, onlyCoordinatesAreNarrowed)
{
    for (const auto& [value, word] :
         {std::pair(262145.0, "float\n"), {262144.5, "double\n"}, {0.1, "double\n"}, {1e300, "double\n"}})
    {
        EXPECT_EQ(writer->WritePoints(&disk, pointsOf(VTK_DOUBLE, {0.5, 100.125, value})), 1);
        EXPECT_THAT(take(), StartsWith(std::string("POINTS 1 ") + word));
    }
    const auto half = arrayOf(VTK_DOUBLE, "h", 1, {0.5});
    EXPECT_THAT(field(half), StartsWith("h 1 1 double\n"));
    EXPECT_EQ(writer->WriteCoordinates(&disk, half, 1), 1);
    EXPECT_EQ(take(), "Y_COORDINATES 1 float\n" + NONE + std::string("\0\0\0\x3f\n", 5));
}

TEST_F(SDBDataWriterTest, scatteredArraysAreWrittenLikeOthers)
{
    const auto plain = arrayOf(VTK_DOUBLE, "v", 3, {1, 2, 3, 4, 5, 6.5});
    const vtkNew<vtkSOADataArrayTemplate<double>> columns;
    columns->DeepCopy(plain);
    columns->SetName("v");
    EXPECT_EQ(field(columns), field(plain));
    EXPECT_EQ(writer->WriteArray(&disk, VTK_DOUBLE, columns, "%s\n", 2, 3, true), 1);
    EXPECT_THAT(take(), StartsWith("float\n" + NONE));
}

TEST_F(SDBDataWriterTest, lookupTablesAreBuiltAndNeverWrittenBeyondTheirColors)
{
    const auto array = arrayOf(VTK_UNSIGNED_SHORT, "s", 1, {7});
    const vtkNew<vtkLookupTable> fresh, built, two;
    built->Build();
    array->SetLookupTable(fresh);
    const vtkMTimeType stamp = array->GetMTime();
    const std::string colors(reinterpret_cast<const char*>(built->GetPointer(0)), 1024);
    const std::string head = "SCALARS s unsigned_short\nLOOKUP_TABLE ", value = NONE + shorts({7}) + "\nLOOKUP_TABLE ";
    EXPECT_EQ(scalars(array), head + "lookup_table\n" + value + "lookup_table 256\n" + NONE + colors + "\n\n");
    EXPECT_EQ(array->GetMTime(), stamp);

    two->SetNumberOfTableValues(2);
    two->SetTableValue(0, 0, 0, 0, 0);
    two->SetTableValue(1, 1, 1, 1, 1);
    two->SetNumberOfColors(300); // more than it holds
    array->SetLookupTable(two);
    writer->SetLookupTableName("%s");
    EXPECT_EQ(scalars(array),
              head + "%s\n" + value + "%s 2\n" + NONE + std::string("\0\0\0\0\xff\xff\xff\xff\n\n", 10));
}

TEST_F(SDBDataWriterTest, fieldsAreWrittenIfAnyArrayHasTuples)
{
    const auto dataSetData = [&]
    {
        EXPECT_EQ(writer->WriteDataSetData(&disk, data), 1);
        return take();
    };
    EXPECT_EQ(dataSetData(), "");
    data->GetFieldData()->AddArray(arrayOf(VTK_BIT, "empty", 2, {}));
    EXPECT_EQ(dataSetData(), "");
    data->GetFieldData()->AddArray(arrayOf(VTK_UNSIGNED_CHAR, "u", 2, {65, 66, 67})); // and half a tuple
    writer->SetFieldDataName("F");
    EXPECT_EQ(dataSetData(), "FIELD F 2\nempty 2 0 bit\n\nu 2 1 unsigned_char\n" + NONE + "AB\n");
    data->SetFieldData(nullptr);
    EXPECT_EQ(dataSetData(), "");
}

} // namespace
