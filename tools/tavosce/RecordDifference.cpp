#include "RecordDifference.h"

#include "BlockCheck.h"
#include "Interrupt.h"
#include "Matching.h"
#include "PolysDifference.h"

#include "scenegraph/NodeRegistry.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/io/SDB.h"

#include <cstddef>
#include <vector>

namespace tavosce
{

namespace
{

/// Compares one entry that both sides have.
void compareEntry(const Place& place, const Properties& left, const Properties& right, const std::string& key,
                  Differences& differences);

/// Compares what two records of properties hold. A name is the path from the outermost one, parted by dots.
void compareProperties(const Place& place, const Properties& left, const Properties& right, Differences& differences)
{
    if (left == right)
    {
        return;
    }
    const auto placeOf = [&](const std::string& key)
    {
        Place res = place;
        res.name = (place.name ? *place.name + '.' : "") + key;
        return res;
    };
    for (const std::string& key : left.names())
    {
        if (right.hasName(key))
        {
            compareEntry(placeOf(key), left, right, key, differences);
        }
        else
        {
            differences.add(onlyIn(Side::First, placeOf(key)));
        }
    }
    for (const std::string& key : right.names())
    {
        if (!left.hasName(key))
        {
            differences.add(onlyIn(Side::Second, placeOf(key)));
        }
    }
}

void copyEntry(const Properties& from, const std::string& key, Properties& to, const char* as)
{
    switch (from.kind(key))
    {
    case Properties::Kind::Integer:
        to.set(as, from.getLong(key));
        break;
    case Properties::Kind::Record:
        to.set(as, from.getProperties(key));
        break;
    default:
        to.set(as, from.getString(key));
        break;
    }
}

void compareEntry(const Place& place, const Properties& left, const Properties& right, const std::string& key,
                  Differences& differences)
{
    if (left.kind(key) == Properties::Kind::Record && right.kind(key) == Properties::Kind::Record)
    {
        compareProperties(place, left.getProperties(key), right.getProperties(key), differences);
        return;
    }
    Difference difference{place, "value", {}, {}, {}};
    copyEntry(left, key, difference.sides, "a");
    copyEntry(right, key, difference.sides, "b");
    if (left.kind(key) != right.kind(key) || left.getLong(key) != right.getLong(key) ||
        left.getString(key) != right.getString(key))
    {
        differences.add(difference);
    }
}

/// The object keys of nodes that are on one side only, which are differences.
std::set<std::string> compareNodes(ComparedRecord& left, ComparedRecord& right, Differences& differences)
{
    std::set<std::string> lonely;
    for (const auto& [one, other] :
         matched(left.nodes, right.nodes, [](const StoredNode& node) { return node.objectKey; }))
    {
        if (one != nullptr && other != nullptr)
        {
            compareProperties({"property", {}, one->objectKey}, one->properties, other->properties, differences);
            continue;
        }
        const std::string& key = one != nullptr ? one->objectKey : other->objectKey;
        differences.add(onlyIn(one != nullptr ? Side::First : Side::Second, {"node", {}, key}));
        lonely.insert(key);
    }
    return lonely;
}

Place placeOf(const StoredBlock& block)
{
    const bool isTable =
        block.kind() == sdb::NodeDataB && tsg::classNameOf(block.objectKey()) == tsg::PolyDataNode::getClassName();
    Place res{isTable ? "lookup table" : kindName(block.kind()), {}, block.objectKey()};
    if (block.isArray())
    {
        res.name = block.name();
    }
    return res;
}

/// Blocks that have this in common are those that belong together.
std::string keyOf(const ComparedBlock& block)
{
    return std::to_string(block.stored.kind()) + ' ' + std::to_string(block.stored.objectKey().size()) + ' ' +
           block.stored.objectKey() + block.stored.name();
}

} // namespace

RecordComparison::RecordComparison(const Tolerance& tolerance, bool sameFile, Report& report)
    : _tolerance(tolerance)
    , _sameFile(sameFile)
    , _report(report)
{
}

bool RecordComparison::compare(ComparedRecord& left, ComparedRecord& right, Differences& differences,
                               const Progress& progress)
{
    if (left.root != right.root && !left.root.empty() && !right.root.empty())
    {
        differences.add(unequal({"root node"}, "value", left.root, right.root));
    }
    compareProperties({"class version"}, left.classVersions, right.classVersions, differences);
    const std::set<std::string> lonelyNodes = compareNodes(left, right, differences);
    return compareBlocks(left, right, lonelyNodes, differences, progress);
}

bool RecordComparison::compareBlocks(ComparedRecord& left, ComparedRecord& right,
                                     const std::set<std::string>& lonelyNodes, Differences& differences,
                                     const Progress& progress)
{
    const auto pairs = matched(left.blocks, right.blocks, &keyOf);
    bool complete = true;
    for (std::size_t i = 0; i < pairs.size() && !differences.isEnough(); ++i)
    {
        throwIfInterrupted();
        progress(static_cast<double>(i) / static_cast<double>(pairs.size()));
        const auto [one, other] = pairs[i];
        if (one != nullptr && other != nullptr)
        {
            complete = compareData(*one, *other, differences) && complete;
            continue;
        }
        const StoredBlock& block = one != nullptr ? one->stored : other->stored;
        if (lonelyNodes.count(block.objectKey()) == 0) // all that such a node has is on its side
        {
            differences.add(onlyIn(one != nullptr ? Side::First : Side::Second, placeOf(block)));
        }
    }
    return complete;
}

bool RecordComparison::isKnownEqual(const ComparedBlock& left, const ComparedBlock& right) const
{
    return left.payload && right.payload &&
           ((_sameFile && left.payload == right.payload) || _equal.count({*left.payload, *right.payload}) > 0);
}

bool RecordComparison::compareData(const ComparedBlock& left, const ComparedBlock& right, Differences& differences)
{
    if (isKnownEqual(left, right))
    {
        return true;
    }
    BlockData a, b;
    const bool first = load(left, a), second = load(right, b); // so that all that is damaged is named
    if (!first || !second)
    {
        return false;
    }
    const std::uint64_t before = differences.count();
    if (left.stored.isArray())
    {
        compareArrays(placeOf(left.stored), *a.array, *b.array, _tolerance, differences);
    }
    else
    {
        comparePolys(left.stored.objectKey(), *a.polys, *b.polys, _tolerance, differences);
    }
    if (differences.count() == before && left.payload && right.payload)
    {
        _equal.emplace(*left.payload, *right.payload);
    }
    return true;
}

bool RecordComparison::load(const ComparedBlock& block, BlockData& data)
{
    try
    {
        data = block.load();
        return true;
    }
    catch (const Failure& failure)
    {
        if (failure.code() != TooDamaged)
        {
            throw;
        }
        _report.error(failure);
        return false;
    }
}

} // namespace tavosce
