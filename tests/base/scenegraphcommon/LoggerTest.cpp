#include "scenegraphcommon/Logger.h"

#include <vector>

#include <gtest/gtest.h>

namespace
{

class LoggerTest : public testing::Test
{
protected:
    LoggerTest()
    {
        _logger.setSink([this](const std::string& entry) { _entries.push_back(entry); });
    }

    ~LoggerTest() override
    {
        _logger.setSink({});
        _logger.setLevelFlags(_flagsBefore);
    }

    Logger& _logger = Logger::getSingleton();
    const unsigned _flagsBefore = _logger.getLevelFlags();
    std::vector<std::string> _entries;
};

TEST_F(LoggerTest, aSiteReadsItsLevelOnceAtItsFirstUse)
{
    LogSite warning(Logger::Warning, "io/SDB", 12);
    LogSite failure(Logger::Failure, "io/SDB", 34);
    _logger.setLevelFlags(Logger::Warning);
    warning.log("w1");
    failure.log("f1");
    _logger.setLevelFlags(Logger::Failure | Logger::ShowSource);
    warning.log("w2");
    failure.log("f2");
    LogSite(Logger::Failure, "io/SDB", 56).log("f3");
    EXPECT_EQ(_entries, (std::vector<std::string>{"w1", "io/SDB:12 w2", "io/SDB:56 f3"}));
}

TEST_F(LoggerTest, warningsAndFailuresGoToStandardErrorUntilSetOtherwise)
{
    _logger.setSink({});
    testing::internal::CaptureStderr();
    LogSite(Logger::Warning, "io/SDB", 1).log("w");
    LogSite(Logger::Failure, "io/SDB", 2).log("f");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "w\nf\n");
}

TEST_F(LoggerTest, aSinkMayReplaceItself)
{
    _logger.setSink(
        [this, first = std::string("first ")](const std::string& entry)
        {
            _logger.setSink({});
            _entries.push_back(first + entry);
        });
    _logger.write("x");
    EXPECT_EQ(_entries, std::vector<std::string>{"first x"});
}

} // namespace
