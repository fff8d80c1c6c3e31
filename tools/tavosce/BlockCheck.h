#pragma once

#include "Findings.h"
#include "RecordWalk.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace tavosce
{

/// What a block of a kind is called: "point array".
std::string kindName(int kind);

/// What a block is among those of its node: "polydata", "point array "T"".
std::string blockName(const StoredBlock& block);

/// What a block is, for messages: "polydata of KEY", "point array "T" of KEY".
std::string describeBlock(const StoredBlock& block);

/// What is wrong with the payload of a block, as far as tag and framing tell; nothing is decoded.
std::vector<Finding> framingFindings(std::istream& in, const StoredBlock& block, std::uint64_t fileSize);

/// What the decoding of a block has shown.
struct DecodedBlock
{
    std::vector<Finding> findings;
    std::uint64_t uncheckedBytes = 0; ///< of values that are stored as they are, without a checksum
};

/// Decodes the payload of a block as a load does, to find what is wrong with it.
DecodedBlock decodeBlock(std::istream& in, const StoredBlock& block, std::uint64_t fileSize);

/// Why the payload of a block cannot be loaded, found by decoding it; empty if nothing is wrong with it.
std::string blockFault(std::istream& in, const StoredBlock& block, std::uint64_t fileSize);

} // namespace tavosce
