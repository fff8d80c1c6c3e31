#pragma once

#include "core/Export.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
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

/// Tells one state of a file from another: what a file is known by, and what changes whenever somebody writes to it.
struct TAVO_EXPORT FileState
{
    std::uint64_t device = 0;
    std::uint64_t number = 0; ///< of the file on its device
    std::uint64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970
    std::int64_t changed = 0;  ///< the same; also for names and permissions

    bool operator==(const FileState& other) const;

    /// True if it is the same file, whatever it holds by now.
    bool isOf(const FileState& other) const { return device == other.device && number == other.number; }
};

enum class LockResult
{
    Locked,
    LockedByOther, ///< another process, or another stream of this one, has it
    NoLocks        ///< the file system knows no locks, or the system has none left
};

/// Waits until the device has what was written to the file or directory at a path. One that may not be read is passed
/// over; false if the system says that it has not, with the reason in `errno`.
TAVO_EXPORT bool synchronise(const std::wstring& path);

/// True if a writer has locked the file at a path, which may be one that only can be read. False also if nobody can
/// tell.
TAVO_EXPORT bool isLocked(const std::wstring& path);

/// An exclusive advisory lock on an open file. It goes with the last of those who share it, or with the process.
class FileLock;

/// An output stream for updating a regular file in place: it can be written, read through its buffer, locked and cut.
class TAVO_EXPORT UpdateStream : public std::ofstream
{
public:
    /// Opens an existing regular file for reading and writing, at position 0, without truncating it. On failure the
    /// stream is not open and has its fail bit set; `errno` tells the reason.
    explicit UpdateStream(const std::wstring& path);
    ~UpdateStream() override;

    /// Locks the file for writers. The lock lasts until the stream is closed. Readers need none.
    LockResult lock();

    /// Takes part in the lock that another stream has on the same file; false, with nothing taken, if it is another
    /// file, has none, or has that of the process which this one is a copy of.
    bool shareLock(const UpdateStream& other);

    /// True if the path leads to the open file at the moment.
    bool isAt(const std::wstring& path) const;

    /// What is known of the open file; nothing when it is not open or the system does not say.
    std::optional<FileState> state() const;

    /// Cuts or extends the file to `size` bytes, whatever its name is by now; the stream has been flushed, or discarded
    /// because it could not be. The stream's position stays. False when opening has failed or the system refuses.
    bool truncate(std::uint64_t size);

    /// Waits until the device has what was flushed. False if the system says that it has not.
    bool synchronise() const;

    /// Flushes, closes and unlocks; the fail bit tells of a failure.
    void close();

    /// Closes the stream without writing what it still buffers. The file can still be cut, and stays locked until
    /// `close`.
    void discard();

private:
    using std::ofstream::open; // another file would have another descriptor

    int _streams = -1; ///< the descriptor that the stream writes to; -1 while it is not open
    int _descriptor; ///< a second one of the same file, so that a stream that cannot be flushed can be cut; -1 for none
    std::shared_ptr<FileLock> _lock; ///< null without one
};

} // namespace OS
