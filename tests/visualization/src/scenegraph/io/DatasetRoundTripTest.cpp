#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/SDBPolyDataWriter.h"

#include "support/BlockReading.h"
#include "support/FullDisk.h"

#include <numeric>

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

/// Points, all four kinds of cells, every attribute the format has, and arrays of every type it has.
vtkSmartPointer<vtkPolyData> scene(vtkIdType points)
{
    auto data = vtkSmartPointer<vtkPolyData>::New();
    data->SetPoints(vtkNew<vtkPoints>());
    data->GetPoints()->SetData(counting(VTK_DOUBLE, "", points, 3, 0.1)); // no floats
    data->AllocateExact(points, points);
    for (vtkIdType i = 0; i + 3 < points; ++i)
    {
        const vtkIdType ids[] = {i, i + 1, i + 2, i + 3};
        data->InsertNextCell(VTK_VERTEX, 1, ids);
        data->InsertNextCell(VTK_POLY_LINE, 2, ids);
        data->InsertNextCell(VTK_POLYGON, 4, ids);
        data->InsertNextCell(VTK_TRIANGLE_STRIP, 3, ids);
    }
    std::vector<int> types(VTK_ID_TYPE);
    std::iota(types.begin(), types.end(), VTK_BIT);
    withAllArrays(data, types);
    data->GetPointData()->GetScalars()->SetLookupTable(tableOf({{0.1, 0.4, 0.6, 0.8}, {1, 0, 0, 1}, {0, 0, 0, 0}}));
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
    for (const auto& [points, compressed] : {std::pair(4, false), {1000, false}, {1000, true}})
    {
        const vtkSmartPointer<vtkPolyData> data = scene(points);
        const std::string bytes = written(*data, compressed);
        const BlockReading reading = readBlock(bytes);
        ASSERT_THAT(reading.messages, IsEmpty());
        vtkPolyData& output = reading.output();
        EXPECT_EQ(output.GetNumberOfCells(), 4 * (points - 3));
        EXPECT_EQ(output.GetPoint(0)[0], 0.1);
        for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL, vtkDataObject::FIELD})
        {
            expectSameArrays(*output.GetAttributesAsFieldData(owner), *data->GetAttributesAsFieldData(owner));
        }
        for (int kind = vtkDataSetAttributes::SCALARS; kind <= vtkDataSetAttributes::GLOBALIDS; ++kind)
        {
            for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL})
            {
                vtkAbstractArray* const found = output.GetAttributes(owner)->GetAbstractAttribute(kind);
                ASSERT_NE(found, nullptr) << kind;
                EXPECT_STREQ(found->GetName(), data->GetAttributes(owner)->GetAbstractAttribute(kind)->GetName());
            }
        }
        EXPECT_TRUE(bytes == written(output, compressed)) << "another writing differs";
    }
}

} // namespace
