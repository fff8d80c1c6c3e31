#pragma once

#include "BlockData.h"
#include "SceneFile.h"

#include <cstddef>

namespace tavosce
{

/// Decodes one block of a record, and nothing else of it. Throws Failure TooDamaged, which names the block, if it
/// cannot be decoded or VTK complains about it.
BlockData loadBlock(SceneFile& file, std::size_t record, const StoredBlock& block);

} // namespace tavosce
