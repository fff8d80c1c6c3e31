#include "FilesVerb.h"
#include "Text.h"
#include "Usage.h"

#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// What a line is about: a record or a node; of what belongs to none the kind.
struct Subject
{
    std::optional<std::size_t> record;
    std::optional<std::string> node;
    std::string kind;

    bool operator<(const Subject& other) const
    {
        return std::tie(record, node, kind) < std::tie(other.record, other.node, other.kind);
    }
};

using Row = std::pair<Subject, Bytes>;

/// Adds up what has the same subject. Records come in their order, everything else with the most bytes first, and what
/// belongs to no record or node last.
std::vector<Row> grouped(const std::vector<Portion>& portions, Subject (*subjectOf)(const Portion& portion))
{
    std::map<Subject, Bytes> sums;
    for (const Portion& portion : portions)
    {
        sums[subjectOf(portion)].add(portion.bytes);
    }
    std::vector<Row> res(sums.begin(), sums.end());
    const auto isBefore = [](const Row& left, const Row& right)
    {
        const bool leftIsRest = !left.first.kind.empty(), rightIsRest = !right.first.kind.empty();
        if (leftIsRest != rightIsRest || left.first.record || right.first.record)
        {
            return std::make_pair(leftIsRest, left.first.record) < std::make_pair(rightIsRest, right.first.record);
        }
        return left.second.total() > right.second.total();
    };
    std::stable_sort(res.begin(), res.end(), isBefore);
    return res;
}

struct Grouping
{
    const char* title;
    const char* jsonKey;
    Subject (*subjectOf)(const Portion& portion);
};

constexpr Grouping GROUPINGS[] = {
    {"by record", "byRecord",
     [](const Portion& portion) {
         return Subject{portion.record, {}, portion.record ? "" : portion.kind};
     }},
    {"by node", "byNode",
     [](const Portion& portion) {
         return Subject{{}, portion.node, portion.node ? "" : portion.kind};
     }},
    {"by kind", "byKind",
     [](const Portion& portion) {
         return Subject{{}, {}, portion.kind};
     }},
};

constexpr std::pair<const char*, std::uint64_t Bytes::*> PARTS[] = {
    {"own", &Bytes::own}, {"tags", &Bytes::tags}, {"gaps", &Bytes::gaps}, {"shared", &Bytes::shared}};

std::string nameOf(const Subject& subject, const SceneFile& file)
{
    if (subject.record)
    {
        return "record " + std::to_string(*subject.record) + ' ' +
               inQuotes(file.records()[*subject.record].getString(key::TITLE));
    }
    return subject.node ? shown(*subject.node) : '(' + subject.kind + ')';
}

Bytes sumOf(const std::vector<Portion>& portions)
{
    Bytes res;
    for (const Portion& portion : portions)
    {
        res.add(portion.bytes);
    }
    return res;
}

void printLine(std::ostream& out, std::size_t width, const Bytes& bytes, const std::string& name)
{
    out << padded(std::to_string(bytes.total()), width);
    for (const auto& [part, member] : PARTS)
    {
        out << "  " << padded(std::to_string(bytes.*member), width);
    }
    out << "  " << name << '\n';
}

void printText(std::ostream& out, SceneFile& file, bool)
{
    const std::vector<Portion> portions = usageOf(file);
    const Bytes sum = sumOf(portions);
    const std::size_t width =
        std::max<std::size_t>(6, std::to_string(std::max(sum.total(), sum.shared)).size()); // as long as "shared"
    out << padded("total", width);
    for (const auto& [part, member] : PARTS)
    {
        out << "  " << padded(part, width);
    }
    out << '\n';
    for (const Grouping& grouping : GROUPINGS)
    {
        out << grouping.title << '\n';
        for (const auto& [subject, bytes] : grouped(portions, grouping.subjectOf))
        {
            printLine(out, width, bytes, nameOf(subject, file));
        }
    }
    out << "in all\n";
    printLine(out, width, sum, shown(file.path()));
}

void writeBytes(Json& json, const Bytes& bytes)
{
    json.member("total", bytes.total());
    for (const auto& [part, member] : PARTS)
    {
        json.member(part, bytes.*member);
    }
}

void writeRow(Json& json, const Row& row)
{
    const auto& [subject, bytes] = row;
    json.beginObject();
    if (subject.record)
    {
        json.member("record", static_cast<std::uint64_t>(*subject.record));
    }
    else if (subject.node)
    {
        json.member("node", *subject.node);
    }
    else
    {
        json.member("kind", subject.kind);
    }
    writeBytes(json, bytes);
    json.endObject();
}

void writeJson(Json& json, SceneFile& file)
{
    const std::vector<Portion> portions = usageOf(file);
    json.beginObject();
    json.member("file", file.path());
    writeBytes(json, sumOf(portions));
    for (const Grouping& grouping : GROUPINGS)
    {
        json.beginArray(grouping.jsonKey);
        for (const Row& row : grouped(portions, grouping.subjectOf))
        {
            writeRow(json, row);
        }
        json.endArray();
    }
    json.endObject();
}

} // namespace

Run declareDu(CLI::App& app)
{
    return declareFiles(app, {&printText, &writeJson});
}

} // namespace tavosce
