#include "scenegraph/io/detail/StoredArray.h"

#include "support/Datasets.h"

#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vtkBitArray.h>
#include <vtkDoubleArray.h>
#include <vtkFloatArray.h>
#include <vtkIdTypeArray.h>
#include <vtkIntArray.h>
#include <vtkLongArray.h>
#include <vtkNew.h>
#include <vtkSOADataArrayTemplate.h>
#include <vtkUnsignedCharArray.h>
#include <vtkUnsignedLongArray.h>

namespace
{

using sdb::detail::MemoryBudget;
using testing::HasSubstr;
using tsg::detail::makeStoredArray;
using tsg::detail::StoredValues;

std::string bytesOf(const StoredValues& values)
{
    return {values.data(), values.size()};
}

TEST(StoredArrayTest, everyStorableTypeComesBackAsItWentIn)
{
    const std::pair<int, int> widths[] = {{VTK_CHAR, 1},           {VTK_UNSIGNED_CHAR, 1}, {VTK_SHORT, 2},
                                          {VTK_UNSIGNED_SHORT, 2}, {VTK_INT, 4},           {VTK_UNSIGNED_INT, 4},
                                          {VTK_LONG, 4},           {VTK_UNSIGNED_LONG, 4}, {VTK_FLOAT, 4},
                                          {VTK_DOUBLE, 8},         {VTK_ID_TYPE, 4},       {VTK_SIGNED_CHAR, 1},
                                          {VTK_LONG_LONG, 8},      {VTK_BIT, 0},           {VTK_UNSIGNED_LONG_LONG, 8}};
    for (const auto& [type, width] : widths)
    {
        SCOPED_TRACE(type);
        ASSERT_TRUE(tsg::detail::isStorable(type));
        const auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(type));
        const double last = type == VTK_BIT ? 1 : array->GetDataTypeMin() == 0 ? 200 : -2;
        array->SetNumberOfComponents(2);
        array->InsertNextTuple2(1, 0);
        array->InsertNextTuple2(1, last);
        const StoredValues values(*array, 4);
        ASSERT_EQ(values.refusal(), "");
        ASSERT_EQ(values.size(), 4U * static_cast<unsigned>(width));

        MemoryBudget budget(1000);
        const auto copy = makeStoredArray(type, 2, 4, budget,
                                          [&](char* data, std::uint64_t bytes)
                                          {
                                              EXPECT_EQ(bytes, values.size());
                                              std::memcpy(data, bytes > 0 ? values.data() : "", bytes);
                                              return true;
                                          });
        ASSERT_TRUE(copy);
        EXPECT_STREQ(copy->GetClassName(), array->GetClassName());
        ASSERT_EQ(copy->GetNumberOfTuples(), 2);
        EXPECT_EQ(copy->GetComponent(1, 0), type == VTK_BIT ? 0 : 1); // bits come zeroed
        EXPECT_EQ(copy->GetComponent(1, 1), type == VTK_BIT ? 0 : last);
        EXPECT_LE(budget.left(), 1000 - 4U * static_cast<unsigned>(array->GetDataTypeSize()));
        EXPECT_GE(budget.left(), 1000 - 4U * sizeof(double) - 2 * sizeof(double));
    }
    for (const int type : {-1, VTK_VOID, VTK_STRING, 14, 18, VTK_VARIANT, VTK_OBJECT})
    {
        EXPECT_FALSE(tsg::detail::isStorable(type)) << type;
        EXPECT_EQ(tsg::detail::storedWidth(type), 0) << type;
    }
}

TEST(StoredArrayTest, idsAndLongsAreSignExtendedAndUnsignedLongsAreNot)
{
    MemoryBudget budget(1000);
    const auto ones = [](char* data, std::uint64_t bytes)
    {
        std::memset(data, 0xff, bytes);
        return true;
    };
    EXPECT_EQ(makeStoredArray(VTK_ID_TYPE, 1, 1, budget, ones)->GetComponent(0, 0), -1);
    EXPECT_EQ(makeStoredArray(VTK_LONG, 1, 1, budget, ones)->GetComponent(0, 0), -1);
    EXPECT_EQ(makeStoredArray(VTK_UNSIGNED_LONG, 1, 1, budget, ones)->GetComponent(0, 0), 4294967295.0);
}

