#include "platform/FileStreams.h"

#include "platform/detail/Posix.h"

#include <cerrno>
#include <limits>
#include <utility>

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
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

} // namespace

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
        const int reason = errno;
        close(descriptor);
        errno = reason;
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
        close(); // a stream that could not be cut is of no use
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
    close();
}

} // namespace OS
