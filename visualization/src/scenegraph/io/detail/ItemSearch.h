#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace sdb::detail
{

/// What a rendered tag begins with whose first entry is this "DataField".
std::string beginningOfTag(const char* dataField);

/// True if a text begins as every record header or thumbnail tag does, or is cut within that beginning.
bool beginsAsItem(const std::string& text);

/// Looks from `from` on for an item that shows itself to be in its place: a record header whose "FilePos" is its own
/// first byte, or a thumbnail whose "FilePos" is its own end, that does not end before its tag. Gives the first byte of
/// its tag, and none when there is no such item up to the end of the stream. Takes time in proportion to the bytes
/// passed over. Clears the whole stream state before; position and state afterwards are unspecified.
std::optional<std::uint64_t> findItem(std::istream& in, std::uint64_t from);

/// True if such an item begins at `position`. One with a tag of more than 64 KiB is not recognised, so that a look
/// costs little. Position and state of the stream afterwards are unspecified.
bool isItemAt(std::istream& in, std::uint64_t position);

} // namespace sdb::detail
