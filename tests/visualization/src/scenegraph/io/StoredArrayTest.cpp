#include "scenegraph/io/detail/StoredArray.h"

#include "support/Datasets.h"
#include "support/Testing.h"

#include <cstring>
#include <map>

#include <vtkUnsignedCharArray.h>

namespace
{

using namespace test;
using sdb::detail::MemoryBudget;
using tsg::detail::makeStoredArray;
using tsg::detail::StoredValues;

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

    // part: of the refusal; empty for none
    const std::tuple<int, std::vector<double>, std::int64_t, const char*> cases[] = {
        {VTK_ID_TYPE, {-2147483648.0, 2147483647}, 2, ""},
        {VTK_ID_TYPE, {0, 2147483648.0}, 2, "value 2147483648"},
        {VTK_ID_TYPE, {0, 2147483648.0}, 1, ""},
        {VTK_LONG, {-2147483649.0}, 1, "value -2147483649"},
        {VTK_LONG, {4294967301.0}, 1, "4 bytes"},
        {VTK_UNSIGNED_LONG, {4294967295.0}, 1, ""},
        {VTK_UNSIGNED_LONG, {4294967296.0}, 1, "4294967296"},
        {VTK_FLOAT, {1, 2}, 3, "holds 2 values where 3"},
        {VTK_FLOAT, {1, 2}, -1, "where -1"},
        {VTK_FLOAT, {}, 0, ""},
    };
    for (const auto& [type, values, count, part] : cases)
    {
        const std::string found = refusal(arrayOf(type, "", 1, values), count);
        EXPECT_THAT(found, HasSubstr(part));
        EXPECT_EQ(found.empty(), *part == '\0') << found;
    }
    const auto halfFilled = arrayOf(VTK_DOUBLE, "", 2, {1, 2, 3});
    EXPECT_EQ(refusal(halfFilled, 2), "");
    EXPECT_THAT(refusal(halfFilled, 3), HasSubstr("holds 2 values where 3"));

    char byte = 0;
    const vtkNew<vtkUnsignedCharArray> huge; // claims 2 GiB, of which nothing may be looked at
    huge->SetArray(reinterpret_cast<unsigned char*>(&byte), vtkIdType{1} << 31, 1);
    EXPECT_THAT(refusal(huge.Get(), vtkIdType{1} << 31), HasSubstr("2 GiB"));
}

TEST(StoredArrayTest, nothingIsMadeOfCountsBeyondTheirBounds)
{
    const auto source = [](char*, std::uint64_t) { return std::uint64_t{0}; };
    // type, components, values, and a budget that is too small or has nothing to do with it
    const std::tuple<int, std::int64_t, std::int64_t, std::uint64_t> cases[] = {
        {VTK_STRING, 1, 1, 1000}, {VTK_FLOAT, -1, 1, 1000},        {VTK_FLOAT, 1048577, 1, 1U << 30},
        {VTK_FLOAT, 1, -1, 1000}, {VTK_FLOAT, 1, INT64_MAX, 1000}, {VTK_FLOAT, 1, INT64_MAX / 16, 1000},
        {VTK_FLOAT, 1, 100, 401}, {VTK_FLOAT, 100, 1, 203},        {VTK_ID_TYPE, 1, 100, 401},
    };
    for (const auto& [type, components, count, allowed] : cases)
    {
        MemoryBudget budget(allowed);
        const int width = tsg::detail::storedWidth(type);
        EXPECT_FALSE(makeStoredArray(type, width, components, count, budget, source))
            << type << ", " << count << " of " << components;
        EXPECT_EQ(budget.left(), allowed);
        MemoryBudget larger(allowed + 1);
        EXPECT_EQ(makeStoredArray(type, width, components, count, larger, source) != nullptr, allowed < 1000);
    }
    MemoryBudget budget(1000);
    EXPECT_EQ(makeStoredArray(VTK_FLOAT, 4, 0, 0, budget, source)->GetNumberOfComponents(), 1);
    const auto bits = makeStoredArray(VTK_BIT, 0, 1, 9, budget, source);
    static_cast<unsigned char*>(bits->GetVoidPointer(0))[2] = 1; // one byte more than nine bits take
    EXPECT_EQ(bits->GetNumberOfTuples(), 9);
}

} // namespace
