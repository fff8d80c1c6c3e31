#pragma once

#include "scenegraphcommon/Logger.h"
#include "support/Testing.h"

namespace test
{

/// Receives the entries of the log for as long as it lives, all levels included.
class LogCapture
{
public:
    LogCapture()
    {
        Logger::getSingleton().setSink([this](const std::string& entry) { entries.push_back(entry); });
    }

    ~LogCapture() { Logger::getSingleton().setSink({}); }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> entries;
};

} // namespace test
