#pragma once

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <cstdint>
#include <optional>

namespace sdb::detail
{

/// Highest position that a stream has.
constexpr std::uint64_t MAX_POSITION = INT64_MAX;

/// The first byte after what a tag describes; none if the sum is no stream position. Nothing else adds these numbers.
inline std::optional<std::uint64_t> extentEnd(const Properties& tag)
{
    const std::uint64_t begin = hexFromProp(tag, key::FILE_POS);
    const std::uint64_t length = hexFromProp(tag, key::LENGTH);
    if (begin > MAX_POSITION || length > MAX_POSITION - begin)
    {
        return std::nullopt;
    }
    return begin + length;
}

/// The first byte after an item (a record or thumbnail) whose tag ends at `tagEnd`; it may lie beyond the end of the
/// file. None if the item was never finished, which nothing else shows: its extent is none, or ends before its tag.
inline std::optional<std::uint64_t> finishedEnd(const Properties& tag, std::uint64_t tagEnd)
{
    const std::optional<std::uint64_t> end = extentEnd(tag);
    return end.has_value() && *end >= tagEnd ? end : std::nullopt;
}

/// Bytes of the pixels that a thumbnail's sides ask for.
inline std::uint64_t pixelBytes(const Properties& tag)
{
    const int width = tag.getInt(key::WIDTH);
    const int height = tag.getInt(key::HEIGHT);
    return width > 0 && height > 0 ? 3 * std::uint64_t(width) * std::uint64_t(height) : 0;
}

} // namespace sdb::detail
