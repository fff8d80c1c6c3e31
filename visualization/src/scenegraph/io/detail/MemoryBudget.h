#pragma once

#include "scenegraph/io/detail/Limits.h"

#include <cstdint>
#include <iosfwd>

namespace sdb::detail
{

/// What one load may still take. Every buffer whose size a file decides is charged here before it is taken; what is
/// only scratch is given back.
class MemoryBudget
{
public:
    explicit MemoryBudget(std::uint64_t bytes)
        : _left(bytes)
    {
    }

    /// Takes `bytes` off the budget; false, and nothing is taken, if there is less left.
    [[nodiscard]] bool charge(std::uint64_t bytes)
    {
        if (bytes > _left)
        {
            return false;
        }
        _left -= bytes;
        return true;
    }

    /// Gives scratch memory back.
    void release(std::uint64_t bytes) { _left += bytes; }

    std::uint64_t left() const { return _left; }

private:
    std::uint64_t _left;
};

/// Bytes from the beginning of a stream to its end; 0 if the stream cannot seek. Position and state are restored.
std::uint64_t streamSize(std::istream& in);

} // namespace sdb::detail
