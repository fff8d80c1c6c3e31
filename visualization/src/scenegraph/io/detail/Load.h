#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>

namespace sdb::detail
{

/// What one load of a record knows of its file: how large it is, and the memory it may still take for that.
struct Load
{
    explicit Load(std::uint64_t size)
        : fileSize(size)
        , budget(loadMemory(size))
    {
    }

    std::uint64_t fileSize;
    MemoryBudget budget;
};

} // namespace sdb::detail
