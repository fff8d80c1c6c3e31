#pragma once

#include "core/Export.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include <signal.h> // NOLINT(modernize-deprecated-headers): sigset_t is not in the standard one
#include <sys/stat.h>
#include <sys/types.h>

/// What the sources of the platform library share. Failures are answers; `errno` tells the reason.
namespace OS::posix
{

/// The path as the system takes it; nothing, with EINVAL, for one with an embedded NUL.
std::optional<std::string> systemPath(const std::wstring& path);

/// True if a file of this mode is a regular one. If not: EISDIR for a directory, ELOOP for a link
/// that still is one after all links were followed, ENOTSUP for anything else.
bool checkRegular(mode_t mode);

/// The longest name of a file that the usual file systems take, in bytes.
constexpr std::size_t MAX_NAME = 255;

/// The permissions of a new file, less the process's mask.
constexpr mode_t READ_WRITE_FOR_ALL = 0666;

/// Opens a regular file without ever waiting for it, whatever the path names. `flags` are those of open(2). The
/// descriptor is the caller's and is not inherited by other programs; -1 on failure.
int openRegular(const std::wstring& path, int flags);

/// Closes a descriptor and leaves the reason of an earlier failure in place.
void closeQuietly(int descriptor);

/// Opens a folder, for reading if that is allowed; -1 on failure. A relative path begins at the folder `from`; more
/// flags are those of open(2). The descriptor is the caller's and is not inherited by other programs.
int openFolder(int from, const std::string& path, int flags = 0);

/// Waits until the device has the names in an open folder. One that may not be read is passed over.
bool synchroniseFolder(int descriptor);

/// Opens the folder of a path in the same way. The second is the last part of the path.
std::pair<int, std::string> openFolderOf(const std::string& path);

/// Where a path leads if its last part is a link, or a link to links, even if nothing is there; else the path itself.
std::string followLinks(std::string path);

/// A name beside `name` that nobody can foresee, and that file systems take.
std::string temporaryName(const std::string& name);

/// A path that leads to an open file or folder, even if that has no name; empty if the system has no such paths.
std::string pathOf(int descriptor);

/// Permissions less the process's mask.
mode_t withoutMask(mode_t permissions);

/// Gives a file the permissions and, where that is allowed, the owner of the one whose place it is to take.
bool takeOver(int descriptor, const struct stat& replaced);

/// The way of `renameFile` where the file system cannot rename without replacing: the file has both names for a moment.
/// 0 on success; otherwise nothing has changed.
TAVO_EXPORT int renameByLink(const std::string& from, const std::string& to);

/// Holds back all signals of this thread, so that none ends the process halfway.
class BlockedSignals
{
public:
    BlockedSignals();
    ~BlockedSignals();
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t _before;
};

} // namespace OS::posix
