#include "LibraryLog.h"

#include "scenegraphcommon/Logger.h"

#include <utility>

namespace tavosce
{

LibraryLog::LibraryLog()
{
    Logger::getSingleton().setSink([this](const std::string& entry) { _entries.push_back(entry); });
}

LibraryLog::~LibraryLog()
{
    Logger::getSingleton().setSink({});
}

std::vector<std::string> LibraryLog::take()
{
    return std::exchange(_entries, {});
}

} // namespace tavosce
