// Loaded in front of the C library (LD_PRELOAD): logs the calls, of those functions that stand at the end, that change
// or synchronise something below one folder, and lets one of them fail. Settings come in the environment:
//   TAVO_SHIM_FOLDER  the folder, without a slash at its end
//   TAVO_SHIM_LOG     where to log; see WriteLog.h
//   TAVO_SHIM_FAULT   "INDEX KIND": what happens at the call of that index, counted from 0:
//                     eio - it fails; full - it and all later ones that need room fail as on a full disk;
//                     short - a write takes half of its bytes; kill - the process is killed before it
// What escapes these functions shows in the drivers: the log has to lead to what a run leaves.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
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

/// The path of an open file, even of one without a name.
std::string pathOf(int descriptor)
{
    char target[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), target, sizeof target);
    return {target, length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// A path without what does not matter at its end, and without a descriptor at its beginning.
std::string absolute(int folder, const char* path)
{
    constexpr char DESCRIPTORS[] = "/proc/self/fd/";
    std::string res = path != nullptr ? path : "";
    const std::size_t inner = res.find('/', sizeof DESCRIPTORS - 1);
    if (res.rfind(DESCRIPTORS, 0) == 0 && inner != std::string::npos)
    {
        res.replace(0, inner, pathOf(static_cast<int>(std::strtol(res.c_str() + sizeof DESCRIPTORS - 1, nullptr, 10))));
    }
    if (res.empty() || res.front() != '/')
    {
        res.insert(0, pathOf(folder == AT_FDCWD ? -1 : folder) + '/');
    }
    const std::size_t end = res.find_last_not_of("/.");
    return res.substr(0, res.find('/', end == std::string::npos ? 0 : end));
}

class Shim
{
public:
    static Shim& get()
    {
        static Shim shim;
        return shim;
    }

    /// The path below the folder; empty if it is not below it.
    std::string below(int folder, const char* path) const { return below(absolute(folder, path)); }

    /// True if the descriptor is of a file below the folder.
    bool watches(int descriptor) const { return !below(pathOf(descriptor)).empty(); }

    /// True if it is that of the folder or of something below it.
    bool watchesAny(int descriptor) const { return !below(pathOf(descriptor) + "/.").empty(); }

    /// Counts a call; true if it is to fail, with `errno` set. `isShort` becomes true if a write is to be a short one.
    bool fails(Need need, bool* isShort = nullptr)
    {
        const long call = (*_calls)++;
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
        const std::string text = line + ' ' + std::to_string(size) + '\n';
        const iovec pieces[] = {{const_cast<char*>(text.data()), text.size()}, {const_cast<void*>(data), size}};
        if (_log >= 0)
        {
            (void)!syscall(SYS_writev, _log, pieces, 2);
        }
    }

    /// Counts a call that `run` makes, and logs what `line` says of it and `name` once it has succeeded.
    template <class Run, class Line>
    int watch(Need need, const std::string& name, Run run, Line line)
    {
        if (fails(need))
        {
            return -1;
        }
        const int result = run();
        const int reason = errno;
        log(result >= 0 ? line(result) : "none 0 0", name.data(), name.size());
        errno = reason;
        return result;
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
        void* const shared = mmap(nullptr, sizeof *_calls, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        _calls = new (shared) std::atomic<long>(0);
    }

    std::string below(const std::string& path) const
    {
        const bool isBelow = !_folder.empty() && path.compare(0, _folder.size(), _folder) == 0;
        return isBelow ? path.substr(_folder.size()) : std::string();
    }

    std::string _folder;
    int _log = -1;
    long _index = -1;
    std::string _kind;
    std::atomic<long>* _calls; ///< copies of the process count on
};

/// A line of the log, up to the size of what follows.
std::string line(const char* operation, int descriptor, off_t number = 0)
{
    struct stat status = {};
    fstat(descriptor, &status);
    return std::string(operation) + ' ' + std::to_string(status.st_ino) + ' ' + std::to_string(number);
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
    const int reason = errno;
    shim.log(written > 0 ? line("write", descriptor, offset) : "none 0 0", data,
             written > 0 ? static_cast<std::size_t>(written) : 0);
    errno = reason;
    return written;
}

/// Opens with `run`, which answers the descriptor; only what makes or empties a file is watched.
template <class Run>
int watchedOpen(int folder, const char* path, int flags, Run run)
{
    Shim& shim = Shim::get();
    const bool isUnnamed = (flags & O_TMPFILE) == O_TMPFILE;
    const std::string name = shim.below(folder, isUnnamed ? (std::string(path) + "/x").c_str() : path);
    struct stat present = {};
    const bool exists = !isUnnamed && !name.empty() && fstatat(folder, path, &present, 0) == 0;
    const bool creates = !exists && (isUnnamed || (flags & O_CREAT) != 0);
    if (name.empty() || !(creates || (exists && (flags & O_TRUNC) != 0)))
    {
        return run();
    }
    return shim.watch(Need::Room, creates && !isUnnamed ? name : "", run,
                      [=](int descriptor) { return line(creates ? "create" : "truncate", descriptor); });
}

int openWith(int folder, const char* path, int flags, va_list arguments)
{
    const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = makes ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
    return watchedOpen(folder, path, flags,
                       [=] { return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode)); });
}

