#include "Drivers.h"

#include "Child.h"
#include "LoggedRun.h"
#include "Programs.h"

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

} // namespace

void injectFaults(Tally& tally, bool quick)
{
    for (const Workload& workload : workloads())
    {
        tally.begin(workload.name);
        Prepared prepared(workload);
        const std::size_t calls = LoggedRun(prepared).countedCalls();
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
        Prepared prepared(workload);
        if (prepared.finalBytes().empty())
        {
            continue; // a folder, whose files have a size each
        }
        tally.begin(workload.name);
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
