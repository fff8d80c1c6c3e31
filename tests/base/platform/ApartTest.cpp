#include "platform/Apart.h"

#include "support/Testing.h"

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace test;

TEST(ApartTest, signalsEndTheWorkUnlessTheyAreIgnored)
{
    for (const auto handler : {SIG_IGN, SIG_DFL})
    {
        (void)std::signal(SIGINT, handler);
        EXPECT_EQ(OS::runApart([] { (void)std::raise(SIGINT); }).ended, handler == SIG_IGN);
    }
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
