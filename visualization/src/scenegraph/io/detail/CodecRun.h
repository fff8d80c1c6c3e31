#pragma once

#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>

namespace tsg
{
class SDBDataReader;
class SDBDataWriter;
} // namespace tsg

namespace tsg::detail
{

/// What whoever has a dataset block read lends the reader, and learns from it.
struct CodecRun
{
    explicit CodecRun(sdb::detail::MemoryBudget& memory)
        : budget(memory)
    {
    }

    sdb::detail::MemoryBudget& budget; ///< of all that is read
    sdb::detail::Pulse pulse;          ///< of every value block
    std::uint64_t uncheckedBytes = 0;  ///< of values without compression, which no checksum protects
    bool isSeparated = true;           ///< whether a line end follows all values, as writers leave it

    /// Counts a block that has been read, if it is one of such values.
    void countUnchecked(const sdb::detail::BlockReader& block)
    {
        uncheckedBytes += block.isCompressed() ? 0 : block.contentLength();
    }
};

/// Lends a reader what its next runs take; it stays with the caller and outlives them. Null, as at first, gives each
/// run what the bytes left in its stream can honestly need.
void lend(SDBDataReader& reader, CodecRun* run);

/// Lends a writer the pulse of every value block that it writes; null, as at first, for none.
void lend(SDBDataWriter& writer, const sdb::detail::Pulse* pulse);

} // namespace tsg::detail
