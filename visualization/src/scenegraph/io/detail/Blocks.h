#pragma once

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <iosfwd>

namespace sdb::detail
{

/// What the first bytes of a block tell.
struct BlockFrame
{
    int method = -1;                ///< the first byte; -1 if there is none
    bool known = false;             ///< whether it is a CompressionMethods
    std::uint64_t uncompressed = 0; ///< bytes of the content
    std::uint64_t stored = 0;       ///< bytes of the whole block, its first included; 0 if the frame is cut off
};

/// Reads the frame of a block whose content should have `bytes` bytes, which is all that tells them where nothing is
/// compressed. Position and state of the stream afterwards are unspecified.
BlockFrame readFrame(std::istream& in, std::uint64_t bytes);

/// Reads one block into a destination of exactly `size` bytes, whatever the block's own header says: of a longer block
/// the first `size` bytes are kept (a warning is logged), and what it does not provide is zero, also when it fails.
/// Scratch memory is charged to the budget while it is in use. Results and messages as sdb::readCompressed; a budget
/// that does not suffice counts as a short read.
[[nodiscard]] bool readBlock(std::istream& in, char* data, std::uint64_t size, MemoryBudget& budget);

} // namespace sdb::detail
