#include "scenegraph/io/detail/NarrowToFloat.h"

#include "support/Datasets.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>
#include <vtkDoubleArray.h>
#include <vtkFloatArray.h>
#include <vtkNew.h>
#include <vtkSOADataArrayTemplate.h>

namespace
{

using tsg::detail::narrowToFloat;

constexpr double INF = std::numeric_limits<double>::infinity();

/// The double whose bits are those of `value`, taken as a number, plus `difference`.
double neighbour(double value, std::int64_t difference)
{
    std::uint64_t pattern = 0;
    std::memcpy(&pattern, &value, sizeof pattern);
    pattern += static_cast<std::uint64_t>(difference);
    std::memcpy(&value, &pattern, sizeof value);
    return value;
}

TEST(NarrowToFloatTest, aValueNarrowsIfItsFloatLiesInTheBracket)
{
    struct Case
    {
        int shift;
        double value;
        bool narrows;
        float narrowed;
    };

    constexpr std::int64_t CLEARED = std::int64_t{1} << 34;
    const Case cases[] = {
        {34, 2.5, true, 2.5F},
        {34, -2.5, true, -2.5F},
        {34, 100.125, true, 100.125F},
        {34, 123456, true, 123456},
        {34, 262145, true, 262145},
        {34, 0, true, 0},
        {34, -0.0, true, -0.0F},
        {34, std::nan(""), true, -FLT_MAX},
        {34, 5e-324, true, 0}, // a number of cleared bits alone
        {34, neighbour(2.5, CLEARED - 4), true, static_cast<float>(neighbour(2.5, CLEARED))},
        {34, neighbour(-2.5, CLEARED - 4), true, static_cast<float>(neighbour(-2.5, CLEARED))},
        {34, neighbour(2.5, CLEARED - 5), false, 0},
        {34, neighbour(-2.5, CLEARED - 5), false, 0},
        {34, 0.1, false, 0},
        {34, -1.0 / 3, false, 0},
        {34, 1234567, false, 0},
        {34, 262144.5, false, 0},
        {34, 1e300, false, 0},
        {34, 1e-60, false, 0},
        {34, INF, false, 0},
        {34, -INF, false, 0},
        {30, 0.1, true, 0.1F}, // up to 30 the step is as wide as the cleared bits
        {31, 2.5, false, 0},   // the step of 31 is negative
        {31, 0, true, 0},
        {66, 2.5, true, 2.5F},  // shifts count modulo their width: 2 bits cleared
        {-30, 2.5, true, 2.5F}, // 34 bits cleared, a step of 4
    };
    for (const Case& row : cases)
    {
        const auto values = test::arrayOf<vtkDoubleArray>("v", 1, {0, row.value});
        vtkNew<vtkFloatArray> buffer;
        vtkDataArray* const result = narrowToFloat(values, buffer, row.shift);
        ASSERT_EQ(result == buffer.Get(), row.narrows) << row.value << " by " << row.shift;
        if (row.narrows)
        {
            EXPECT_EQ(buffer->GetValue(1), row.narrowed) << row.value << " by " << row.shift;
            EXPECT_EQ(std::signbit(buffer->GetValue(1)), std::signbit(row.narrowed)) << row.value;
        }
        else
        {
            EXPECT_EQ(result, values.Get());
        }
    }
}

TEST(NarrowToFloatTest, theBufferTakesTheShapeOfTheValues)
{
    vtkNew<vtkFloatArray> buffer;
    EXPECT_EQ(narrowToFloat(test::arrayOf<vtkDoubleArray>("", 3, {1, 2, 3, 4, 5, 6, 7}), buffer, 34), buffer);
    EXPECT_EQ(buffer->GetNumberOfComponents(), 3);
    EXPECT_EQ(buffer->GetNumberOfTuples(), 2);
    EXPECT_EQ(buffer->GetValue(5), 6);
    EXPECT_EQ(narrowToFloat(test::arrayOf<vtkDoubleArray>("", 2, {}), buffer, 34), buffer);
    EXPECT_EQ(buffer->GetNumberOfTuples(), 0);
    EXPECT_EQ(buffer->GetNumberOfComponents(), 2);
}

TEST(NarrowToFloatTest, whatIsNotNarrowedLeavesTheBufferAlone)
{
    const auto buffer = test::arrayOf<vtkFloatArray>("", 1, {7});
    const auto doubles = test::arrayOf<vtkDoubleArray>("", 1, {2.5, 1});
    const auto floats = test::arrayOf<vtkFloatArray>("", 1, {2.5, 1});
    vtkNew<vtkSOADataArrayTemplate<double>> columns;
    columns->SetNumberOfTuples(1);
    EXPECT_EQ(narrowToFloat(doubles, buffer, 0), doubles);
    EXPECT_EQ(narrowToFloat(floats, buffer, 34), floats);
    EXPECT_EQ(narrowToFloat(columns, buffer, 34), columns);
    EXPECT_EQ(buffer->GetNumberOfTuples(), 1);
    EXPECT_EQ(buffer->GetValue(0), 7);
}

} // namespace
