#include "scenegraphcommon/Logger.h"

#include "support/LogCapture.h"

namespace
{

using namespace test;

TEST(LoggerTest, aSiteReadsItsLevelOnceAtItsFirstUse)
{
    Logger& logger = Logger::getSingleton();
    const unsigned before = logger.getLevelFlags();
    const LogCapture log;
    LogSite warning(Logger::Warning, "io/SDB", 12), failure(Logger::Failure, "io/SDB", 34);
    logger.setLevelFlags(Logger::Warning);
    warning.log("w1");
    failure.log("f1");
    logger.setLevelFlags(Logger::Failure | Logger::ShowSource);
    warning.log("w2");
    failure.log("f2");
    LogSite(Logger::Failure, "io/SDB", 56).log("f3");
    logger.setLevelFlags(before);
    EXPECT_THAT(log.entries, ElementsAre("w1", "io/SDB:12 w2", "io/SDB:56 f3"));
}

TEST(LoggerTest, warningsAndFailuresGoToStandardErrorUntilASinkTakesThem)
{
    const auto writeTwo = []
    {
        testing::internal::CaptureStderr();
        LogSite(Logger::Warning, "io/SDB", 1).log("w");
        LogSite(Logger::Failure, "io/SDB", 2).log("f");
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(writeTwo(), "w\nf\n");
    std::string taken;
    Logger::getSingleton().setSink(
        [&, first = std::string("first ")](const std::string& entry)
        {
            Logger::getSingleton().setSink({}); // a sink may replace itself
            taken = first + entry;
        });
    EXPECT_EQ(writeTwo(), "f\n");
    EXPECT_EQ(taken, "first w");
}

} // namespace
