#include "Difference.h"

#include "Text.h"

#include <ostream>

namespace tavosce
{

namespace
{

constexpr const char* PRESENCE = "presence";
constexpr const char* VALUE = "value";

std::string describe(const Place& place)
{
    std::string res = place.what;
    if (place.name)
    {
        res += ' ' + inQuotes(*place.name);
    }
    if (!place.node.empty())
    {
        res += (place.what == "node" ? " " : " of ") + shown(place.node);
    }
    return res;
}

std::string sideText(const Properties& sides, const char* side, bool quoted)
{
    switch (sides.kind(side))
    {
    case Properties::Kind::Integer:
        return std::to_string(sides.getLong(side));
    case Properties::Kind::Record:
        return shownJson(sides.getProperties(side).toString());
    default:
        return quoted ? inQuotes(sides.getString(side)) : shown(sides.getString(side));
    }
}

void printSpread(std::ostream& out, const Spread& spread)
{
    const bool cells = spread.largest.empty();
    out << spread.differing << " of " << counted(spread.total, cells ? "cell" : "value")
        << (spread.differing == 1 ? " differs" : " differ") << ", first " << (cells ? "cell " : "in tuple ")
        << spread.first;
    if (!cells)
    {
        out << ", component " << spread.component;
    }
    out << ": " << spread.a << " and " << spread.b;
    if (!cells)
    {
        out << "; largest difference " << spread.largest;
    }
}

void writeSpread(Json& json, const Spread& spread)
{
    const bool cells = spread.largest.empty();
    json.beginObject("spread");
    json.member("differing", spread.differing);
    json.member("total", spread.total);
    json.beginObject("first");
    json.member(cells ? "cell" : "tuple", static_cast<std::uint64_t>(spread.first));
    if (cells)
    {
        json.member("a", spread.a);
        json.member("b", spread.b);
    }
    else
    {
        json.member("component", spread.component);
        json.number("a", spread.a);
        json.number("b", spread.b);
    }
    json.endObject();
    if (!cells)
    {
        json.number("largest", spread.largest);
    }
    json.endObject();
}

} // namespace

Difference onlyIn(Side side, Place place)
{
    return {std::move(place), PRESENCE, side, {}, {}};
}

void printDifference(std::ostream& out, const Difference& difference)
{
    out << describe(difference.place) << ": ";
    if (difference.onlyIn)
    {
        out << (*difference.onlyIn == Side::First ? "only in the first" : "only in the second");
    }
    else if (difference.spread)
    {
        printSpread(out, *difference.spread);
    }
    else
    {
        const bool isValue = difference.aspect == VALUE;
        out << (isValue ? "" : difference.aspect + ' ') << sideText(difference.sides, "a", isValue) << " and "
            << sideText(difference.sides, "b", isValue);
    }
    out << '\n';
}

void writeDifference(Json& json, const Difference& difference)
{
    const Place& place = difference.place;
    json.beginObject();
    json.member("what", place.what);
    place.name ? json.member("name", *place.name) : json.nullMember("name");
    place.node.empty() ? json.nullMember("node") : json.member("node", place.node);
    json.member("aspect", difference.aspect);
    if (difference.onlyIn)
    {
        json.member("onlyIn", *difference.onlyIn == Side::First ? "a" : "b");
    }
    else if (difference.spread)
    {
        writeSpread(json, *difference.spread);
    }
    else
    {
        json.member("sides", difference.sides);
    }
    json.endObject();
}

} // namespace tavosce
