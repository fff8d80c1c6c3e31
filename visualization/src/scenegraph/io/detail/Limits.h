#pragma once

#include <cstdint>

/// Every bound that keeps damaged or hostile files from taking memory or time. (Nesting of property tags:
/// Properties::MAX_DEPTH; pictures: tsg::BitmapBase.)
namespace sdb::detail
{

/// Longest property tag in bytes. A longer one is unreadable, and none such is written.
constexpr std::uint64_t MAX_TAG_BYTES = std::uint64_t{64} << 20;

/// Most components of an array that are handed to VTK, which zero-fills a buffer of that size.
constexpr std::int64_t MAX_COMPONENTS = 1048576;

/// Longest encoded array name: VTK and this codec read tokens into 256 bytes with the terminator.
constexpr int MAX_NAME_BYTES = 255;

/// Most arrays in the text of a polydata: VTK compares the name of each with those of all before.
constexpr int MAX_TEXT_ARRAYS = 16384;

/// Most of the zero padding behind a short payload that is real memory.
constexpr std::uint64_t MAX_PADDING_BYTES = 4096;

/// Most bytes that zlib makes of one.
constexpr std::uint64_t MOST_INFLATED = 1032;

/// What one load may take, in bytes of the stored form: more than zlib makes of the file, so that no honest one reaches
/// it. Memory may keep a stored byte in up to MEMORY_FACTOR: ids of two bytes have eight in VTK.
constexpr std::uint64_t MEMORY_FACTOR = 4;

constexpr std::uint64_t loadMemory(std::uint64_t fileSize)
{
    constexpr std::uint64_t BASE = std::uint64_t{16} << 20;
    constexpr std::uint64_t FACTOR = 1100;
    return fileSize > (UINT64_MAX - BASE) / FACTOR ? UINT64_MAX : BASE + FACTOR * fileSize;
}

/// Block tags that one index run visits.
constexpr std::uint64_t indexedBlocks(std::uint64_t fileSize)
{
    return 1000000 + fileSize / 8;
}

/// Payloads that a file of that size can honestly hold, each with a tag of its own. Records of many sessions that all
/// point at the same tags would make more of them.
constexpr std::uint64_t storedBlocks(std::uint64_t fileSize)
{
    constexpr std::uint64_t LEAST_TAG_BYTES = 64;
    return fileSize / LEAST_TAG_BYTES;
}

} // namespace sdb::detail