std::FILE* openFile(const char* path, const char* mode)
{
    using Open = std::FILE* (*)(const char*, const char*);
    static const auto next = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "fopen64"));
    const int flags = *mode == 'w' ? O_CREAT | O_TRUNC : *mode == 'a' ? O_CREAT : 0;
    std::FILE* res = nullptr;
    watchedOpen(AT_FDCWD, path, flags,
                [&]
                {
                    res = next(path, mode);
                    return res != nullptr ? fileno(res) : -1;
                });
    return res;
}

/// The C library writes what it buffers past the functions below, so that a watched file gets a stream that does not.
std::FILE* throughTheShim(std::FILE* file)
{
    if (file == nullptr || !Shim::get().watches(fileno(file)))
    {
        return file;
    }
    cookie_io_functions_t functions = {};
    functions.write = [](void* cookie, const char* data, std::size_t size)
    { return std::max(watchedWrite(fileno(static_cast<std::FILE*>(cookie)), data, size), ssize_t{0}); };
    functions.close = [](void* cookie) { return std::fclose(static_cast<std::FILE*>(cookie)); };
    return fopencookie(file, "w", functions);
}

/// A system call without bytes that changes something about names. `names` is empty for what is not watched.
template <class... Arguments>
int watchedNames(const char* operation, Need need, const std::string& names, long number, Arguments... arguments)
{
    const auto run = [=] { return static_cast<int>(syscall(number, arguments...)); };
    return names.empty() ? run()
                         : Shim::get().watch(need, names, run, [=](int) { return std::string(operation) + " 0 0"; });
}

int renameWith(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags)
{
    const std::string source = Shim::get().below(fromFolder, from), target = Shim::get().below(toFolder, to);
    return watchedNames((flags & RENAME_EXCHANGE) != 0 ? "exchange" : "rename", Need::Room,
                        source.empty() ? source : source + '\t' + target, SYS_renameat2, fromFolder, from, toFolder, to,
                        flags);
}

int linkWith(int fromFolder, const char* from, int toFolder, const char* to, int flags)
{
    const auto run = [=] { return static_cast<int>(syscall(SYS_linkat, fromFolder, from, toFolder, to, flags)); };
    const std::string name = Shim::get().below(toFolder, to);
    const auto inode = [=](int)
    {
        struct stat status = {};
        fstatat(toFolder, to, &status, AT_SYMLINK_NOFOLLOW);
        return "link " + std::to_string(status.st_ino) + " 0";
    };
    return name.empty() ? run() : Shim::get().watch(Need::Room, name, run, inode);
}

