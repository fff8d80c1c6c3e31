#include "platform/Apart.h"

#include "platform/Sweeper.h"
#include "support/TemporaryDirectory.h"
#include "support/Testing.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace test;

TEST(ApartTest, theWorkHeedsNoSignalsAndDiesWithTheProcess)
{
    EXPECT_TRUE(OS::runApart([] { (void)std::raise(SIGINT); }).ended);
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0); // what outlives its process becomes a child of this one
    const auto workForEver = [] { (void)pause(); };
    EXPECT_FALSE(OS::runApart([&] { OS::runApart(workForEver, [] { (void)std::raise(SIGKILL); }); }).ended);
    int status = 0;
    EXPECT_GT(waitpid(-1, &status, 0), 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

TEST(SweeperTest, whatIsBuiltIsRemovedHoweverTheProcessEnds)
{
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    const TemporaryDirectory directory;
    const TemporaryFile built = directory.file("built");
    const auto build = [&](const std::function<void(OS::Sweeper&)>& end)
    {
        OS::Sweeper sweeper(built.wide);
        std::filesystem::create_directories(built.narrow + "/inner");
        writeBytes(built.narrow + "/inner/file", "begun");
        EXPECT_TRUE(sweeper.isWatching());
        end(sweeper);
    };
    const auto isThere = [&] { return std::filesystem::exists(built.narrow); };
    build([&](OS::Sweeper&) { EXPECT_TRUE(isThere()); });
    EXPECT_FALSE(isThere());
    build(
        [&](OS::Sweeper& sweeper)
        {
            sweeper.sweep();
            EXPECT_FALSE(isThere());
        });
    EXPECT_FALSE(OS::runApart([&] { build([](OS::Sweeper&) { (void)std::raise(SIGKILL); }); }).ended);
    EXPECT_GT(waitpid(-1, nullptr, 0), 0) << "it waits for the end of the process";
    EXPECT_FALSE(isThere());
}

TEST(ApartTest, whatIsThrownMeanwhileEndsTheWork)
{
    const auto workForEver = []
    {
        while (pause() == -1)
        {
        }
    };
    EXPECT_THROW(OS::runApart(workForEver, [] { throw std::runtime_error("enough"); }), std::runtime_error);
    EXPECT_EQ(waitpid(-1, nullptr, 0), -1);
    EXPECT_EQ(errno, ECHILD);
}

} // namespace
