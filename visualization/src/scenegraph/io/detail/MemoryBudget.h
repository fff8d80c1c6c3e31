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

    /// Makes the budget larger, up to what 64 bits hold.
    void extend(std::uint64_t bytes) { _left += bytes < UINT64_MAX - _left ? bytes : UINT64_MAX - _left; }

    std::uint64_t left() const { return _left; }

private:
    std::uint64_t _left;
};

/// Memory that is charged for as long as this object lives.
class Charge
{
public:
    Charge(MemoryBudget& budget, std::uint64_t bytes)
        : _budget(budget)
        , _bytes(bytes)
        , _granted(budget.charge(bytes))
    {
    }

    ~Charge()
    {
        if (_granted)
        {
            _budget.release(_bytes);
        }
    }

    Charge(const Charge&) = delete;
    Charge& operator=(const Charge&) = delete;

    bool granted() const { return _granted; }

private:
    MemoryBudget& _budget;
    std::uint64_t _bytes;
    bool _granted;
};

/// Bytes from the beginning of a stream to its end; 0 if the stream cannot seek. Position and state are restored.
std::uint64_t streamSize(std::istream& in);

} // namespace sdb::detail