TEST(StoredArrayTest, valuesThatTheFormatCannotHoldAreRefused)
{
    const auto refusal = [](const vtkSmartPointer<vtkDataArray>& array, std::int64_t count)
    {
        const StoredValues values(*array, count);
        EXPECT_EQ(values.refusal(), tsg::detail::storingRefusal(*array, count));
        EXPECT_EQ(values.data() == nullptr, !values.refusal().empty() || count == 0);
        EXPECT_EQ(values.size() == 0, values.data() == nullptr);
        return values.refusal();
    };
    EXPECT_EQ(refusal(test::arrayOf<vtkIdTypeArray>("", 1, {-2147483648.0, 2147483647}), 2), "");
    EXPECT_THAT(refusal(test::arrayOf<vtkIdTypeArray>("", 1, {0, 2147483648.0}), 2), HasSubstr("value 2147483648"));
    EXPECT_EQ(refusal(test::arrayOf<vtkIdTypeArray>("", 1, {0, 2147483648.0}), 1), "");
    EXPECT_THAT(refusal(test::arrayOf<vtkLongArray>("", 1, {-2147483649.0}), 1), HasSubstr("value -2147483649"));
    EXPECT_THAT(refusal(test::arrayOf<vtkLongArray>("", 1, {4294967301.0}), 1), HasSubstr("4 bytes"));
    EXPECT_EQ(refusal(test::arrayOf<vtkUnsignedLongArray>("", 1, {4294967295.0}), 1), "");
    EXPECT_THAT(refusal(test::arrayOf<vtkUnsignedLongArray>("", 1, {4294967296.0}), 1), HasSubstr("4294967296"));
    EXPECT_THAT(refusal(test::arrayOf<vtkFloatArray>("", 1, {1, 2}), 3), HasSubstr("holds 2 values where 3"));
    EXPECT_THAT(refusal(test::arrayOf<vtkFloatArray>("", 1, {1, 2}), -1), HasSubstr("where -1"));
    EXPECT_EQ(refusal(test::arrayOf<vtkFloatArray>("", 1, {}), 0), "");
    const auto halfFilled = test::arrayOf<vtkDoubleArray>("", 2, {1, 2});
    halfFilled->InsertNextValue(3);
    EXPECT_EQ(refusal(halfFilled, 2), "");
    EXPECT_THAT(refusal(halfFilled, 3), HasSubstr("holds 2 values where 3"));

    char byte = 0;
    vtkNew<vtkUnsignedCharArray> huge; // claims 2 GiB, of which nothing may be looked at
    huge->SetArray(reinterpret_cast<unsigned char*>(&byte), vtkIdType{1} << 31, 1);
    EXPECT_THAT(refusal(huge.Get(), vtkIdType{1} << 31), HasSubstr("2 GiB"));
}

TEST(StoredArrayTest, memoryIsUsedWhereItIsAndGatheredWhereItIsScattered)
{
    const auto floats = test::arrayOf<vtkFloatArray>("", 2, {1, 2, 3, 4});
    EXPECT_EQ(StoredValues(*floats, 4).data(), static_cast<const void*>(floats->GetPointer(0)));

    vtkNew<vtkSOADataArrayTemplate<float>> columns;
    columns->SetNumberOfComponents(2);
    columns->SetNumberOfTuples(2);
    for (int i = 0; i < 4; ++i)
    {
        columns->SetTypedComponent(i / 2, i % 2, static_cast<float>(i + 1));
    }
    EXPECT_EQ(bytesOf(StoredValues(*columns, 4)), bytesOf(StoredValues(*floats, 4)));
}

TEST(StoredArrayTest, nothingIsMadeOfCountsBeyondTheirBounds)
{
    struct Case
    {
        int type;
        std::int64_t components, count;
        std::uint64_t budget;
        bool fills;
    };

    const Case cases[] = {
        {VTK_STRING, 1, 1, 1000, true},          {VTK_FLOAT, -1, 1, 1000, true},
        {VTK_FLOAT, 1048577, 1, 1U << 30, true}, {VTK_FLOAT, 1, -1, 1000, true},
        {VTK_FLOAT, 1, INT64_MAX, 1000, true},   {VTK_FLOAT, 1, INT64_MAX / 16, 1000, true},
        {VTK_FLOAT, 1, 100, 399, true},          {VTK_FLOAT, 100, 1, 799, true},
        {VTK_ID_TYPE, 1, 100, 1199, true},       {VTK_ID_TYPE, 1, 10, 1000, false},
    };
    for (const Case& row : cases)
    {
        MemoryBudget budget(row.budget);
        EXPECT_FALSE(makeStoredArray(row.type, row.components, row.count, budget,
                                     [&](char*, std::uint64_t) { return row.fills; }))
            << row.type << ", " << row.count << " of " << row.components;
        EXPECT_EQ(budget.left(), row.budget);
    }
    MemoryBudget budget(1000);
    const auto fill = [](char*, std::uint64_t bytes) { return bytes == 0; };
    EXPECT_EQ(makeStoredArray(VTK_FLOAT, 0, 0, budget, fill)->GetNumberOfComponents(), 1);
    const auto bits = makeStoredArray(VTK_BIT, 1, 9, budget, fill);
    static_cast<unsigned char*>(bits->GetVoidPointer(0))[2] = 1; // one byte more than nine bits take
    EXPECT_EQ(bits->GetNumberOfTuples(), 9);
}

} // namespace
