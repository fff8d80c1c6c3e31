#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace sdb::detail
{

/// A position or length as it stands in tags: 16 lowercase hexadecimal digits, so that a tag that is rewritten with
/// other positions keeps its length.
std::string hexPosition(std::uint64_t position);

/// The position of the next byte to be read; all ones if the stream is in fail or bad state. Clears the end-of-file
/// bit.
std::uint64_t readPosition(std::istream& in);

/// Flushes the stream and gives the position of the next byte to be written; all ones if the stream is in fail or bad
/// state.
std::uint64_t writePosition(std::ostream& out);

/// Seeks to an absolute position. Clears only the end-of-file bit before; a position that is none, or that no stream
/// has, sets the fail bit.
void seekTo(std::istream& in, std::optional<std::uint64_t> position);

} // namespace sdb::detail
