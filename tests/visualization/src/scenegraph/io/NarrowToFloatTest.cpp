#include "scenegraph/io/detail/NarrowToFloat.h"

#include "support/Datasets.h"
#include "support/Testing.h"

#include <cfloat>
#include <cmath>
#include <cstring>

#include <vtkFloatArray.h>
#include <vtkSOADataArrayTemplate.h>

namespace
{

using namespace test;
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
    constexpr std::int64_t CLEARED = std::int64_t{1} << 34;
    const float up = static_cast<float>(neighbour(2.5, CLEARED)), down = static_cast<float>(neighbour(-2.5, CLEARED));
    const std::tuple<int, double, float> narrowing[] = {
        {34, 2.5, 2.5F},
        {34, -2.5, -2.5F},
        {34, 100.125, 100.125F},
        {34, 123456, 123456},
        {34, 262145, 262145},
        {34, 0, 0},
        {34, -0.0, -0.0F},
        {34, std::nan(""), -FLT_MAX},
        {34, 5e-324, 0}, // a number of cleared bits alone
        {34, neighbour(2.5, CLEARED - 4), up},
        {34, neighbour(-2.5, CLEARED - 4), down},
        {30, 0.1, 0.1F}, // up to 30 the step is as wide as the cleared bits
        {31, 0, 0},
        {66, 2.5, 2.5F},  // shifts count modulo their width: 2 bits cleared
        {-30, 2.5, 2.5F}, // 34 bits cleared, a step of 4
    };
    for (const auto& [shift, value, narrowed] : narrowing)
    {
        const vtkNew<vtkFloatArray> buffer;
        ASSERT_EQ(narrowToFloat(arrayOf(VTK_DOUBLE, "v", 1, {0, value}), buffer, shift), buffer) << value;
        EXPECT_EQ(buffer->GetValue(1), narrowed) << value << " by " << shift;
        EXPECT_EQ(std::signbit(buffer->GetValue(1)), std::signbit(narrowed)) << value;
    }
    for (const double kept : {neighbour(2.5, CLEARED - 5), neighbour(-2.5, CLEARED - 5), 0.1, -1.0 / 3, 1234567.0,
                              262144.5, 1e300, 1e-60, INF, -INF})
    {
        const auto values = arrayOf(VTK_DOUBLE, "v", 1, {0, kept});
        EXPECT_EQ(narrowToFloat(values, vtkNew<vtkFloatArray>(), 34), values) << kept;
    }
    const auto half = arrayOf(VTK_DOUBLE, "v", 1, {0, 2.5});
    EXPECT_EQ(narrowToFloat(half, vtkNew<vtkFloatArray>(), 31), half); // the step of 31 is negative
}

} // namespace
