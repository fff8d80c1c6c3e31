#pragma once

#include "core/Export.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

namespace OS
{

/// Opens a regular file for reading in binary mode, without hindering others from renaming or deleting it. Never an
/// empty pointer. On failure (missing, no permission, no regular file, embedded NUL) the stream is not open and has its
/// fail bit set; `errno` tells the reason.
TAVO_EXPORT std::unique_ptr<std::ifstream> openForReading(const std::wstring& path);

/// An output stream for updating a regular file in place: it can be written and cut.
class TAVO_EXPORT UpdateStream : public std::ofstream
{
public:
    /// Opens an existing regular file for reading and writing, at position 0, without truncating it. On failure the
    /// stream is not open and has its fail bit set; `errno` tells the reason.
    explicit UpdateStream(const std::wstring& path);
    ~UpdateStream() override;

    /// Cuts or extends the open file to `size` bytes through its descriptor. The caller has flushed the stream; its
    /// position stays. False when the stream is not open or the system refuses.
    bool truncate(std::uint64_t size);

private:
    using std::ofstream::open; // another file would have another descriptor

    int _descriptor; ///< of the open file, owned by the stream's buffer; -1 when opening failed
};

} // namespace OS
