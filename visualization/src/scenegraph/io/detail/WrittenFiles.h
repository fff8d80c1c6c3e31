#pragma once

#include "platform/FileStreams.h"

#include <cstdint>
#include <unordered_map>

/// What this process knows of the files that it has written and closed: as long as nobody else has written to one, the
/// stamps in it are those of this process.
namespace sdb::detail
{

/// Where the payloads lie that this process knows, by checksum.
using KnownBlocks = std::unordered_map<unsigned int, std::uint64_t>;

/// Remembers a file as it was left. Of many files the oldest are forgotten.
void rememberWritten(const OS::FileState& state, KnownBlocks blocks);

/// What is known of a file; nothing if it is not as it was left, or another process has left it.
KnownBlocks recallWritten(const OS::FileState& state);

} // namespace sdb::detail
