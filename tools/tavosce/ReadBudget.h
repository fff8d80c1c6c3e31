#pragma once

#include <algorithm>
#include <cstdint>

namespace tavosce
{

/// How much may be read of a file that is taken apart. A damaged file needs little more than its size, but one that is
/// made for it could ask for a look at the rest of the file at each of its bytes.
class ReadBudget
{
public:
    explicit ReadBudget(std::uint64_t fileSize)
        : _left(fileSize > UINT64_MAX / READS_OF_A_BYTE ? UINT64_MAX : fileSize * READS_OF_A_BYTE)
    {
    }

    void pay(std::uint64_t bytes) { _left -= std::min(bytes, _left); }

    bool isSpent() const { return _left == 0; }

private:
    /// How often a byte may be read for nothing, on the average.
    static constexpr std::uint64_t READS_OF_A_BYTE = 16;

    std::uint64_t _left;
};

} // namespace tavosce
