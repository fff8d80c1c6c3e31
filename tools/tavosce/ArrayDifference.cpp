#include "ArrayDifference.h"

#include "NumberText.h"
#include "RecordJson.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include <vtkBitArray.h>
#include <vtkDataArray.h>
#include <vtkSetGet.h>

namespace tavosce
{

namespace
{

constexpr double INFINITELY_FAR = std::numeric_limits<double>::infinity();
constexpr double TWO_TO_64 = 18446744073709551616.0;

/// What holds the distance of any two values.
template <class T>
using Distance = std::conditional_t<std::is_floating_point_v<T>, double, std::uint64_t>;

/// 0 for values that are equal, infinity for those of which one is no number.
template <class T>
Distance<T> distance(T a, T b)
{
    if (a == b)
    {
        return 0;
    }
    if constexpr (std::is_floating_point_v<T>)
    {
        const double res = std::abs(static_cast<double>(a) - static_cast<double>(b));
        if (!std::isnan(res))
        {
            return res;
        }
        return std::isnan(a) && std::isnan(b) ? 0 : INFINITELY_FAR;
    }
    else
    {
        using Unsigned = std::make_unsigned_t<T>; // holds every difference
        const auto larger = static_cast<Unsigned>(std::max(a, b));
        return static_cast<Unsigned>(larger - static_cast<Unsigned>(std::min(a, b)));
    }
}

/// True if values that are not equal, and so far apart, count as equal.
template <class T>
bool isWithin(Distance<T> apart, T a, T b, const Tolerance& tolerance)
{
    const double magnitude = std::max(std::abs(static_cast<double>(a)), std::abs(static_cast<double>(b)));
    const double allowed = std::max(tolerance.abs, tolerance.rel * magnitude);
    if constexpr (std::is_floating_point_v<T>)
    {
        return apart < INFINITELY_FAR && apart <= allowed;
    }
    else
    {
        // A double would round large distances.
        return allowed >= TWO_TO_64 || apart <= static_cast<std::uint64_t>(allowed);
    }
}

/// Compares values one by one; `left` and `right` give the value at a place.
template <class Left, class Right>
std::optional<Spread> spreadOf(Left left, Right right, vtkIdType count, int components, const Tolerance& tolerance)
{
    Spread res;
    res.total = static_cast<std::uint64_t>(count);
    Distance<decltype(left(0))> furthest = 0;
    for (vtkIdType i = 0; i < count; ++i)
    {
        const auto a = left(i), b = right(i);
        const auto apart = distance(a, b);
        if (apart == 0 || isWithin(apart, a, b, tolerance))
        {
            continue;
        }
        if (res.differing++ == 0)
        {
            res.first = i / components;
            res.component = static_cast<int>(i % components);
            res.a = numberText(a);
            res.b = numberText(b);
        }
        furthest = std::max(furthest, apart);
    }
    res.largest = numberText(furthest);
    return res.differing == 0 ? std::nullopt : std::make_optional(res);
}

template <class T>
std::optional<Spread> spreadOf(const T* left, const T* right, vtkIdType count, int components,
                               const Tolerance& tolerance)
{
    if (count == 0 || std::memcmp(left, right, static_cast<std::size_t>(count) * sizeof(T)) == 0)
    {
        return std::nullopt;
    }
    return spreadOf([=](vtkIdType i) { return left[i]; }, [=](vtkIdType i) { return right[i]; }, count, components,
                    tolerance);
}

/// For arrays of one type and shape.
std::optional<Spread> spreadOf(vtkDataArray& left, vtkDataArray& right, const Tolerance& tolerance)
{
    const vtkIdType count = left.GetNumberOfValues();
    const int components = left.GetNumberOfComponents();
    auto* const leftBits = vtkBitArray::SafeDownCast(&left);
    auto* const rightBits = vtkBitArray::SafeDownCast(&right);
    if (leftBits != nullptr && rightBits != nullptr)
    {
        return spreadOf([=](vtkIdType i) { return leftBits->GetValue(i); },
                        [=](vtkIdType i) { return rightBits->GetValue(i); }, count, components, tolerance);
    }
    switch (left.GetDataType())
    {
        vtkTemplateMacro(return spreadOf(static_cast<const VTK_TT*>(left.GetVoidPointer(0)),
                                         static_cast<const VTK_TT*>(right.GetVoidPointer(0)), count, components,
                                         tolerance));
    default:
        return std::nullopt; // arrays have no other types
    }
}

} // namespace

void compareArrays(const Place& place, vtkDataArray& left, vtkDataArray& right, const Tolerance& tolerance,
                   Differences& differences)
{
    if (left.GetDataType() != right.GetDataType())
    {
        differences.add(unequal(place, "type", typeName(left.GetDataType()), typeName(right.GetDataType())));
    }
    else if (left.GetNumberOfComponents() != right.GetNumberOfComponents())
    {
        differences.add(unequal(place, "components", left.GetNumberOfComponents(), right.GetNumberOfComponents()));
    }
    else if (left.GetNumberOfTuples() != right.GetNumberOfTuples())
    {
        differences.add(unequal(place, "tuples", left.GetNumberOfTuples(), right.GetNumberOfTuples()));
    }
    else if (const auto spread = spreadOf(left, right, tolerance))
    {
        differences.add({place, "values", {}, {}, spread});
    }
}

} // namespace tavosce
