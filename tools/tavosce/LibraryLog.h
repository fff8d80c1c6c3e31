#pragma once

#include <string>
#include <vector>

namespace tavosce
{

/// Catches the entries of the library's log while it lives. One at a time.
class LibraryLog
{
public:
    LibraryLog();
    ~LibraryLog();
    LibraryLog(const LibraryLog&) = delete;
    LibraryLog& operator=(const LibraryLog&) = delete;

    /// The entries since the last call.
    std::vector<std::string> take();

private:
    std::vector<std::string> _entries;
};

} // namespace tavosce
