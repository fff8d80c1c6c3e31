#pragma once

#include "RecordWalk.h"

#include <cstdint>
#include <iosfwd>
#include <string>

namespace tavosce
{

/// What a block is, for messages: "polydata of KEY", "point array "T" of KEY".
std::string describeBlock(const StoredBlock& block);

/// Why the payload of a block cannot be loaded, found by decoding it; empty if nothing is wrong with it. Of polydata
/// only the extent is looked at.
std::string blockFault(std::istream& in, const StoredBlock& block, std::uint64_t fileSize);

} // namespace tavosce
