#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/SDBPolyDataWriter.h"

#include "support/BlockReading.h"
#include "support/Datasets.h"
#include "support/FullDisk.h"
#include "support/Testing.h"

namespace
{

using namespace test;

std::string written(vtkPolyData& data, bool compressed)
{
    FullDisk disk;
    const vtkNew<tsg::SDBPolyDataWriter> writer;
    writer->SetOStream(&disk, VTK_BINARY);
    writer->SetCompressBinaryData(compressed);
    writer->SetInputData(&data);
    EXPECT_EQ(writer->Write(), 1);
    return disk.bytes();
}

/// An array of a VTK type whose values are small, different and not negative.
vtkSmartPointer<vtkDataArray> smallValues(int type, const std::string& name, vtkIdType tuples, int components)
{
    std::vector<double> values;
    for (vtkIdType i = 0; i < tuples * components; ++i)
    {
        values.push_back(static_cast<double>(type == VTK_BIT ? i % 3 == 0 : i % 101));
    }
    return arrayOf(type, name.c_str(), components, values);
}

/// Points, all four kinds of cells, every attribute the format has, and field arrays of every type it has.
vtkSmartPointer<vtkPolyData> scene(vtkIdType points)
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    const vtkNew<vtkPoints> coordinates;
    coordinates->SetData(smallValues(VTK_DOUBLE, "", points, 3));
    coordinates->GetData()->SetComponent(0, 0, 0.1); // not a float
    data->SetPoints(coordinates);
    data->AllocateExact(points, points);
    for (vtkIdType i = 0; i + 3 < points; ++i)
    {
        const vtkIdType ids[] = {i, i + 1, i + 2, i + 3};
        data->InsertNextCell(VTK_VERTEX, 1, ids);
        data->InsertNextCell(VTK_POLY_LINE, 2, ids);
        data->InsertNextCell(VTK_POLYGON, 4, ids);
        data->InsertNextCell(VTK_TRIANGLE_STRIP, 3, ids);
    }
    for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL})
    {
        vtkDataSetAttributes* const set = data->GetAttributes(owner);
        const vtkIdType tuples = data->GetNumberOfElements(owner);
        set->SetScalars(smallValues(VTK_UNSIGNED_CHAR, "colour of 100% \"x\"", tuples, 3));
        set->SetVectors(smallValues(VTK_FLOAT, "v", tuples, 3));
        set->SetNormals(smallValues(VTK_SHORT, "n", tuples, 3));
        set->SetTCoords(smallValues(VTK_DOUBLE, "t", tuples, 2));
        set->SetTensors(smallValues(VTK_FLOAT, "\xe4\xf6", tuples, 9));
        set->SetGlobalIds(smallValues(VTK_ID_TYPE, "ids", tuples, 1));
        for (int type = VTK_BIT; type <= VTK_ID_TYPE; ++type)
        {
            set->AddArray(smallValues(type, "field " + std::to_string(type), tuples, type == VTK_BIT ? 1 : 2));
        }
    }
    data->GetFieldData()->AddArray(smallValues(VTK_LONG, "time", 1, 1));
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
        EXPECT_TRUE(valuesOf(array) == valuesOf(wanted)) << wanted->GetName();
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
            const BlockReading reading = readBlock(bytes);
            ASSERT_THAT(reading.messages, IsEmpty());
            vtkPolyData& output = reading.output();
            EXPECT_EQ(output.GetNumberOfCells(), 4 * (points - 3));
            EXPECT_EQ(output.GetPoint(0)[0], 0.1);
            expectSameArrays(*output.GetFieldData(), *data->GetFieldData());
            for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL})
            {
                vtkDataSetAttributes& found = *output.GetAttributes(owner);
                expectSameArrays(found, *data->GetAttributes(owner));
                for (int kind = vtkDataSetAttributes::SCALARS; kind <= vtkDataSetAttributes::GLOBALIDS; ++kind)
                {
                    ASSERT_NE(found.GetAttribute(kind), nullptr) << kind;
                    EXPECT_STREQ(found.GetAttribute(kind)->GetName(),
                                 data->GetAttributes(owner)->GetAttribute(kind)->GetName());
                }
            }
            EXPECT_TRUE(bytes == written(output, compressed)) << "another writing differs";
        }
    }
}

TEST(DatasetRoundTripTest, negativeIdsComeBackAs16BitNumbers)
{
    const vtkSmartPointer<vtkPolyData> data = scene(4);
    vtkDataArray* const ids = data->GetPointData()->GetGlobalIds();
    ids->SetTuple1(0, -1);
    for (const auto& [large, found] : {std::pair(2, 65535), {65536, -1}})
    {
        ids->SetTuple1(1, large);
        const BlockReading reading = readBlock(written(*data, false));
        EXPECT_EQ(reading.output().GetPointData()->GetGlobalIds()->GetTuple1(0), found);
    }
}

} // namespace
