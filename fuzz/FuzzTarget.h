#pragma once

#include "support/Testing.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// The one entry of a fuzz target, called with the bytes of one input; always 0. A finding ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz
{

/// Ends the process with a message if an oracle does not hold.
void require(bool holds, const std::string& oracle);

/// Runs once before the first input: nothing that the library says reaches the terminal.
void beQuiet();

/// A file that holds the bytes of one input after another, in a directory of its own.
class ScratchFile
{
public:
    ScratchFile();

    /// Replaces the file.
    void write(const std::string& bytes) const;
    std::string bytes() const;

    const std::wstring& path() const { return _wide; }

private:
    std::string _narrow;
    std::wstring _wide;
};

inline std::string asString(const std::uint8_t* data, std::size_t size)
{
    return {data, data + size};
}

} // namespace fuzz
