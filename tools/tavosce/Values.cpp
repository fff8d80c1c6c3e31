#include "Values.h"

#include "Interrupt.h"
#include "NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

#include <vtkBitArray.h>
#include <vtkIdTypeArray.h>
#include <vtkUnsignedCharArray.h>

namespace tavosce
{

namespace
{

/// After this many tuples somebody may want to stop.
constexpr std::size_t PATIENCE = 65536;

/// To be called with the place of every tuple.
void beInterruptibleAt(std::size_t tuple)
{
    if (tuple % PATIENCE == 0)
    {
        throwIfInterrupted();
    }
}

/// One end of a slice; false if the text is no number.
bool parseEnd(const char* begin, const char* end, std::optional<std::int64_t>& number)
{
    if (begin == end)
    {
        return true;
    }
    const auto [rest, error] = std::from_chars(begin, end, number.emplace());
    return error == std::errc() && rest == end;
}

/// Hands the values of an array, which has whole bytes, to `use` as what they are.
template <class Use>
void withValues(vtkDataArray& array, Use use)
{
    switch (array.GetDataType())
    {
        vtkTemplateMacro(use(static_cast<const VTK_TT*>(array.GetVoidPointer(0))));
    default:
        break; // arrays have no other types
    }
}

template <class T>
class Tally
{
public:
    void add(T value)
    {
        ++_count;
        if constexpr (std::is_floating_point_v<T>)
        {
            if (!std::isfinite(value))
            {
                ++(std::isnan(value) ? _nan : _infinite);
                return;
            }
        }
        _least = _finite == 0 ? value : std::min(_least, value);
        _greatest = _finite == 0 ? value : std::max(_greatest, value);
        _sum += static_cast<long double>(value);
        ++_finite;
    }

    Statistics result(std::string subject) const
    {
        Statistics res{std::move(subject), _count, {}, {}, {}, _nan, _infinite};
        if (_finite > 0)
        {
            res.least = numberText(_least);
            res.greatest = numberText(_greatest);
            res.mean = numberText(static_cast<double>(_sum / static_cast<long double>(_finite)));
        }
        return res;
    }

private:
    std::uint64_t _count = 0, _finite = 0, _nan = 0, _infinite = 0;
    T _least{}, _greatest{};
    long double _sum = 0; ///< wide enough for any sum of doubles
};

/// Bits one to a byte; any other array as it is.
vtkSmartPointer<vtkDataArray> inBytes(vtkDataArray& array)
{
    if (array.GetDataType() != VTK_BIT)
    {
        return &array;
    }
    auto res = vtkSmartPointer<vtkUnsignedCharArray>::New();
    res->DeepCopy(&array);
    return res;
}

} // namespace

std::pair<std::size_t, std::size_t> Slice::of(std::size_t count) const
{
    const auto size = static_cast<std::int64_t>(count);
    const auto place = [size](std::int64_t from)
    { return std::clamp<std::int64_t>(from < 0 ? from + size : from, 0, size); };
    const std::int64_t first = place(begin.value_or(0)), last = place(end.value_or(size));
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(std::max(first, last))};
}

std::optional<Slice> parseSlice(const std::string& text)
{
    Slice res;
    const std::size_t colon = text.find(':');
    const char* const middle = text.data() + colon;
    if (colon == std::string::npos || !parseEnd(text.data(), middle, res.begin) ||
        !parseEnd(middle + 1, text.data() + text.size(), res.end))
    {
        return std::nullopt;
    }
    return res;
}

Values::Values(vtkDataArray& array)
    : _array(inBytes(array))
{
}

Values::Values(vtkCellArray& cells)
    : _cells(&cells)
{
}

std::size_t Values::size() const
{
    return static_cast<std::size_t>(_cells ? _cells->GetNumberOfCells() : _array->GetNumberOfTuples());
}

std::string Values::type() const
{
    return _cells ? "vtkIdType" : _array->GetDataTypeAsString();
}

int Values::components() const
{
    return _cells ? 0 : _array->GetNumberOfComponents();
}

void Values::visit(const Slice& slice, const std::function<void(const std::vector<std::string>& tuple)>& visitor) const
{
    const auto [first, last] = slice.of(size());
    std::vector<std::string> tuple;
    const auto hand = [&](std::size_t place, const auto* values, std::size_t count)
    {
        beInterruptibleAt(place);
        tuple.resize(count);
        std::transform(values, values + count, tuple.begin(), [](auto value) { return numberText(value); });
        visitor(tuple);
    };
    if (_cells)
    {
        for (std::size_t i = first; i < last; ++i)
        {
            vtkIdType count = 0;
            const vtkIdType* ids = nullptr;
            _cells->GetCellAtId(static_cast<vtkIdType>(i), count, ids);
            hand(i, ids, static_cast<std::size_t>(count));
        }
        return;
    }
    const auto width = static_cast<std::size_t>(components());
    withValues(*_array,
               [&, first = first, last = last](const auto* values)
               {
                   for (std::size_t i = first; i < last; ++i)
                   {
                       hand(i, values + i * width, width);
                   }
               });
}

std::vector<Statistics> Values::statistics(const Slice& slice) const
{
    const auto [first, last] = slice.of(size());
    std::vector<Statistics> res;
    if (_cells)
    {
        Tally<vtkIdType> sizes, points;
        for (std::size_t i = first; i < last; ++i)
        {
            beInterruptibleAt(i);
            vtkIdType count = 0;
            const vtkIdType* ids = nullptr;
            _cells->GetCellAtId(static_cast<vtkIdType>(i), count, ids);
            sizes.add(count);
            std::for_each(ids, ids + count, [&](vtkIdType id) { points.add(id); });
        }
        return {sizes.result("points of a cell"), points.result("point ids")};
    }
    const auto width = static_cast<std::size_t>(components());
    withValues(*_array,
               [&, first = first, last = last](const auto* values)
               {
                   using T = std::decay_t<decltype(*values)>;
                   for (std::size_t c = 0; c < width; ++c)
                   {
                       Tally<T> tally;
                       for (std::size_t i = first; i < last; ++i)
                       {
                           beInterruptibleAt(i);
                           tally.add(values[i * width + c]);
                       }
                       res.push_back(tally.result("component " + std::to_string(c)));
                   }
               });
    return res;
}

} // namespace tavosce
