#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

namespace tavosce
{

/// A regular file that is open for reading.
class InputFile
{
public:
    /// Throws Failure CannotOpen with the system's reason.
    explicit InputFile(const std::string& path);

    std::ifstream& stream() { return *_stream; }

    std::uint64_t size() const { return _size; }

private:
    std::unique_ptr<std::ifstream> _stream; ///< never null
    std::uint64_t _size;
};

} // namespace tavosce
