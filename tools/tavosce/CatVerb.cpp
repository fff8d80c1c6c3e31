#include "CommandTable.h"

#include "CatTarget.h"
#include "Json.h"
#include "NodeArrays.h"
#include "RecordAddress.h"
#include "SceneFile.h"
#include "Text.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct CatOptions
{
    std::string address;
    std::string target;
    std::string slice = ":";
    bool isSliced = false;
    bool stats = false;
    bool json = false;
};

/// A record that is looked into.
struct OpenRecord
{
    explicit OpenRecord(const std::string& text)
        : address(parseAddress(text))
        , file(address.file)
        , index(placeOrNewest(address, file.records().size()))
        , contents(file.contentsOf(index))
    {
    }

    /// Begins a document about something in it.
    void writeTo(Json& json, const CatTarget& target) const
    {
        json.member("file", file.path());
        json.member("record", static_cast<std::uint64_t>(index));
        json.member("objectKey", target.objectKey);
    }

    RecordAddress address;
    SceneFile file;
    std::size_t index;
    RecordContents contents;
};

const StoredNode& nodeOf(const OpenRecord& record, const std::string& objectKey)
{
    const auto& nodes = record.contents.nodes;
    const auto found =
        std::find_if(nodes.begin(), nodes.end(), [&](const StoredNode& node) { return node.objectKey == objectKey; });
    if (found == nodes.end())
    {
        throw Failure(WrongUsage, record.file.placeOf(record.index),
                      shown(objectKey) + " has data, but there is no node with this key",
                      "`tavosce tree` shows its data");
    }
    return *found;
}

/// A line for each value, nested ones by their names with dots between. Records nest at most Properties::MAX_DEPTH
/// deep.
void printProperties(std::ostream& out, const Properties& properties, const std::string& prefix)
{
    for (const std::string& name : properties.names())
    {
        const std::string path = prefix + name;
        if (properties.kind(name) == Properties::Kind::String)
        {
            out << shown(path) << ": " << inQuotes(properties.getString(name)) << '\n';
        }
        else if (properties.kind(name) == Properties::Kind::Integer)
        {
            out << shown(path) << ": " << properties.getLong(name) << '\n';
        }
        else if (properties.getProperties(name).empty())
        {
            out << shown(path) << ": {}\n";
        }
        else
        {
            printProperties(out, properties.getProperties(name), path + '.');
        }
    }
}

void catNode(const CatOptions& options, const OpenRecord& record, const CatTarget& target, std::ostream& out)
{
    const StoredNode& node = nodeOf(record, target.objectKey);
    if (!options.json)
    {
        printProperties(out, node.properties, "");
        return;
    }
    Json json(out);
    record.writeTo(json, target);
    json.member("properties", node.properties);
    json.finish();
}

void writeValue(Json& json, const FoundProperty& found)
{
    switch (found.record->kind(found.name))
    {
    case Properties::Kind::Record:
        json.member("value", found.record->getProperties(found.name));
        break;
    case Properties::Kind::Integer:
        json.number("value", std::to_string(found.record->getLong(found.name)));
        break;
    default:
        json.member("value", found.record->getString(found.name));
        break;
    }
}

void catProperty(const CatOptions& options, const OpenRecord& record, const CatTarget& target, std::ostream& out)
{
    const FoundProperty found =
        findProperty(nodeOf(record, target.objectKey), target.name, record.file.placeOf(record.index));
    if (options.json)
    {
        Json json(out);
        record.writeTo(json, target);
        json.member("property", target.name);
        writeValue(json, found);
        json.finish();
        return;
    }
    switch (found.record->kind(found.name))
    {
    case Properties::Kind::Record:
        printProperties(out, found.record->getProperties(found.name), "");
        break;
    case Properties::Kind::Integer:
        out << found.record->getLong(found.name) << '\n';
        break;
    default:
        out << shown(found.record->getString(found.name)) << '\n';
        break;
    }
}

void writeOptional(Json& json, const char* key, const std::string& number)
{
    number.empty() ? json.nullMember(key) : json.number(key, number);
}

void writeStatistics(Json& json, const std::vector<Statistics>& all)
{
    json.beginArray("statistics");
    for (const Statistics& each : all)
    {
        json.beginObject();
        json.member("of", each.subject);
        json.member("count", each.count);
        writeOptional(json, "min", each.least);
        writeOptional(json, "max", each.greatest);
        writeOptional(json, "mean", each.mean);
        json.member("nan", each.nan);
        json.member("inf", each.infinite);
        json.endObject();
    }
    json.endArray();
}

