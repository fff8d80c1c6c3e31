#include "platform/detail/Posix.h"

#include "platform/FileSystem.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OS::posix
{

std::optional<std::string> systemPath(const std::wstring& path)
{
    if (path.find(L'\0') != std::wstring::npos)
    {
        errno = EINVAL;
        return std::nullopt;
    }
    return toNarrow(path);
}

bool checkRegular(mode_t mode)
{
    if (S_ISREG(mode))
    {
        return true;
    }
    errno = S_ISDIR(mode) ? EISDIR : ENOTSUP;
    return false;
}

int openRegular(const std::wstring& path, int flags)
{
    const auto name = systemPath(path);
    const int descriptor =
        name ? open(name->c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, READ_WRITE_FOR_ALL) : -1;
    if (descriptor == -1)
    {
        return -1;
    }
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && checkRegular(status.st_mode))
    {
        return descriptor;
    }
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return -1;
}

int renameByLink(const std::string& from, const std::string& to)
{
    if (link(from.c_str(), to.c_str()) != 0)
    {
        return -1;
    }
    if (unlink(from.c_str()) == 0)
    {
        return 0;
    }
    const int reason = errno;
    unlink(to.c_str());
    errno = reason;
    return -1;
}

} // namespace OS::posix
