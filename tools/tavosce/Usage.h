#pragma once

#include "SceneFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavosce
{

/// Bytes of a file, by what they are good for.
struct Bytes
{
    std::uint64_t own = 0;    ///< payloads and pixels
    std::uint64_t shared = 0; ///< payloads that are stored elsewhere and not again: no part of the total
    std::uint64_t tags = 0;   ///< tags and headers
    std::uint64_t gaps = 0;   ///< what belongs to nothing that can be read

    std::uint64_t total() const { return own + tags + gaps; }

    void add(const Bytes& other);
};

/// What some bytes of a file belong to.
struct Portion
{
    std::optional<std::size_t> record; ///< none outside of records
    std::optional<std::string> node;   ///< object key; none for what belongs to no node
    std::string kind;                  ///< "point array", "node", "thumbnail"
    Bytes bytes;
};

/// Tells of all bytes of a file what they belong to: the totals add up to its size, whatever the file holds.
std::vector<Portion> usageOf(SceneFile& file);

} // namespace tavosce
