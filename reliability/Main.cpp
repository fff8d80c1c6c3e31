// The drivers of scripts/reliability: each runs what writes scene databases, disturbs it in one way, and checks that
// the file is what is promised. One line per driver and workload: cases, passed. Names of drivers select some of
// them. Exit code: 0 all passed, 1 not all, 2 wrong usage.

#include "Drivers.h"

#include "scenegraphcommon/Logger.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <vtkLogger.h>

namespace
{

struct Driver
{
    const char* name;
    void (*run)(reliability::Tally& tally, bool quick);
};

constexpr Driver DRIVERS[] = {
    {"crash points", &reliability::replayCrashPoints},
    {"power cuts", &reliability::cutPower},
    {"faults", &reliability::injectFaults},
    {"size limits", &reliability::limitSizes},
    {"kills", &reliability::killWriters},
    {"rivals", &reliability::writeTogether},
    {"signals", &reliability::stopPrograms},
    {"readers", &reliability::readMeanwhile},
};

} // namespace

int main(int count, char** arguments)
{
    std::set<std::string> wanted(arguments + 1, arguments + count);
    const bool quick = wanted.erase("--quick") != 0;
    const auto isWanted = [&, all = wanted.empty()](const Driver& driver)
    { return all || wanted.erase(driver.name) != 0; };
    std::vector<Driver> drivers;
    std::copy_if(std::begin(DRIVERS), std::end(DRIVERS), std::back_inserter(drivers), isWanted);
    if (!wanted.empty())
    {
        (void)std::fprintf(stderr, "usage: %s [--quick] [DRIVER...]\n", arguments[0]);
        return 2;
    }
    Logger::getSingleton().setSink([](const std::string&) {});
    vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
    bool isAllPassed = true;
    (void)std::printf("%-14s %-34s %8s %8s %8s\n", "driver", "what", "cases", "passed", "seconds");
    for (const Driver& driver : drivers)
    {
        reliability::Tally tally(driver.name);
        driver.run(tally, quick);
        tally.finish();
        isAllPassed = isAllPassed && tally.isAllPassed();
    }
    return isAllPassed ? 0 : 1;
}
