#include "scenegraph/io/detail/NarrowToFloat.h"

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <cstring>

#include <vtkFloatArray.h>

namespace tsg::detail
{

namespace
{

/// What the bracket test clears from a pattern and adds to it. All arithmetic is unsigned: it wraps, as it may.
struct Bracket
{
    std::uint64_t mask;
    std::uint64_t step;
};

/// The step is shifted as a 32-bit number and then sign-extended: files made with a shift of 34 depend on its being 4.
/// Shifts count modulo the width of what they shift.
Bracket bracketOf(int shift)
{
    const auto count = static_cast<std::uint32_t>(shift);
    const auto step = static_cast<std::int32_t>(std::uint32_t{1} << (count % 32));
    return {~std::uint64_t{0} << (count % 64), static_cast<std::uint64_t>(std::int64_t{step})};
}

double fromPattern(std::uint64_t pattern)
{
    double value = 0;
    std::memcpy(&value, &pattern, sizeof value);
    return value;
}

/// Stores the nearest float of a value; false if it is not within the bracket. Comparisons with a NaN are false, which
/// lets it pass. Both zeros pass of themselves: their patterns have no low bits.
bool narrow(double value, const Bracket& bracket, float& narrowed)
{
    std::uint64_t pattern = 0;
    std::memcpy(&pattern, &value, sizeof pattern);
    const double high = fromPattern((pattern + (value > 0 ? bracket.step : 0)) & bracket.mask);
    const double low = fromPattern((pattern + (value < 0 ? bracket.step : 0)) & bracket.mask);
    const double clamped = value > -double{FLT_MAX} ? value : -double{FLT_MAX};
    narrowed = static_cast<float>(std::min(double{FLT_MAX}, clamped));
    const double result = narrowed;
    return !(low > result || result > high);
}

} // namespace

vtkDataArray* narrowToFloat(vtkDataArray* values, vtkFloatArray* buffer, int shift)
{
    if (shift == 0 || values->GetDataType() != VTK_DOUBLE || !values->HasStandardMemoryLayout())
    {
        return values;
    }
    buffer->SetNumberOfComponents(values->GetNumberOfComponents());
    buffer->SetNumberOfTuples(values->GetNumberOfTuples());
    const vtkIdType count = buffer->GetNumberOfValues();
    if (count == 0)
    {
        return buffer;
    }
    const Bracket bracket = bracketOf(shift);
    const auto* const from = static_cast<const double*>(values->GetVoidPointer(0));
    float* const to = buffer->GetPointer(0);
    for (vtkIdType i = 0; i < count; ++i)
    {
        if (!narrow(from[i], bracket, to[i]))
        {
            return values;
        }
    }
    return buffer;
}

} // namespace tsg::detail
