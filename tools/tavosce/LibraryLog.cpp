#include "LibraryLog.h"

#include <utility>

namespace tavosce
{

LibraryLog::LibraryLog()
{
    _before = Logger::getSingleton().setSink([this](const std::string& entry) { _entries.push_back(entry); });
}

LibraryLog::~LibraryLog()
{
    Logger::getSingleton().setSink(std::move(_before));
}

std::vector<std::string> LibraryLog::take()
{
    return std::exchange(_entries, {});
}

} // namespace tavosce
