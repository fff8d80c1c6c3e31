// Loaded in front of the C library (LD_PRELOAD): logs the calls, of those functions that stand at the end, that change
// something below one folder, and lets one of them fail. Settings come in the environment:
//   TAVO_SHIM_FOLDER  the folder, without a slash at its end
//   TAVO_SHIM_LOG     where to log; see WriteLog.h
//   TAVO_SHIM_FAULT   "INDEX KIND": what happens at the call of that index, counted from 0:
//                     eio - it fails; full - it and all later ones that need room fail as on a full disk;
//                     short - a write takes half of its bytes; kill - the process is killed before it

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{

enum class Need
{
    Room,   ///< fails on a full disk
    Nothing ///< still works there
};

class Shim
{
public:
    static Shim& get()
    {
        static Shim shim;
        return shim;
    }

    /// The path below the folder; empty if it is not below it.
    std::string below(const char* path) const
    {
        const bool isBelow =
            !_folder.empty() && path != nullptr && std::strncmp(path, _folder.c_str(), _folder.size()) == 0;
        return isBelow ? path + _folder.size() : std::string();
    }

    /// Whether the descriptor is of a file below the folder.
    bool watches(int descriptor) const
    {
        char target[4096];
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        const ssize_t length = readlink(link.c_str(), target, sizeof target - 1);
        return length > 0 && !below(std::string(target, static_cast<std::size_t>(length)).c_str()).empty();
    }

    /// Counts a call; true if it is to fail, with `errno` set. `isShort` becomes true if a write is to be a short one.
    bool fails(Need need, bool* isShort = nullptr)
    {
        const long call = _calls++;
        if (_kind == "full" && call >= _index && _index >= 0 && need == Need::Room)
        {
            errno = ENOSPC;
            return true;
        }
        if (call != _index)
        {
            return false;
        }
        if (_kind == "kill")
        {
            (void)raise(SIGKILL);
        }
        if (isShort != nullptr)
        {
            *isShort = _kind == "short";
        }
        errno = EIO;
        return _kind == "eio";
    }

    void log(const std::string& line, const void* data = nullptr, std::size_t size = 0) const
    {
        if (_log < 0)
        {
            return;
        }
        const std::string text = line + ' ' + std::to_string(size) + '\n';
        (void)!syscall(SYS_write, _log, text.data(), text.size());
        (void)!syscall(SYS_write, _log, data, size);
    }

private:
    Shim()
    {
        const auto setting = [](const char* name)
        {
            const char* const value = std::getenv(name);
            return std::string(value != nullptr ? value : "");
        };
        _folder = setting("TAVO_SHIM_FOLDER") + '/';
        _folder = _folder == "/" ? "" : _folder;
        const std::string log = setting("TAVO_SHIM_LOG");
        _log = log.empty() ? -1
                           : static_cast<int>(syscall(SYS_openat, AT_FDCWD, log.c_str(),
                                                      O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        const std::string fault = setting("TAVO_SHIM_FAULT");
        const std::size_t blank = fault.find(' ');
        if (blank != std::string::npos)
        {
            _index = std::strtol(fault.c_str(), nullptr, 10);
            _kind = fault.substr(blank + 1);
        }
    }

    std::string _folder;
    int _log = -1;
    long _index = -1;
    std::string _kind;
    long _calls = 0;
};

std::string inodeOf(int descriptor)
{
    struct stat status = {};
    fstat(descriptor, &status);
    return std::to_string(status.st_ino);
}

ssize_t watchedWrite(int descriptor, const void* data, std::size_t size)
{
    Shim& shim = Shim::get();
    bool isShort = false;
    if (shim.fails(Need::Room, &isShort))
    {
        return -1;
    }
    const off_t offset = lseek(descriptor, 0, SEEK_CUR);
    const ssize_t written = syscall(SYS_write, descriptor, data, isShort && size > 1 ? size / 2 : size);
    if (written > 0)
    {
        shim.log("write " + inodeOf(descriptor) + ' ' + std::to_string(offset), data,
                 static_cast<std::size_t>(written));
    }
    return written;
}

int watchedOpen(int folder, const char* path, int flags, mode_t mode)
{
    Shim& shim = Shim::get();
    const std::string name = shim.below(path);
    const bool creates = (flags & O_CREAT) != 0 && !name.empty() && access(path, F_OK) != 0;
    if (creates && shim.fails(Need::Room))
    {
        return -1;
    }
    const int descriptor = static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
    if (creates && descriptor >= 0)
    {
        shim.log("create " + inodeOf(descriptor) + " 0", name.data(), name.size());
    }
    return descriptor;
}

/// A call that changes names: `run` does it.
template <class Run>
int watchedNames(const std::string& operation, const std::string& names, Need need, Run run)
{
    Shim& shim = Shim::get();
    if (shim.fails(need))
    {
        return -1;
    }
    const int result = run();
    if (result == 0)
    {
        shim.log(operation + " 0 0", names.data(), names.size());
    }
    return result;
}

mode_t modeOf(int flags, va_list arguments)
{
    return (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names of parameters are reserved.
extern "C"
{

    ssize_t write(int descriptor, const void* data, std::size_t size)
    {
        return Shim::get().watches(descriptor) ? watchedWrite(descriptor, data, size)
                                               : syscall(SYS_write, descriptor, data, size);
    }

    ssize_t writev(int descriptor, const iovec* pieces, int count)
    {
        if (!Shim::get().watches(descriptor))
        {
            return syscall(SYS_writev, descriptor, pieces, count);
        }
        std::string all;
        for (int i = 0; i < count; ++i)
        {
            all.append(static_cast<const char*>(pieces[i].iov_base), pieces[i].iov_len);
        }
        return watchedWrite(descriptor, all.data(), all.size());
    }

    int ftruncate(int descriptor, off_t size) noexcept
    {
        Shim& shim = Shim::get();
        if (!shim.watches(descriptor))
        {
            return static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
        }
        if (shim.fails(Need::Nothing))
        {
            return -1;
        }
        const int result = static_cast<int>(syscall(SYS_ftruncate, descriptor, size));
        if (result == 0)
        {
            shim.log("truncate " + inodeOf(descriptor) + ' ' + std::to_string(size));
        }
        return result;
    }

    int ftruncate64(int descriptor, off64_t size) noexcept
    {
        return ftruncate(descriptor, size);
    }

    int open(const char* path, int flags, ...)
    {
        va_list arguments;
        va_start(arguments, flags);
        const mode_t mode = modeOf(flags, arguments);
        va_end(arguments);
        return watchedOpen(AT_FDCWD, path, flags, mode);
    }

    int open64(const char* path, int flags, ...)
    {
        va_list arguments;
        va_start(arguments, flags);
        const mode_t mode = modeOf(flags, arguments);
        va_end(arguments);
        return watchedOpen(AT_FDCWD, path, flags, mode);
    }

    int rename(const char* from, const char* to) noexcept
    {
        const std::string source = Shim::get().below(from), target = Shim::get().below(to);
        const auto run = [&] { return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0)); };
        return source.empty() ? run() : watchedNames("rename", source + '\t' + target, Need::Room, run);
    }

    int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
    {
        const std::string source = Shim::get().below(from), target = Shim::get().below(to);
        const auto run = [&]
        { return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags)); };
        return source.empty() ? run() : watchedNames("rename", source + '\t' + target, Need::Room, run);
    }

    int link(const char* from, const char* to) noexcept
    {
        const std::string source = Shim::get().below(from), target = Shim::get().below(to);
        const auto run = [&] { return static_cast<int>(syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0)); };
        return source.empty() ? run() : watchedNames("link", source + '\t' + target, Need::Room, run);
    }

    int unlink(const char* path) noexcept
    {
        const std::string name = Shim::get().below(path);
        const auto run = [&] { return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0)); };
        return name.empty() ? run() : watchedNames("unlink", name, Need::Nothing, run);
    }

    int remove(const char* path) noexcept
    {
        const int result = unlink(path);
        return result != 0 && errno == EISDIR ? rmdir(path) : result;
    }

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
