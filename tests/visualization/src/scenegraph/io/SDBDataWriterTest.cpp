#include "scenegraph/io/SDBDataWriter.h"

#include "scenegraph/io/SDB.h"
#include "support/Datasets.h"
#include "support/FullDisk.h"
#include "support/ReportedErrors.h"

#include <numeric>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vtkBitArray.h>
#include <vtkCharArray.h>
#include <vtkDoubleArray.h>
#include <vtkFloatArray.h>
#include <vtkIdTypeArray.h>
#include <vtkLongArray.h>
#include <vtkLongLongArray.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkPointData.h>
#include <vtkSOADataArrayTemplate.h>
#include <vtkShortArray.h>
#include <vtkUnsignedCharArray.h>
#include <vtkUnsignedShortArray.h>

namespace
{

using test::arrayOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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

/// A writer of BINARY blocks with the stream that takes them and the errors that it reports.
struct Output
{
    Output() { writer->SetFileTypeToBinary(); }

    /// The bytes written since the last call.
    std::string take()
    {
        const std::string bytes = disk.bytes().substr(_taken);
        _taken += bytes.size();
        return bytes;
    }

    /// A field section of one array.
    std::string field(vtkDataArray* array)
    {
        vtkNew<vtkFieldData> fields;
        fields->AddArray(array);
        EXPECT_EQ(writer->WriteFieldData(&disk, fields), 1);
        return take();
    }

