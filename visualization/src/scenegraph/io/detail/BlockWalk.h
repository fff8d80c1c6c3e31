#pragma once

#include "scenegraph/io/SDB.h"

#include <cstdint>
#include <iosfwd>

namespace sdb::detail
{

/// What the block walks of one index run may still look at. Tags cost one and more if they are long or far apart, so
/// that records which all point at the same bytes cannot make a run take time without end.
class BlockBudget
{
public:
    explicit BlockBudget(std::uint64_t tags)
        : _left(tags)
    {
    }

    bool isSpent() const { return _left == 0; }

    /// Pays for one tag for which `bytes` bytes were read.
    void pay(std::uint64_t bytes)
    {
        constexpr std::uint64_t BYTES_OF_A_TAG = 256;
        const std::uint64_t price = 1 + bytes / BYTES_OF_A_TAG;
        _left -= price < _left ? price : _left;
    }

private:
    std::uint64_t _left;
};

/// Reports the blocks of one record: from the header's "BinaryData" on, tag by tag, always going on where the payload
/// of the tag ends, be that before the tag. Ends at `end`, the end of the record, at anything that is no block tag, at
/// a tag that was met before, and when the budget is spent. The state and position of the stream are then unspecified.
/// The callback may throw and may move the stream.
void walkBlocks(std::istream& in, const Properties& header, std::uint64_t end, const BlockCallback& block,
                BlockBudget& budget);

} // namespace sdb::detail