void writeArray(Json& json, const CatOptions& options, const FoundArray& found, const Slice& slice)
{
    json.member("array", found.name);
    json.member("type", found.values.type());
    if (found.values.components() == 0)
    {
        json.nullMember("components"); // cells have as many points as they have
    }
    else
    {
        json.member("components", found.values.components());
    }
    json.member("tuples", static_cast<std::uint64_t>(found.values.size()));
    json.member("first", static_cast<std::uint64_t>(slice.of(found.values.size()).first));
    if (options.stats)
    {
        writeStatistics(json, found.values.statistics(slice));
        return;
    }
    json.beginArray("values");
    found.values.visit(slice, [&](const std::vector<std::string>& tuple) { json.tuple(tuple); });
    json.endArray();
}

void printStatistics(std::ostream& out, const std::vector<Statistics>& all)
{
    const auto orDash = [](const std::string& number) { return number.empty() ? "-" : number; };
    for (const Statistics& each : all)
    {
        out << each.subject << ": count " << each.count << ", min " << orDash(each.least) << ", max "
            << orDash(each.greatest) << ", mean " << orDash(each.mean) << ", nan " << each.nan << ", inf "
            << each.infinite << '\n';
    }
}

void printTuple(std::ostream& out, const std::vector<std::string>& tuple)
{
    for (std::size_t i = 0; i < tuple.size(); ++i)
    {
        out << (i == 0 ? "" : " ") << tuple[i];
    }
    out << '\n';
}

void catArray(const CatOptions& options, OpenRecord& record, const CatTarget& target, const Slice& slice,
              std::ostream& out)
{
    const FoundArray found = findArray(record.file, record.index, record.contents, target.objectKey, target.name);
    if (options.json)
    {
        Json json(out);
        record.writeTo(json, target);
        writeArray(json, options, found, slice);
        json.finish();
    }
    else if (options.stats)
    {
        printStatistics(out, found.values.statistics(slice));
    }
    else
    {
        found.values.visit(slice, [&](const std::vector<std::string>& tuple) { printTuple(out, tuple); });
    }
}

void runCat(const CatOptions& options, Console& console)
{
    const std::optional<Slice> slice = parseSlice(options.slice);
    if (!slice)
    {
        throw Failure(WrongUsage, "", "no slice: " + inQuotes(options.slice),
                      "--slice A:B takes the tuples from A to in front of B; either may be missing or negative");
    }
    OpenRecord record(options.address);
    record.file.reportFault(console.report, record.index, record.contents);
    const CatTarget target = parseTarget(options.target, record.contents, record.file.placeOf(record.index));
    if (target.what != CatTarget::Array && (options.isSliced || options.stats))
    {
        throw Failure(WrongUsage, record.file.placeOf(record.index), "only arrays have slices and statistics",
                      "name an array as NODE/ARRAY");
    }
    switch (target.what)
    {
    case CatTarget::Node:
        catNode(options, record, target, console.out);
        break;
    case CatTarget::Property:
        catProperty(options, record, target, console.out);
        break;
    case CatTarget::Array:
        catArray(options, record, target, *slice, console.out);
        break;
    }
    record.file.reportEnd(console.report);
}

} // namespace

Run declareCat(CLI::App& app)
{
    const auto options = std::make_shared<CatOptions>();
    app.add_option("FILE[:REC]", options->address, RECORD_OR_NEWEST)->required();
    app.add_option("NODE[.PROP|/ARRAY]", options->target,
                   "Node; one of its properties, nested ones with dots between; one of its arrays, or points, verts, "
                   "lines, polys or strips of its geometry. point:, cell: or node: in front of an array tells apart "
                   "what has the same name")
        ->required();
    auto* const slice =
        app.add_option("--slice", options->slice, "Only these tuples of the array, counted as in Python")
            ->type_name("A:B");
    app.add_flag("--stats", options->stats, "Count, least, greatest and mean value, NaN and infinite ones a component");
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options, slice](Console& console)
    {
        options->isSliced = slice->count() > 0;
        runCat(*options, console);
    };
}

} // namespace tavosce
