#include "Drivers.h"

#include "Child.h"
#include "Programs.h"
#include "Workloads.h"
#include "WriteLog.h"

#include <algorithm>
#include <stdexcept>

namespace reliability
{

namespace
{

constexpr int QUICK_STRIDE = 5;

void requireThat(bool holds, const std::string& what)
{
    if (!holds)
    {
        throw std::runtime_error(what);
    }
}

/// Runs a workload with one disturbance. A run that says that all is well has to leave what an undisturbed one leaves;
/// any other has to say that it could not write.
void runDisturbed(Prepared& prepared, ChildOptions options, bool hasToSucceed)
{
    options.folder = prepared.freshFolder();
    const int code = run(prepared.command(), options);
    const int cannotWrite = prepared.workload().command[0] == TAVOSCE ? 6 : 1;
    requireThat(code == 0 || (code == cannotWrite && !hasToSucceed), "exit code " + std::to_string(code));
    if (code == 0)
    {
        prepared.checkComplete();
    }
    prepared.check();
}

/// How many calls an undisturbed run makes.
std::size_t callsOf(Prepared& prepared)
{
    requireThat(run(prepared.command(), {prepared.freshFolder(), prepared.logPath(), {}, -1}) == 0,
                "the logged run fails");
    return readLog(prepared.logPath()).size();
}

} // namespace

void injectFaults(Tally& tally, bool quick)
{
    for (const Workload& workload : workloads())
    {
        tally.begin(workload.name);
        Prepared prepared(workload);
        const std::size_t calls = callsOf(prepared);
        for (const std::string kind : {"eio", "full", "short"})
        {
            for (std::size_t i = 0; i < calls; i += quick ? QUICK_STRIDE : 1)
            {
                const std::string fault = std::to_string(i) + ' ' + kind;
                tally.count(fault, [&] { runDisturbed(prepared, {{}, {}, fault, -1}, kind == "short"); });
            }
        }
    }
}

void limitSizes(Tally& tally, bool quick)
{
    for (const Workload& workload : workloads())
    {
        if (workload.command[0] != TAVOSCE)
        {
            continue; // a library leaves it to the application what that signal does
        }
        tally.begin(workload.name);
        Prepared prepared(workload);
        const auto size = static_cast<long long>(prepared.finalBytes().size());
        const long long step = std::max(1LL, size / (quick ? 12 : 100));
        for (long long limit = 0; limit <= size; limit += step)
        {
            tally.count(std::to_string(limit) + " bytes",
                        [&] {
                            runDisturbed(prepared, {{}, {}, {}, limit}, limit >= size);
                        });
        }
    }
}

} // namespace reliability
