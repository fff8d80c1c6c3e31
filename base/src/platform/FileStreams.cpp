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
    __gnu_cxx::stdio_filebuf<char> opened(descriptor, mode | std::ios::binary);
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
    if (!adopt(*stream->rdbuf(), posix::openRegular(path, O_RDONLY), std::ios::in))
    {
        stream->setstate(std::ios::failbit);
    }
    return stream;
}

UpdateStream::UpdateStream(const std::wstring& path)
    : _descriptor(posix::openRegular(path, O_RDWR))
{
    if (!adopt(*rdbuf(), _descriptor, std::ios::in | std::ios::out))
    {
        _descriptor = -1;
        setstate(std::ios::failbit);
    }
}

UpdateStream::~UpdateStream() = default;

bool UpdateStream::truncate(std::uint64_t size)
{
    if (!is_open())
    {
        errno = EBADF;
        return false;
    }
    if (size > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
    {
        errno = EFBIG;
        return false;
    }
    return ftruncate(_descriptor, static_cast<off_t>(size)) == 0;
}

} // namespace OS
