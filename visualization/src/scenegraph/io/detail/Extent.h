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

} // namespace sdb::detail
