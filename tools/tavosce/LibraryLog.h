#pragma once

#include "Report.h"

#include "scenegraphcommon/Logger.h"

#include <functional>
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

/// Calls what writes through the library. The lines that the library and VTK print meanwhile become notes about
/// `place`, but for those that tell nothing and, if `write` throws, those that say in their words what is thrown. What
/// is thrown passes through. Reports must not go to std::cerr itself, which is caught.
void writeHeedingWords(const std::function<void()>& write, const std::string& place, Report& report);

} // namespace tavosce