/// A system call on an open file, or if `any` also on the folder itself.
template <class... Arguments>
int watchedFile(const char* operation, Need need, off_t number, long call, int descriptor, Arguments... arguments)
{
    Shim& shim = Shim::get();
    const auto run = [=] { return static_cast<int>(syscall(call, descriptor, arguments...)); };
    return shim.watchesAny(descriptor)
               ? shim.watch(need, "", run, [=](int) { return line(operation, descriptor, number); })
               : run();
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names of parameters are reserved.
extern "C"
{

    ssize_t write(int descriptor, const void* data, std::size_t size)
    {
        if (descriptor == STDOUT_FILENO)
        {
            Shim::get().log("say 0 0", data, size);
        }
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
        return watchedFile("truncate", Need::Nothing, size, SYS_ftruncate, descriptor, size);
    }

    int ftruncate64(int descriptor, off64_t size) noexcept
    {
        return ftruncate(descriptor, size);
    }

    int fsync(int descriptor)
    {
        return watchedFile("sync", Need::Room, 0, SYS_fsync, descriptor);
    }

    int fdatasync(int descriptor)
    {
        return watchedFile("sync", Need::Room, 0, SYS_fdatasync, descriptor);
    }

    int fchmod(int descriptor, mode_t mode) noexcept
    {
        return watchedFile("none", Need::Nothing, 0, SYS_fchmod, descriptor, mode);
    }

    int fchown(int descriptor, uid_t user, gid_t group) noexcept
    {
        return watchedFile("none", Need::Nothing, 0, SYS_fchown, descriptor, user, group);
    }

    int open(const char* path, int flags, ...)
    {
        va_list arguments;
        va_start(arguments, flags);
        const int res = openWith(AT_FDCWD, path, flags, arguments);
        va_end(arguments);
        return res;
    }

    int open64(const char* path, int flags, ...)
    {
        va_list arguments;
        va_start(arguments, flags);
        const int res = openWith(AT_FDCWD, path, flags, arguments);
        va_end(arguments);
        return res;
    }

    int openat(int folder, const char* path, int flags, ...)
    {
        va_list arguments;
        va_start(arguments, flags);
        const int res = openWith(folder, path, flags, arguments);
        va_end(arguments);
        return res;
    }

    int openat64(int folder, const char* path, int flags, ...)
    {
        va_list arguments;
        va_start(arguments, flags);
        const int res = openWith(folder, path, flags, arguments);
        va_end(arguments);
        return res;
    }

    std::FILE* fopen(const char* path, const char* mode)
    {
        return *mode == 'w' ? throughTheShim(openFile(path, mode)) : openFile(path, mode);
    }

    // Of the streams of C++, which buffer by themselves.
    std::FILE* fopen64(const char* path, const char* mode)
    {
        return openFile(path, mode);
    }

    int mkdir(const char* path, mode_t mode) noexcept
    {
        return mkdirat(AT_FDCWD, path, mode);
    }

    int mkdirat(int folder, const char* path, mode_t mode) noexcept
    {
        return watchedNames("folder", Need::Room, Shim::get().below(folder, path), SYS_mkdirat, folder, path, mode);
    }

    int rename(const char* from, const char* to) noexcept
    {
        return renameWith(AT_FDCWD, from, AT_FDCWD, to, 0);
    }

    int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept
    {
        return renameWith(fromFolder, from, toFolder, to, 0);
    }

    int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
    {
        return renameWith(fromFolder, from, toFolder, to, flags);
    }

    int link(const char* from, const char* to) noexcept
    {
        return linkWith(AT_FDCWD, from, AT_FDCWD, to, 0);
    }

    int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept
    {
        return linkWith(fromFolder, from, toFolder, to, flags);
    }

    int unlinkat(int folder, const char* path, int flags) noexcept
    {
        return watchedNames("unlink", Need::Nothing, Shim::get().below(folder, path), SYS_unlinkat, folder, path,
                            flags);
    }

    int unlink(const char* path) noexcept
    {
        return unlinkat(AT_FDCWD, path, 0);
    }

    int rmdir(const char* path) noexcept
    {
        return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
    }

    int remove(const char* path) noexcept
    {
        const int result = unlink(path);
        return result != 0 && errno == EISDIR ? rmdir(path) : result;
    }

} // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
