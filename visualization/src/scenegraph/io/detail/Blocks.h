#pragma once

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <iosfwd>

namespace sdb::detail
{

/// Reads one block into a destination of exactly `size` bytes, whatever the block's own header says: of a longer block
/// the first `size` bytes are kept (a warning is logged), and what it does not provide is zero, also when it fails.
/// Scratch memory is charged to the budget while it is in use. Results and messages as sdb::readCompressed; a budget
/// that does not suffice counts as a short read.
[[nodiscard]] bool readBlock(std::istream& in, char* data, std::uint64_t size, MemoryBudget& budget);

} // namespace sdb::detail
