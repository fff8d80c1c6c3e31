#include "LoggedRun.h"

#include "Child.h"

#include <algorithm>
#include <stdexcept>

namespace reliability
{

LoggedRun::LoggedRun(Prepared& prepared)
    : before(prepared.freshFolder())
{
    std::filesystem::remove(prepared.logPath());
    if (run(prepared.command(), {prepared.folder(), prepared.logPath(), {}, -1}) != 0)
    {
        throw std::runtime_error(std::string("the logged run fails: ") + prepared.workload().name);
    }
    calls = readLog(prepared.logPath());
    FolderState end = before;
    std::for_each(calls.begin(), calls.end(), [&](const LoggedCall& call) { end.apply(call); });
    if (calls.empty() || end.files() != FolderState(prepared.folder()).files())
    {
        throw std::runtime_error(std::string("not all calls are logged: ") + prepared.workload().name);
    }
}

std::size_t LoggedRun::countedCalls() const
{
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [](const LoggedCall& call) { return call.operation != LoggedCall::Say; }));
}

} // namespace reliability
