// The drivers of scripts/reliability: each runs what writes scene databases, disturbs it in one way, and checks that
// the file is what is promised. One line per driver and workload: cases, passed. Exit code: 0 all passed, 1 not all, 2
// wrong usage.

#include "Drivers.h"

#include "scenegraphcommon/Logger.h"

#include <chrono>
#include <cstdio>
#include <cstring>

#include <vtkLogger.h>

namespace
{

struct Driver
{
    const char* name;
    void (*run)(reliability::Tally& tally, bool quick);
};

constexpr Driver DRIVERS[] = {
    {"crash points", &reliability::replayCrashPoints}, {"faults", &reliability::injectFaults},
    {"size limits", &reliability::limitSizes},         {"kills", &reliability::killWriters},
    {"readers", &reliability::readMeanwhile},
};

} // namespace

int main(int count, char** arguments)
{
    const bool quick = count == 2 && std::strcmp(arguments[1], "--quick") == 0;
    if (count > 2 || (count == 2 && !quick))
    {
        (void)std::fprintf(stderr, "usage: %s [--quick]\n", arguments[0]);
        return 2;
    }
    Logger::getSingleton().setSink([](const std::string&) {});
    vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
    bool isAllPassed = true;
    (void)std::printf("%-14s %-34s %8s %8s %8s\n", "driver", "what", "cases", "passed", "seconds");
    for (const Driver& driver : DRIVERS)
    {
        reliability::Tally tally(driver.name);
        driver.run(tally, quick);
        tally.finish();
        isAllPassed = isAllPassed && tally.isAllPassed();
    }
    return isAllPassed ? 0 : 1;
}
