#include "scenegraph/io/detail/BlockWalk.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagScan.h"

#include <istream>
#include <unordered_set>

namespace sdb::detail
{

void walkBlocks(std::istream& in, const Properties& header, std::uint64_t end, const BlockCallback& block,
                BlockBudget& budget)
{
    std::string text;
    std::uint64_t skipped = 0;
    std::unordered_set<std::uint64_t>
        visited; // where a walk goes on depends on the tag alone: it ends or goes in circles
    seekTo(in, hexFromProp(header, key::BINARY_DATA));
    while (!in.fail() && !budget.isSpent())
    {
        const std::uint64_t from = readPosition(in);
        if (from >= end)
        {
            return;
        }
        const TagScan scan = scanTag(in, text, skipped);
        budget.pay(skipped + text.size());
        if (scan != TagScan::Complete || !visited.insert(from + skipped).second)
        {
            return;
        }
        const Properties tag(text);
        if (tag.getString(key::DATA_FIELD) != field::BINARY_DATA)
        {
            return;
        }
        const std::optional<std::uint64_t> next = extentEnd(tag);
        block(getChecksum(header.getString(key::SESSION_ID), tag.getString(key::OBJECT_KEY), tag.getString(key::NAME),
                          static_cast<SDBTags>(tag.getInt(key::TAG))),
              tag);
        seekTo(in, next);
    }
}

} // namespace sdb::detail
