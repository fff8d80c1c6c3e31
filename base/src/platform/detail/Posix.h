#pragma once

#include "core/Export.h"

#include <optional>
#include <string>

#include <sys/types.h>

/// What the sources of the platform library share. Failures are answers; `errno` tells the reason.
namespace OS::posix
{

/// The path as the system takes it; nothing, with EINVAL, for one with an embedded NUL.
std::optional<std::string> systemPath(const std::wstring& path);

/// Whether a file of this mode is a regular one. If not: EISDIR for a directory, ENOTSUP for anything else.
bool checkRegular(mode_t mode);

/// The permissions of a new file, less the process's mask.
constexpr mode_t READ_WRITE_FOR_ALL = 0666;

/// Opens a regular file without ever waiting for it, whatever the path names. `flags` are those of open(2). The
/// descriptor is the caller's and is not inherited by other programs; -1 on failure.
int openRegular(const std::wstring& path, int flags);

/// The way of `renameFile` where the file system cannot rename without replacing: the file has both names for a moment.
/// 0 on success; otherwise nothing has changed.
TAVO_EXPORT int renameByLink(const std::string& from, const std::string& to);

} // namespace OS::posix
