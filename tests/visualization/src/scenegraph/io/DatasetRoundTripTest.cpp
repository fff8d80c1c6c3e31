#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/SDBPolyDataWriter.h"

#include "support/BlockReading.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkDataSetAttributes.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace
{

std::string written(vtkPolyData& data, bool compressed)
{
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("block").narrow;
    {
        std::ofstream out(path, std::ios::binary);
        const vtkNew<tsg::SDBPolyDataWriter> writer;
        writer->SetOStream(&out, 2);
        writer->SetCompressBinaryData(compressed);
        writer->SetInputData(&data);
        EXPECT_EQ(writer->Write(), 1);
    }
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// An array of a VTK type whose values are small, different and not negative.
vtkSmartPointer<vtkDataArray> arrayOf(int type, const std::string& name, vtkIdType tuples, int components)
{
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(type));
    array->SetName(name.c_str());
    array->SetNumberOfComponents(components);
    array->SetNumberOfTuples(tuples);
    for (vtkIdType i = 0; i < array->GetNumberOfValues(); ++i)
    {
        array->SetComponent(i / components, static_cast<int>(i % components), type == VTK_BIT ? i % 3 == 0 : i % 101);
    }
    return array;
}

/// Points, all four kinds of cells, every attribute the format has, and field arrays of every type it has.
vtkSmartPointer<vtkPolyData> scene(vtkIdType points)
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    const vtkNew<vtkPoints> coordinates;
    coordinates->SetData(arrayOf(VTK_DOUBLE, "", points, 3));
    coordinates->GetData()->SetComponent(0, 0, 0.1); // not a float
    data->SetPoints(coordinates);
    const vtkNew<vtkCellArray> vertices, lines, polygons, strips;
    for (vtkIdType i = 0; i + 3 < points; ++i)
    {
        vertices->InsertNextCell({i});
        lines->InsertNextCell({i, i + 1});
        polygons->InsertNextCell({i, i + 1, i + 2, i + 3});
        strips->InsertNextCell({i, i + 1, i + 2});
    }
    data->SetVerts(vertices);
    data->SetLines(lines);
    data->SetPolys(polygons);
    data->SetStrips(strips);
    for (vtkDataSetAttributes* const set : {static_cast<vtkDataSetAttributes*>(data->GetPointData()),
                                            static_cast<vtkDataSetAttributes*>(data->GetCellData())})
    {
        const vtkIdType tuples =
            data->GetNumberOfElements(set == data->GetPointData() ? vtkDataObject::POINT : vtkDataObject::CELL);
        set->SetScalars(arrayOf(VTK_UNSIGNED_CHAR, "colour of 100% \"x\"", tuples, 3));
        set->SetVectors(arrayOf(VTK_FLOAT, "v", tuples, 3));
        set->SetNormals(arrayOf(VTK_SHORT, "n", tuples, 3));
        set->SetTCoords(arrayOf(VTK_DOUBLE, "t", tuples, 2));
        set->SetTensors(arrayOf(VTK_FLOAT, "\xe4\xf6", tuples, 9));
        set->SetGlobalIds(arrayOf(VTK_ID_TYPE, "ids", tuples, 1));
        for (int type = VTK_BIT; type <= VTK_ID_TYPE; ++type)
        {
            set->AddArray(arrayOf(type, "field " + std::to_string(type), tuples, type == VTK_BIT ? 1 : 2));
        }
    }
    data->GetFieldData()->AddArray(arrayOf(VTK_LONG, "time", 1, 1));
    const vtkNew<vtkLookupTable> table;
    table->SetNumberOfTableValues(7);
    for (int i = 0; i < 7; ++i)
    {
        table->SetTableValue(i, 0.1 * i, 0.4, 0.6, 0.8);
    }
    data->GetPointData()->GetScalars()->SetLookupTable(table);
    return data;
}

void expectSameArrays(vtkFieldData& found, vtkFieldData& expected)
{
    ASSERT_EQ(found.GetNumberOfArrays(), expected.GetNumberOfArrays());
    for (int i = 0; i < expected.GetNumberOfArrays(); ++i)
    {
        vtkDataArray* const wanted = expected.GetArray(i);
        vtkDataArray* const array = found.GetArray(wanted->GetName());
        ASSERT_NE(array, nullptr) << wanted->GetName();
        EXPECT_EQ(array->GetDataType(), wanted->GetDataType()) << wanted->GetName();
        ASSERT_EQ(array->GetNumberOfValues(), wanted->GetNumberOfValues()) << wanted->GetName();
        for (vtkIdType value = 0; value < wanted->GetNumberOfValues(); ++value)
        {
            ASSERT_EQ(array->GetVariantValue(value), wanted->GetVariantValue(value)) << wanted->GetName();
        }
    }
}

void expectSameAttributes(vtkDataSetAttributes& found, vtkDataSetAttributes& expected)
{
    expectSameArrays(found, expected);
    for (int kind = vtkDataSetAttributes::SCALARS; kind <= vtkDataSetAttributes::GLOBALIDS; ++kind)
    {
        ASSERT_NE(found.GetAttribute(kind), nullptr) << kind;
        EXPECT_STREQ(found.GetAttribute(kind)->GetName(), expected.GetAttribute(kind)->GetName());
    }
}

TEST(DatasetRoundTripTest, whatIsWrittenIsRead)
{
    for (const vtkIdType points : {4, 1000})
    {
        const vtkSmartPointer<vtkPolyData> data = scene(points);
        for (const bool compressed : {false, true})
        {
            const std::string bytes = written(*data, compressed);
            const test::BlockReading reading = test::readBlock(bytes);
            ASSERT_THAT(reading.messages, testing::IsEmpty());
            vtkPolyData& output = reading.output();
            EXPECT_EQ(output.GetNumberOfCells(), 4 * (points - 3));
            EXPECT_EQ(output.GetPoint(0)[0], 0.1);
            expectSameAttributes(*output.GetPointData(), *data->GetPointData());
            expectSameAttributes(*output.GetCellData(), *data->GetCellData());
            expectSameArrays(*output.GetFieldData(), *data->GetFieldData());
            EXPECT_TRUE(bytes == written(output, compressed)) << "another writing differs";
        }
    }
}

TEST(DatasetRoundTripTest, emptyDataHavePointsAndNothingElse)
{
    const vtkNew<vtkPolyData> data;
    const test::BlockReading reading = test::readBlock(written(*data, true));
    EXPECT_THAT(reading.messages, testing::IsEmpty());
    ASSERT_NE(reading.output().GetPoints(), nullptr);
    EXPECT_EQ(reading.output().GetNumberOfPoints() + reading.output().GetNumberOfCells(), 0);
}

TEST(DatasetRoundTripTest, negativeIdsComeBackAs16BitNumbers)
{
    const vtkSmartPointer<vtkPolyData> data = scene(4);
    for (const double large : {2.0, 65536.0})
    {
        vtkDataArray* const ids = data->GetPointData()->GetGlobalIds();
        ids->SetTuple1(0, -1);
        ids->SetTuple1(1, large);
        const test::BlockReading reading = test::readBlock(written(*data, false));
        EXPECT_EQ(reading.output().GetPointData()->GetGlobalIds()->GetTuple1(0), large == 2.0 ? 65535 : -1);
    }
}

} // namespace
