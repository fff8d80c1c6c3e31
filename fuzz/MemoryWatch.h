#pragma once

#include <cstdint>

namespace fuzz
{

/// Watches the memory that the process takes while this object lives, beyond what it held before. One at a time.
/// Only builds with AddressSanitizer tell how much memory there is; in others nothing is watched.
class MemoryWatch
{
public:
    /// `inputSize`: the bytes of the file that is read.
    explicit MemoryWatch(std::uint64_t inputSize);

    /// Ends the process if more was held at any moment than a load of a file of that size may take.
    ~MemoryWatch();

    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

private:
    std::uint64_t _promised;
};

} // namespace fuzz
