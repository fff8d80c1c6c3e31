#pragma once

#include "core/Properties.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace sdb::detail
{

/// What a rendered tag begins with whose first entry is this "DataField".
std::string beginningOfTag(const char* dataField);

/// Whether a text begins as every record header or thumbnail tag does, or is cut within that beginning.
bool beginsAsItem(const std::string& text);

/// The first byte after an item (a record or thumbnail) of a file of `fileSize` bytes, whose tag ends at `tagEnd`; it
/// may lie beyond the end of the file. None if the item was never finished: it would end before its tag does, or its
/// writer died while it wrote the final numbers into the tag, that is, the last of them is not the final one yet, and
/// where the item seems to end there is neither a tag nor the end of the file. Position and state of the stream
/// afterwards are unspecified.
std::optional<std::uint64_t> finishedEnd(std::istream& in, const Properties& tag, std::uint64_t tagEnd,
                                         std::uint64_t fileSize);

/// Bytes of the pixels that a thumbnail's sides ask for.
std::uint64_t pixelBytes(const Properties& tag);

/// Looks from `from` on for an item that shows itself to be in its place: a record header whose "FilePos" is its own
/// first byte, or a thumbnail whose "FilePos" is its own end, that does not end before its tag. Gives the first byte of
/// its tag, and none when there is no such item up to the end of the stream. Takes time in proportion to the bytes
/// passed over. Clears the whole stream state before; position and state afterwards are unspecified.
std::optional<std::uint64_t> findItem(std::istream& in, std::uint64_t from);

} // namespace sdb::detail
