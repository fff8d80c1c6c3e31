#pragma once

#include <string>

namespace sdb::detail
{

/// Creates a scene database that holds only its header, where no file exists yet. False, and nothing is left behind, if
/// the file exists or cannot be written; `errno` tells the reason.
[[nodiscard]] bool createNewFile(const std::wstring& path);

/// Replaces an existing file by one that holds only the header. The new file is complete under a name of its own before
/// the old one is moved away and marked for deletion, so that a full disk or missing permission costs nothing; readers
/// that hold the old file keep their view. False if any of it failed.
[[nodiscard]] bool replaceByNewFile(const std::wstring& path);

} // namespace sdb::detail
