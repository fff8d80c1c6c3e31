#pragma once

#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <utility>

namespace sdb::detail
{

/// What one load of a record knows of its file: how large it is, and the memory it may still take for that; and who
/// wants to be asked about going on.
struct Load
{
    Load(std::uint64_t size, Pulse stopCheck)
        : fileSize(size)
        , budget(loadMemory(size))
        , pulse(std::move(stopCheck))
    {
    }

    std::uint64_t fileSize;
    MemoryBudget budget;
    Pulse pulse;
};

} // namespace sdb::detail
