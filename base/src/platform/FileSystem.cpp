#include "platform/FileSystem.h"

#include "platform/Platform.h"
#include "platform/detail/Posix.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OS
{

namespace
{

namespace fs = std::filesystem;

/// What stat(2) says of a path, links followed. Nothing when it says no.
std::optional<struct stat> statusOf(const std::optional<std::string>& path)
{
    struct stat status = {};
    if (!path || stat(path->c_str(), &status) != 0)
    {
        return std::nullopt;
    }
    return status;
}

bool isRegular(const std::optional<std::string>& path)
{
    const auto status = statusOf(path);
    return status && posix::checkRegular(status->st_mode);
}

/// A path in normal form. The last part stays what it is unless it leads upwards.
fs::path normalForm(const std::string& name, std::error_code& error)
{
    fs::path path = fs::absolute(name, error);
    while (path.has_relative_path() && (path.filename().empty() || path.filename() == "."))
    {
        path = path.parent_path();
    }
    if (error || !path.has_relative_path())
    {
        return path;
    }
    return path.filename() == ".." ? fs::weakly_canonical(path, error)
                                   : fs::weakly_canonical(path.parent_path(), error) / path.filename();
}

class PosixFileSystem final : public FileSystem
{
public:
    std::wstring getFilePath(const std::wstring& path) override;
    bool fileExists(const std::wstring& path) override;
    bool directoryExists(const std::wstring& path) override;
    bool createDirectory(const std::wstring& path) override;
    bool listDirectory(std::list<std::wstring>& directories, std::list<std::wstring>& files,
                       const std::wstring& path) override;
    std::wstring getTemporaryPath(const std::wstring& path) override;
    int createExclusive(const std::wstring& path) override;
    int renameFile(const std::wstring& from, const std::wstring& to) override;
    int replaceFile(const std::wstring& from, const std::wstring& to) override;
    int markForDeletion(const std::wstring& path) override;
    bool isFileName(const std::wstring& name) override;
};

std::wstring PosixFileSystem::getFilePath(const std::wstring& path)
{
    const auto name = posix::systemPath(path);
    if (!name || name->empty())
    {
        errno = name ? ENOENT : errno;
        return {};
    }
    std::error_code error;
    const fs::path normal = normalForm(*name, error);
    if (error)
    {
        errno = error.value();
        return {};
    }
    // A path whose last part was empty or a dot keeps a slash at its end.
    return toWide(normal.has_filename() ? normal.string() : normal.parent_path().string());
}

bool PosixFileSystem::fileExists(const std::wstring& path)
{
    return isRegular(posix::systemPath(path));
}

bool PosixFileSystem::directoryExists(const std::wstring& path)
{
    const auto status = statusOf(posix::systemPath(path));
    if (status && !S_ISDIR(status->st_mode))
    {
        errno = ENOTDIR;
    }
    return status && S_ISDIR(status->st_mode);
}

bool PosixFileSystem::createDirectory(const std::wstring& path)
{
    const auto name = posix::systemPath(path);
    if (!name)
    {
        return false;
    }
    std::error_code error;
    fs::create_directories(*name, error);
    if (directoryExists(path))
    {
        return true;
    }
    if (error)
    {
        errno = error.value();
    }
    return false;
}

bool PosixFileSystem::listDirectory(std::list<std::wstring>& directories, std::list<std::wstring>& files,
                                    const std::wstring& path)
{
    directories.clear();
    files.clear();
    const auto name = posix::systemPath(path);
    if (!name)
    {
        return false;
    }
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(*name, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
    {
        entries.push_back(*entry);
    }
    if (error)
    {
        errno = error.value();
        return false;
    }
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries)
    {
        const fs::file_status status = entry.status(error); // a link that leads nowhere is neither
        if (fs::is_directory(status) || fs::is_regular_file(status))
        {
            (fs::is_directory(status) ? directories : files).push_back(toWide(entry.path().filename().string()));
        }
    }
    return true;
}

std::wstring PosixFileSystem::getTemporaryPath(const std::wstring& path)
{
    const auto original = posix::systemPath(path);
    if (!original || original->empty())
    {
        return {};
    }
    const std::size_t name = original->rfind('/') + 1; // 0 when there is no slash
    struct stat status = {};
    std::string candidate;
    do
    {
        candidate = original->substr(0, name) + posix::temporaryName(original->substr(name));
    } while (lstat(candidate.c_str(), &status) == 0);
    return toWide(candidate);
}

int PosixFileSystem::createExclusive(const std::wstring& path)
{
    const auto name = posix::systemPath(path);
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    const int descriptor = name ? open(name->c_str(), FLAGS, posix::READ_WRITE_FOR_ALL) : -1;
    return descriptor == -1 ? -1 : close(descriptor);
}

int PosixFileSystem::renameFile(const std::wstring& from, const std::wstring& to)
{
    const auto source = posix::systemPath(from);
    const auto target = posix::systemPath(to);
    if (!target || !isRegular(source))
    {
        return -1;
    }
    if (renameat2(AT_FDCWD, source->c_str(), AT_FDCWD, target->c_str(), RENAME_NOREPLACE) == 0)
    {
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? posix::renameByLink(*source, *target) : -1;
}

int PosixFileSystem::replaceFile(const std::wstring& from, const std::wstring& to)
{
    const auto source = posix::systemPath(from);
    const auto target = posix::systemPath(to);
    if (!target || !isRegular(source))
    {
        return -1;
    }
    const auto replaced = statusOf(target);
    if (replaced && !posix::checkRegular(replaced->st_mode))
    {
        return -1;
    }
    return std::rename(source->c_str(), target->c_str());
}

int PosixFileSystem::markForDeletion(const std::wstring& path)
{
    // Whoever has the file open keeps it; the system frees it when the last of them closes it.
    const auto name = posix::systemPath(path);
    return isRegular(name) ? unlink(name->c_str()) : -1;
}

bool PosixFileSystem::isFileName(const std::wstring& name)
{
    const auto bytes = posix::systemPath(name);
    return bytes && !bytes->empty() && bytes->size() <= posix::MAX_NAME && bytes->find('/') == std::string::npos &&
           *bytes != "." && *bytes != "..";
}

} // namespace

FileSystem::~FileSystem() = default;

} // namespace OS

OS::FileSystem& Platform::filesystem()
{
    static OS::PosixFileSystem fileSystem;
    return fileSystem;
}
