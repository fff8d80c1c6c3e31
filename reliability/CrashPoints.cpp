#include "Drivers.h"

#include "LoggedRun.h"

namespace reliability
{

namespace
{

constexpr std::size_t LONG_WRITE = 1024;
constexpr std::size_t PLACES_OF_LONG = 64;
/// In quick runs only every so many-th byte.
constexpr std::size_t QUICK_STRIDE = 16;

/// After how many of its bytes a write is torn.
std::vector<std::size_t> tornSizes(const LoggedCall& call, bool quick)
{
    std::vector<std::size_t> res;
    const std::size_t size = call.operation == LoggedCall::Write ? call.bytes.size() : 0;
    const std::size_t places = size > LONG_WRITE ? PLACES_OF_LONG : size;
    for (std::size_t place = 1; place < places; place += quick ? QUICK_STRIDE : 1)
    {
        res.push_back(size * place / places);
    }
    return res;
}

void replay(Prepared& prepared, FolderState state, const std::vector<LoggedCall>& calls, Tally& tally, bool quick)
{
    const auto check = [&](const FolderState& folder, const std::string& name)
    {
        tally.count(name,
                    [&]
                    {
                        folder.writeTo(prepared.folder());
                        prepared.check();
                    });
    };
    check(state, "before the first call");
    for (std::size_t i = 0; i < calls.size(); ++i)
    {
        const std::string name = "call " + std::to_string(i);
        for (const std::size_t size : tornSizes(calls[i], quick))
        {
            FolderState torn = state;
            torn.apply(calls[i], size);
            check(torn, name + " after " + std::to_string(size) + " bytes");
        }
        state.apply(calls[i]);
        if (calls[i].changesFiles())
        {
            check(state, "after " + name);
        }
    }
    tally.count("the end",
                [&]
                {
                    state.writeTo(prepared.folder());
                    prepared.checkComplete();
                });
}

} // namespace

void replayCrashPoints(Tally& tally, bool quick)
{
    for (const Workload& workload : workloads())
    {
        tally.begin(workload.name);
        Prepared prepared(workload);
        const LoggedRun logged(prepared);
        replay(prepared, logged.before, logged.calls, tally, quick);
    }
}

} // namespace reliability