    vtkNew<Writer> writer;
    test::FullDisk disk;
    test::ReportedErrors errors{*writer};

private:
    std::size_t _taken = 0;
};

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

const std::string NONE(1, '\0'); ///< the method byte of a block that is not compressed

TEST(SDBDataWriterTest, defaultsAndProperties)
{
    vtkNew<Writer> writer;
    EXPECT_EQ(writer->GetFileType(), 1);
    EXPECT_STREQ(writer->GetHeader(), "vtk output");
    EXPECT_STREQ(writer->GetLookupTableName(), "lookup_table");
    EXPECT_STREQ(writer->GetFieldDataName(), "FieldData");
    EXPECT_EQ(writer->GetScalarsName(), nullptr);
    EXPECT_EQ(writer->GetCompressBinaryData(), 0);
    writer->SetFileType(7);
    EXPECT_EQ(writer->GetFileType(), 2);
    writer->SetOStream(nullptr, 0);
    EXPECT_EQ(writer->GetFileType(), 1);
    const vtkMTimeType stamp = writer->GetMTime();
    writer->SetHeader("vtk output");
    EXPECT_EQ(writer->GetMTime(), stamp);
    EXPECT_EQ(writer->GetFileTypeMinValue() * 10 + writer->GetFileTypeMaxValue(), 12);
}

TEST(SDBDataWriterTest, withoutAStreamEverythingFails)
{
    vtkNew<Writer> writer;
    const auto data = test::pointRow(1);
    const auto floats = arrayOf<vtkFloatArray>("f", 1, {1});
    EXPECT_EQ(writer->WriteHeader(nullptr), 0);
    EXPECT_EQ(writer->WritePoints(nullptr, data->GetPoints()), 0);
    EXPECT_EQ(writer->WriteCoordinates(nullptr, floats, 0), 0);
    EXPECT_EQ(writer->WriteCells(nullptr, test::cellsOf({{0}}), "VERTICES"), 0);
    EXPECT_EQ(writer->WriteCellData(nullptr, data), 0);
    EXPECT_EQ(writer->WritePointData(nullptr, data), 0);
    EXPECT_EQ(writer->WriteDataSetData(nullptr, data), 0);
    EXPECT_EQ(writer->WriteFieldData(nullptr, data->GetPointData()), 0);
    EXPECT_EQ(writer->WriteArray(nullptr, VTK_FLOAT, floats, "%s\n", 1, 1, false), 0);
    EXPECT_EQ(writer->WriteScalarData(nullptr, floats, 1), 0);
    EXPECT_EQ(writer->WriteVectorData(nullptr, floats, 1), 0);
}

TEST(SDBDataWriterTest, anEmptyHeaderIsAnEmptyLine)
{
    Output out;
    out.writer->SetHeader(nullptr);
    EXPECT_EQ(out.writer->WriteHeader(&out.disk), 1);
    EXPECT_EQ(out.take(), "# vtk DataFile Version 3.0\n\nBINARY\n");
}

TEST(SDBDataWriterTest, blocksFrom1024BytesOnAreCompressed)
{
    Output out;
    out.writer->SetCompressBinaryData(1);
    std::vector<double> values(256);
    std::iota(values.begin(), values.end(), 0);
    const auto array = arrayOf<vtkFloatArray>("f", 1, values);
    const std::string head = "FIELD FieldData 1\nf 1 256 float\n";
    const std::string bytes(reinterpret_cast<const char*>(array->GetPointer(0)), 1024);

    std::istringstream in(out.field(array).substr(head.size()));
    EXPECT_EQ(in.peek(), 1);
    std::string decoded(1024, '\0');
    ASSERT_TRUE(sdb::readCompressed(in, decoded.data(), decoded.size()));
    EXPECT_EQ(decoded, bytes);
    EXPECT_EQ(in.get(), '\n');

    array->SetNumberOfTuples(255);
    EXPECT_THAT(out.field(array), EndsWith("255 float\n" + NONE + bytes.substr(0, 1020) + "\n"));
    array->SetNumberOfTuples(256);
    out.writer->SetCompressBinaryData(0);
    EXPECT_THAT(out.field(array), EndsWith("256 float\n" + NONE + bytes + "\n"));
}

TEST(SDBDataWriterTest, idsTakeTwoBytesIfTheLargestDoes)
{
    Output out;
    const auto line = [&](std::vector<double> ids)
    { return out.field(arrayOf<vtkIdTypeArray>("i", 1, ids)).substr(18); };
    EXPECT_EQ(line({0, 65536}), "i 1 2 vtkIdType:4\n" + NONE + shorts({0, 0, 0, 1}) + "\n");
    EXPECT_EQ(line({0, 65535, -1}), "i 1 3 vtkIdType:2\n" + NONE + shorts({0, 65535, 65535}) + "\n");
    EXPECT_EQ(line({-2147483648.0}), "i 1 1 vtkIdType:2\n" + NONE + shorts({0}) + "\n");
    EXPECT_EQ(line({}), "i 1 0 vtkIdType:2\n\n");
    EXPECT_THAT(out.errors.texts, ElementsAre());
}

TEST(SDBDataWriterTest, anArrayThatDoesNotFitIsLeftOutAndTheSectionGoesOn)
{
    Output out;
    const auto data = test::pointRow(2);
    vtkPointData* const attributes = data->GetPointData();
    attributes->SetScalars(arrayOf<vtkLongArray>("big", 1, {0, 4294967301.0}));
    attributes->SetVectors(arrayOf<vtkFloatArray>("short", 3, {1, 2, 3}));
    attributes->SetTensors(arrayOf<vtkFloatArray>("few", 6, {1, 2, 3, 4, 5, 6}));
    attributes->SetGlobalIds(arrayOf<vtkIdTypeArray>("far", 1, {1, 4294967301.0}));
    attributes->AddArray(arrayOf<vtkIdTypeArray>("low", 1, {-2147483649.0}));
    attributes->AddArray(arrayOf<vtkShortArray>("kept", 1, {5}));
    EXPECT_EQ(out.writer->WritePointData(&out.disk, data), 1);
    EXPECT_EQ(out.take(), "POINT_DATA 2\nFIELD FieldData 1\nkept 1 1 short\n" + NONE + shorts({5}) + "\n");
    EXPECT_THAT(out.errors.texts,
                ElementsAre(HasSubstr("Array is not written: \"big\": value 4294967301 does not fit 4 bytes"),
                            HasSubstr("\"short\": it holds 3 values where 6 are expected"), HasSubstr("\"few\""),
                            HasSubstr("\"far\""), HasSubstr("\"low\": value -2147483649")));

    const auto far = test::pointsOf<vtkLongArray>({0, 0, 1e10});
    EXPECT_EQ(out.writer->WritePoints(&out.disk, far), 0); // nothing makes sense without its points
    EXPECT_EQ(out.writer->WriteArray(&out.disk, VTK_LONG, far->GetData(), "%s\n", 1, 3, false), 0);
    EXPECT_EQ(out.take(), "");
}

TEST(SDBDataWriterTest, typesWithoutAWordAreCountedInFieldsAndEndOtherSections)
{
    Output out;
    const auto data = test::pointRow(1);
    data->GetPointData()->AddArray(arrayOf<vtkLongLongArray>("a", 1, {1}));
    data->GetPointData()->AddArray(arrayOf<vtkShortArray>("b", 1, {5}));
    EXPECT_EQ(out.writer->WritePointData(&out.disk, data), 1);
    EXPECT_EQ(out.take(), "POINT_DATA 1\nFIELD FieldData 2\nb 1 1 short\n" + NONE + shorts({5}) + "\n");
    data->GetPointData()->SetActiveScalars("a");
    EXPECT_EQ(out.writer->WritePointData(&out.disk, data), 0);
    EXPECT_EQ(out.take(), "POINT_DATA 1\nSCALARS ");
    const auto floats = arrayOf<vtkFloatArray>("", 1, {1});
    EXPECT_EQ(out.writer->WriteArray(&out.disk, VTK_DOUBLE, floats, "%s\n", 1, 1, false), 0);
    EXPECT_EQ(out.writer->WriteArray(&out.disk, VTK_FLOAT, nullptr, "%s\n", 1, 1, false), 0);
    EXPECT_EQ(out.take(), "");
    EXPECT_THAT(out.errors.texts, testing::SizeIs(4));
    EXPECT_THAT(out.errors.texts, testing::Each(HasSubstr("): Type currently not supported\n")));
}

TEST(SDBDataWriterTest, onlyArraysOfTheInclusionSetAndUnnamedOnesAreWritten)
{
    Output out;
    std::set<std::string> names{"kept"};
    out.writer->SetInclusiveArray(&names);
    const auto data = test::pointRow(1);
    vtkPointData* const attributes = data->GetPointData();
    attributes->SetScalars(arrayOf<vtkFloatArray>("s", 1, {1}));
    attributes->SetNormals(arrayOf<vtkFloatArray>("n", 3, {1, 2, 3}));
    attributes->SetVectors(arrayOf<vtkCharArray>(nullptr, 3, {65, 66, 67}));
    attributes->AddArray(arrayOf<vtkCharArray>("dropped", 1, {65}));
    attributes->AddArray(arrayOf<vtkCharArray>("kept", 1, {66}));
    attributes->AddArray(arrayOf<vtkCharArray>("", 1, {67}));
    EXPECT_EQ(out.writer->WritePointData(&out.disk, data), 1);
    EXPECT_EQ(out.take(),
              "POINT_DATA 1\nVECTORS vectors char\n" + NONE + "ABC\nFIELD FieldData 1\nkept 1 1 char\n" + NONE + "B\n");
    names = {""};
    EXPECT_EQ(out.writer->WritePointData(&out.disk, data), 1);
    EXPECT_THAT(out.take(), EndsWith("FIELD FieldData 1\nunknown 1 1 char\n" + NONE + "C\n"));
    names.clear();
    attributes->SetVectors(nullptr);
    EXPECT_EQ(out.writer->WritePointData(&out.disk, data), 1);
    EXPECT_EQ(out.take(), "POINT_DATA 1\n");
}

TEST(SDBDataWriterTest, namesAreEncodedCutAndReplaced)
{
    Output out;
    const auto nameOf = [&](const std::string& name)
    {
        const std::string text = out.field(arrayOf<vtkCharArray>(name.c_str(), 1, {})).substr(18);
        return text.substr(0, text.find(' '));
    };
    EXPECT_EQ(nameOf("a b\"%\x7f\n\xe4"), "a%20b%22%25%7F%0A%E4");
    EXPECT_EQ(nameOf(""), "unknown");
    EXPECT_EQ(nameOf(std::string(300, 'x')), std::string(255, 'x'));
    for (const int fitting : {252, 253, 254, 255})
    {
        const std::string letters(static_cast<std::size_t>(fitting), 'x');
        EXPECT_EQ(nameOf(letters + "% "), letters + (fitting == 252 ? "%25" : "")) << fitting;
    }

    const auto scalars = arrayOf<vtkCharArray>("own", 1, {65});
    const auto lineOf = [&]
    {
        EXPECT_EQ(out.writer->WriteScalarData(&out.disk, scalars, 1), 1);
        const std::string text = out.take();
        return text.substr(0, text.find('\n'));
    };
    EXPECT_EQ(lineOf(), "SCALARS own char");
    out.writer->SetScalarsName("");
    EXPECT_EQ(lineOf(), "SCALARS own char");
    out.writer->SetScalarsName("my %s");
    EXPECT_EQ(lineOf(), "SCALARS my%20%25s char");
    out.writer->SetScalarsName(nullptr);
    scalars->SetName("");
    EXPECT_EQ(lineOf(), "SCALARS scalars char");
    EXPECT_EQ(out.writer->WriteArray(&out.disk, VTK_CHAR, scalars, "100%% %s of %d\n", 0, 1, false), 1);
    EXPECT_EQ(out.take(), "100% char of %d\n\n");
}

TEST(SDBDataWriterTest, onlyCoordinatesAreNarrowed)
{
    Output out;
    const auto wordOf = [&](double value)
    {
        EXPECT_EQ(out.writer->WritePoints(&out.disk, test::pointsOf<vtkDoubleArray>({0.5, 100.125, value})), 1);
        return out.take();
    };
    EXPECT_THAT(wordOf(2.5), StartsWith("POINTS 1 float\n"));
    EXPECT_THAT(wordOf(0.1), StartsWith("POINTS 1 double\n"));
    EXPECT_THAT(wordOf(1e300), StartsWith("POINTS 1 double\n"));
    const auto half = arrayOf<vtkDoubleArray>("h", 1, {0.5});
    EXPECT_THAT(out.field(half), HasSubstr("\nh 1 1 double\n"));
    EXPECT_EQ(out.writer->WriteCoordinates(&out.disk, half, 1), 1);
    EXPECT_EQ(out.take(), "Y_COORDINATES 1 float\n" + NONE + std::string("\0\0\0\x3f\n", 5));
}

TEST(SDBDataWriterTest, scatteredArraysAreWrittenLikeOthers)
{
    Output out;
    const auto plain = arrayOf<vtkDoubleArray>("v", 3, {1, 2, 3, 4, 5, 6.5});
    vtkNew<vtkSOADataArrayTemplate<double>> columns;
    columns->SetName("v");
    columns->SetNumberOfComponents(3);
    columns->SetNumberOfTuples(2);
    columns->CopyComponent(0, plain, 0);
    columns->CopyComponent(1, plain, 1);
    columns->CopyComponent(2, plain, 2);
    EXPECT_EQ(out.field(columns), out.field(plain));
    for (vtkDataArray* const array : {static_cast<vtkDataArray*>(plain), static_cast<vtkDataArray*>(columns)})
    {
        EXPECT_EQ(out.writer->WriteArray(&out.disk, VTK_DOUBLE, array, "%s\n", 2, 3, true), 1);
        EXPECT_THAT(out.take(), StartsWith("float\n" + NONE));
    }
}

TEST(SDBDataWriterTest, lookupTablesAreBuiltAndNeverWrittenBeyondTheirColors)
{
    Output out;
    const auto scalars = arrayOf<vtkUnsignedShortArray>("s", 1, {7});
    vtkNew<vtkLookupTable> fresh;
    vtkNew<vtkLookupTable> built;
    built->Build();
    scalars->SetLookupTable(fresh);
    const vtkMTimeType stamp = scalars->GetMTime();
    EXPECT_EQ(out.writer->WriteScalarData(&out.disk, scalars, 1), 1);
    EXPECT_EQ(scalars->GetMTime(), stamp);
    const std::string colors(reinterpret_cast<const char*>(built->GetPointer(0)), 1024);
    const std::string head = "SCALARS s unsigned_short\nLOOKUP_TABLE ";
    EXPECT_EQ(out.take(), head + "lookup_table\n" + NONE + shorts({7}) + "\nLOOKUP_TABLE lookup_table 256\n" + NONE +
                              colors + "\n\n");

    vtkNew<vtkLookupTable> two;
    two->SetNumberOfTableValues(2);
    two->SetTableValue(0, 0, 0, 0, 0);
    two->SetTableValue(1, 1, 1, 1, 1);
    two->SetNumberOfColors(300); // more than it holds
    scalars->SetLookupTable(two);
    out.writer->SetLookupTableName("%s");
    EXPECT_EQ(out.writer->WriteScalarData(&out.disk, scalars, 1), 1);
    EXPECT_EQ(out.take(), head + "%s\n" + NONE + shorts({7}) + "\nLOOKUP_TABLE %s 2\n" + NONE +
                              std::string("\0\0\0\0\xff\xff\xff\xff\n\n", 10));
}

TEST(SDBDataWriterTest, fieldsAreWrittenIfAnyArrayHasTuples)
{
    Output out;
    const auto data = test::pointRow(1);
    EXPECT_EQ(out.writer->WriteDataSetData(&out.disk, data), 1);
    data->GetFieldData()->AddArray(arrayOf<vtkBitArray>("empty", 2, {}));
    EXPECT_EQ(out.writer->WriteDataSetData(&out.disk, data), 1);
    EXPECT_EQ(out.take(), "");
    data->GetFieldData()->AddArray(arrayOf<vtkUnsignedCharArray>("u", 2, {65, 66, 67})); // and half a tuple
    out.writer->SetFieldDataName("F");
    EXPECT_EQ(out.writer->WriteDataSetData(&out.disk, data), 1);
    EXPECT_EQ(out.take(), "FIELD F 2\nempty 2 0 bit\n\nu 2 1 unsigned_char\n" + NONE + "AB\n");
    data->SetFieldData(nullptr);
    EXPECT_EQ(out.writer->WriteDataSetData(&out.disk, data), 1);
    EXPECT_EQ(out.take(), "");
}

TEST(SDBDataWriterTest, theGeneralWriterWritesNoDataset)
{
    Output out;
    out.writer->SetOStream(&out.disk, VTK_BINARY);
    out.writer->SetInputData(test::pointRow(1));
    out.writer->Write();
    EXPECT_EQ(out.take(), "");
    EXPECT_THAT(out.errors.texts,
                ElementsAre(HasSubstr("): WriteData() should be implemented in concrete subclass\n\n")));
}

} // namespace
