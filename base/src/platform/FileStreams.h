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

/// What becomes of the line feeds that are written to a file.
enum class LineEnds
{
    AsWritten,    ///< they stay as they are
    OfThePlatform ///< they become the line ends of the platform's text files
};

/// Opens a regular file for writing from its beginning: a new one, or an existing one, which is emptied. Never an empty
/// pointer, and never waits. On failure (no such directory, no permission, no regular file, embedded NUL) the stream is
/// not open and has its fail bit set; `errno` tells the reason.
TAVO_EXPORT std::unique_ptr<std::ofstream> openForWriting(const std::wstring& path, LineEnds lineEnds);

/// An output stream for updating a regular file in place: it can be written and cut.
class TAVO_EXPORT UpdateStream : public std::ofstream
{
public:
    /// Opens an existing regular file for reading and writing, at position 0, without truncating it. On failure the
    /// stream is not open and has its fail bit set; `errno` tells the reason.
    explicit UpdateStream(const std::wstring& path);
    ~UpdateStream() override;

    /// Cuts or extends the file to `size` bytes, whatever its name is by now; the stream has been flushed, or closed
    /// because it could not be. The stream's position stays. False when opening has failed or the system refuses.
    bool truncate(std::uint64_t size);

    /// Closes the stream without writing what it still buffers. The file can still be cut.
    void discard();

private:
    using std::ofstream::open; // another file would have another descriptor

    int _streams = -1; ///< the descriptor that the stream writes to; -1 while it is not open
    int _descriptor; ///< a second one of the same file, so that a stream that cannot be flushed can be cut; -1 for none
};

} // namespace OS
