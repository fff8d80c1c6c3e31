#pragma once

#include "scenegraphcommon/Logger.h"

#include <string>
#include <vector>

namespace tavosce
{

/// Catches the entries of the library's log while it lives; what is made within its life catches them in its place.
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
    Logger::Sink _before;
};

} // namespace tavosce
