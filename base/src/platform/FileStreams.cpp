#include "platform/FileStreams.h"

#include "platform/detail/Posix.h"

#include <cerrno>
#include <limits>
#include <utility>

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OS
{

namespace
{

/// Makes `buffer` the owner of the descriptor. The system is not asked for the path again, so that the file that is
/// read is the one that was looked at. False when it is -1 or memory is out; the descriptor is closed then.
bool adopt(std::filebuf& buffer, int descriptor, std::ios::openmode mode)
{
    if (descriptor == -1)
    {
        return false;
    }
    __gnu_cxx::stdio_filebuf<char> opened(descriptor, mode);
    if (!opened.is_open())
    {
        close(descriptor);
        return false;
    }
    buffer = std::move(static_cast<std::filebuf&>(opened));
    return true;
}

/// Locks or unlocks a whole file. The lock is one of the open file description, since those of a process go with the
/// first descriptor of the file that it closes.
bool setLock(int descriptor, short type)
{
    struct flock whole = {};
    whole.l_type = type;
    whole.l_whence = SEEK_SET;
    return fcntl(descriptor, F_OFD_SETLK, &whole) == 0;
}

std::int64_t nanoseconds(const timespec& time)
{
    return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

std::optional<FileState> stateOf(const struct stat& status, bool known)
{
    if (!known)
    {
        return std::nullopt;
    }
    return FileState{status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
                     nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

} // namespace

/// Keeps the open file description that has the lock, and unlocks it.
class FileLock
{
public:
    explicit FileLock(int descriptor)
        : _descriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0))
    {
    }

    ~FileLock()
    {
        // A copy of this process shares the description and must leave the lock to the original.
        if (!isInherited())
        {
            (void)setLock(_descriptor, F_UNLCK); // it goes with the last descriptor in any case
        }
        posix::closeQuietly(_descriptor);
    }

    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// True if it is the lock of the process that this one is a copy of.
    bool isInherited() const { return getpid() != _process; }

private:
    int _descriptor;
    pid_t _process = getpid();
};

bool FileState::operator==(const FileState& other) const
{
    return isOf(other) && size == other.size && modified == other.modified && changed == other.changed;
}

std::unique_ptr<std::ifstream> openForReading(const std::wstring& path)
{
    auto stream = std::make_unique<std::ifstream>();
    if (!adopt(*stream->rdbuf(), posix::openRegular(path, O_RDONLY), std::ios::in | std::ios::binary))
    {
        stream->setstate(std::ios::failbit);
    }
    return stream;
}

std::unique_ptr<std::ofstream> openForWriting(const std::wstring& path, LineEnds lineEnds)
{
    auto stream = std::make_unique<std::ofstream>();
    // What is no regular file must not be emptied either: so that is done once the file is known.
    int descriptor = posix::openRegular(path, O_WRONLY | O_CREAT);
    if (descriptor != -1 && ftruncate(descriptor, 0) != 0)
    {
        posix::closeQuietly(descriptor);
        descriptor = -1;
    }
    const std::ios::openmode binary = lineEnds == LineEnds::AsWritten ? std::ios::binary : std::ios::openmode();
    if (!adopt(*stream->rdbuf(), descriptor, std::ios::out | binary))
    {
        stream->setstate(std::ios::failbit);
    }
    return stream;
}

UpdateStream::UpdateStream(const std::wstring& path)
{
    const int descriptor = posix::openRegular(path, O_RDWR);
    _descriptor = descriptor == -1 ? -1 : fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (!adopt(*rdbuf(), descriptor, std::ios::in | std::ios::out | std::ios::binary) || _descriptor == -1)
    {
        std::ofstream::close(); // a stream that could not be cut is of no use
        setstate(std::ios::failbit);
        return;
    }
    _streams = descriptor;
}

UpdateStream::~UpdateStream()
{
    if (_descriptor != -1)
    {
        ::close(_descriptor);
    }
}

bool synchronise(const std::wstring& path)
{
    const auto name = posix::systemPath(path);
    const int descriptor = name ? open(name->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY) : -1;
    if (descriptor == -1)
    {
        return errno == EACCES;
    }
    const bool done = fsync(descriptor) == 0;
    posix::closeQuietly(descriptor);
    return done;
}

bool isLocked(const std::wstring& path)
{
    struct flock whole = {};
    whole.l_type = F_RDLCK;
    whole.l_whence = SEEK_SET;
    const int descriptor = posix::openRegular(path, O_RDONLY);
    const bool known = descriptor != -1 && fcntl(descriptor, F_OFD_GETLK, &whole) == 0;
    if (descriptor != -1)
    {
        close(descriptor);
    }
    return known && whole.l_type != F_UNLCK;
}

LockResult UpdateStream::lock()
{
    if (!setLock(_descriptor, F_WRLCK))
    {
        return errno == EAGAIN || errno == EACCES ? LockResult::LockedByOther : LockResult::NoLocks;
    }
    _lock = std::make_shared<FileLock>(_descriptor);
    return LockResult::Locked;
}

bool UpdateStream::shareLock(const UpdateStream& other)
{
    const auto ours = state(), theirs = other.state();
    if (other._lock == nullptr || other._lock->isInherited() || !ours || !theirs || !ours->isOf(*theirs))
    {
        return false;
    }
    _lock = other._lock;
    return true;
}

bool UpdateStream::isAt(const std::wstring& path) const
{
    struct stat status = {};
    const auto name = posix::systemPath(path);
    const auto there = stateOf(status, name && stat(name->c_str(), &status) == 0);
    const auto ours = state();
    return there && ours && ours->isOf(*there);
}

std::optional<FileState> UpdateStream::state() const
{
    struct stat status = {};
    const bool known = _descriptor != -1 && fstat(_descriptor, &status) == 0;
    return stateOf(status, known);
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the file
bool UpdateStream::truncate(std::uint64_t size)
{
    if (size > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
    {
        errno = EFBIG;
        return false;
    }
    return ftruncate(_descriptor, static_cast<off_t>(size)) == 0;
}

bool UpdateStream::synchronise() const
{
    return fdatasync(_descriptor) == 0;
}

void UpdateStream::close()
{
    if (is_open())
    {
        std::ofstream::close();
    }
    _lock.reset();
}

void UpdateStream::discard()
{
    // Closing writes what is buffered. So the descriptor, of which the stream is the owner, leads nowhere from now on.
    const int nowhere = is_open() ? ::open("/dev/null", O_WRONLY | O_CLOEXEC) : -1;
    if (nowhere != -1)
    {
        (void)dup3(nowhere, _streams, O_CLOEXEC); // a failure only means that something is written before it is cut off
        ::close(nowhere);
    }
    clear();
    std::ofstream::close();
}

} // namespace OS
