#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

namespace sdb::detail
{

/// How the search for a property tag ended.
enum class TagScan
{
    Complete,
    NoTag,          ///< the stream ended, or was not good, before a "{"
    CutByEnd,       ///< the stream ended inside the tag
    CutByLineBreak, ///< a line feed or carriage return inside the tag
    TooLong,        ///< no end within MAX_TAG_BYTES
    Failed          ///< the device failed
};

/// Skips bytes up to a "{" and takes what follows up to the matching "}". `text` gets what was taken, a cut tag
/// included; `skipped` the number of bytes before it. Where and in which state the stream is left:
/// internal::getNextPropertyTag.
TagScan scanTag(std::istream& in, std::string& text, std::uint64_t& skipped);

} // namespace sdb::detail
