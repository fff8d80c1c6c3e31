#include "platform/detail/Posix.h"

#include "platform/FileSystem.h"

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <string_view>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OS::posix
{

namespace
{

/// Links that follow one another before the system gives up, too.
constexpr int MAX_LINKS = 40;

/// `name` without the bytes beyond `size`, and without a character that the cut would split.
std::string_view shortened(std::string_view name, std::size_t size)
{
    if (name.size() <= size)
    {
        return name;
    }
    while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xc0) == 0x80)
    {
        --size;
    }
    return name.substr(0, size);
}

/// The text of a link; empty for anything else.
std::string linkText(const std::string& path)
{
    char text[4096]; // PATH_MAX
    const ssize_t size = readlink(path.c_str(), text, sizeof text);
    return {text, size > 0 ? static_cast<std::size_t>(size) : 0};
}

} // namespace

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
    errno = S_ISDIR(mode) ? EISDIR : S_ISLNK(mode) ? ELOOP : ENOTSUP;
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
    closeQuietly(descriptor);
    return -1;
}

void closeQuietly(int descriptor)
{
    const int reason = errno;
    close(descriptor);
    errno = reason;
}

int openFolder(int from, const std::string& path, int flags)
{
    const int more = flags | O_DIRECTORY | O_CLOEXEC;
    const int descriptor = openat(from, path.c_str(), O_RDONLY | more);
    return descriptor == -1 && errno == EACCES ? openat(from, path.c_str(), O_PATH | more) : descriptor;
}

std::pair<int, std::string> openFolderOf(const std::string& path)
{
    const std::size_t name = path.rfind('/') + 1; // 0 when there is no slash
    return {openFolder(AT_FDCWD, name == 0 ? "." : path.substr(0, name)), path.substr(name)};
}

bool synchroniseFolder(int descriptor)
{
    const bool isReadable = (fcntl(descriptor, F_GETFL) & O_PATH) == 0;
    return !isReadable || fsync(descriptor) == 0;
}

std::string followLinks(std::string path)
{
    for (int i = 0; i < MAX_LINKS; ++i)
    {
        const std::string target = linkText(path);
        if (target.empty())
        {
            return path;
        }
        path.erase(target.front() == '/' ? 0 : path.rfind('/') + 1);
        path += target;
    }
    return path;
}

std::string temporaryName(const std::string& name)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    unsigned char random[8] = {};
    (void)getrandom(random, sizeof random, 0); // so few bytes always come
    std::string suffix = ".";
    for (const unsigned char byte : random)
    {
        suffix += {DIGITS[byte >> 4], DIGITS[byte & 15]};
    }
    suffix += ".tmp";
    return std::string(shortened(name, MAX_NAME - suffix.size())) + suffix;
}

std::string pathOf(int descriptor)
{
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    struct stat byPath = {}, byDescriptor = {};
    const bool leads = stat(path.c_str(), &byPath) == 0 && fstat(descriptor, &byDescriptor) == 0 &&
                       byPath.st_dev == byDescriptor.st_dev && byPath.st_ino == byDescriptor.st_ino;
    return leads ? path : std::string();
}

mode_t withoutMask(mode_t permissions)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word && word != "Umask:")
    {
    }
    unsigned mask = 0;
    if (status >> std::oct >> mask)
    {
        return permissions & ~static_cast<mode_t>(mask);
    }
    const mode_t other = umask(S_IRWXG | S_IRWXO); // the only other way to learn it is to set it
    umask(other);
    return permissions & ~other;
}

bool takeOver(int descriptor, const struct stat& replaced)
{
    constexpr mode_t PERMISSIONS = 07777;
    if (fchown(descriptor, replaced.st_uid, replaced.st_gid) != 0)
    {
        errno = 0; // an ordinary user may not give files away
    }
    return fchmod(descriptor, replaced.st_mode & PERMISSIONS) == 0;
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

BlockedSignals::BlockedSignals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &_before);
}

BlockedSignals::~BlockedSignals()
{
    const int reason = errno; // handlers run now
    pthread_sigmask(SIG_SETMASK, &_before, nullptr);
    errno = reason;
}

} // namespace OS::posix
