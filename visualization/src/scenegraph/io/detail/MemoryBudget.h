#pragma once

#include "scenegraph/io/detail/Limits.h"

#include <cstdint>
#include <iosfwd>
#include <optional>

namespace sdb::detail
{

/// What one load may still take, counted in bytes of the stored form; see loadMemory. Every buffer whose size a file
/// decides is charged here before it is taken; what is only scratch is given back.
class MemoryBudget
{
public:
    explicit MemoryBudget(std::uint64_t bytes)
        : _left(bytes)
    {
    }

    /// The budget of an input, of which so many bytes are left. Where that cannot be known it has no end, but nothing
    /// may be taken in advance: memory grows with what really arrives.
    static MemoryBudget forInput(std::optional<std::uint64_t> bytesLeft)
    {
        MemoryBudget budget(bytesLeft ? loadMemory(*bytesLeft) : UINT64_MAX);
        budget._hasEnd = bytesLeft.has_value();
        return budget;
    }

    /// True if memory may be taken for all that is announced before it arrives.
    bool hasEnd() const { return _hasEnd; }

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
    bool _hasEnd = true;
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

/// Bytes from the beginning of a stream to its end; none if the stream cannot seek. Position and state are restored.
std::optional<std::uint64_t> streamSize(std::istream& in);

/// The same from the position of the stream on.
std::optional<std::uint64_t> bytesLeft(std::istream& in);

} // namespace sdb::detail
