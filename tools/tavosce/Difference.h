#pragma once

#include "Json.h"

#include "core/Properties.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>

namespace tavosce
{

/// What of a record is compared. Names and keys are as the files have them.
struct Place
{
    std::string what;                     ///< "node", "property", "point array"...
    std::optional<std::string> name = {}; ///< which of them, if it has a name
    std::string node = {};                ///< object key; empty for what belongs to no node
};

enum class Side
{
    First,
    Second
};

/// How far the values of two arrays, or the cells of two topologies, are apart.
struct Spread
{
    std::uint64_t differing = 0;
    std::uint64_t total = 0;
    std::int64_t first = 0; ///< tuple, or cell, of the first that differ
    int component = 0;      ///< of those values
    std::string a, b;       ///< those values, or the ids of those cells
    std::string largest;    ///< how far the two furthest values are apart; empty for cells
};

/// One thing in which two records differ.
struct Difference
{
    Place place;
    std::string aspect;           ///< what of it differs: "presence", "value", "type", "tuples"...
    std::optional<Side> onlyIn;   ///< of presence: which side has it
    Properties sides;             ///< of what can be told in a word: "a" and "b"
    std::optional<Spread> spread; ///< of values and cells
};

/// Something that is on one side only.
Difference onlyIn(Side side, Place place);

/// Something of which the sides have different numbers, or texts.
template <class T>
Difference unequal(Place place, std::string aspect, const T& a, const T& b)
{
    Difference res{std::move(place), std::move(aspect), {}, {}, {}};
    res.sides.set("a", a);
    res.sides.set("b", b);
    return res;
}

/// Writes a difference as the rest of a line, and as an object of the array that is open.
void printDifference(std::ostream& out, const Difference& difference);
void writeDifference(Json& json, const Difference& difference);

/// Takes the differences of one pair of records, as they are found.
class Differences
{
public:
    using Take = std::function<void(const Difference& difference)>;

    /// `firstIsEnough`: whoever looks for differences may stop at the first.
    Differences(Take take, bool firstIsEnough)
        : _take(std::move(take))
        , _firstIsEnough(firstIsEnough)
    {
    }

    void add(const Difference& difference)
    {
        ++_count;
        _take(difference);
    }

    std::uint64_t count() const { return _count; }

    bool isEnough() const { return _firstIsEnough && _count > 0; }

private:
    Take _take;
    bool _firstIsEnough;
    std::uint64_t _count = 0;
};

} // namespace tavosce
