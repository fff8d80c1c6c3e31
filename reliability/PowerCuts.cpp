#include "Drivers.h"
#include "LoggedRun.h"

#include <algorithm>
#include <random>

namespace reliability
{

namespace
{

constexpr int SAMPLES = 20;
constexpr int QUICK_SAMPLES = 4;
constexpr unsigned SEED = 20;

/// Pieces of a torn write are of this many bytes at most: no sector is taken for whole.
constexpr std::size_t MOST_OF_A_PIECE = 64;

using Random = std::minstd_rand;

bool isOneOf(Random& random, unsigned count)
{
    return random() % count == 0;
}

/// A disk that has what was synchronised, and any of what was not: of each byte that was written, cut off or left out
/// since the last synchronisation of its file, in any order; and under each name any file that it has led to since the
/// last synchronisation of the folder.
class Disk
{
public:
    explicit Disk(FolderState state)
        : _current(state)
        , _kept(std::move(state))
    {
        for (const auto& [name, inode] : _current.names)
        {
            _histories[name] = {inode};
        }
    }

    void apply(const LoggedCall& call)
    {
        _current.apply(call);
        if (call.operation == LoggedCall::Sync)
        {
            _current.contents.count(call.inode) != 0 ? synchronise(call.inode) : synchroniseNames();
            return;
        }
        if (call.operation == LoggedCall::Create)
        {
            _kept.contents[call.inode].clear();
        }
        if (call.changesBytes())
        {
            _pending.push_back(call);
        }
        rememberNames();
    }

    bool isSynchronised() const
    {
        return _pending.empty() && std::all_of(_histories.begin(), _histories.end(),
                                               [](const auto& history) { return history.second.size() == 1; });
    }

    /// How bytes and names fared.
    enum Fate
    {
        Lost,
        Kept,
        Mixed
    };

    FolderState cut(Fate bytes, Fate names, Random& random) const
    {
        FolderState res = _kept;
        for (const LoggedCall& call : _pending)
        {
            const Fate fate = bytes == Mixed ? static_cast<Fate>(random() % 3) : bytes;
            if (fate == Mixed)
            {
                applyTorn(res, call, random);
            }
            else if (fate == Kept)
            {
                res.apply(call);
            }
        }
        for (const auto& [name, history] : _histories)
        {
            const std::size_t any = random() % history.size();
            const std::uint64_t inode = names == Lost ? history.front() : names == Kept ? history.back() : history[any];
            inode == NOTHING ? static_cast<void>(res.names.erase(name)) : static_cast<void>(res.names[name] = inode);
        }
        return res;
    }

private:
    static constexpr std::uint64_t NOTHING = UINT64_MAX;

    /// Of a write any bytes; the file may have its new length without them. Only a write at the very end of what is
    /// synchronised is torn at one place: a file system shows a length no earlier than the bytes that brought it.
    /// Nothing but bytes can be torn.
    void applyTorn(FolderState& state, const LoggedCall& call, Random& random) const
    {
        if (call.number == _kept.contents.at(call.inode).size())
        {
            state.apply(call, random() % (call.bytes.size() + 1));
            return;
        }
        std::string& content = state.contents[call.inode];
        if (isOneOf(random, 2))
        {
            content.resize(std::max(content.size(), call.number + call.bytes.size()));
        }
        for (std::size_t begin = 0, size = 0; begin < call.bytes.size(); begin += size)
        {
            size = std::min(1 + random() % MOST_OF_A_PIECE, call.bytes.size() - begin);
            if (isOneOf(random, 2))
            {
                state.apply({LoggedCall::Write, call.inode, call.number + begin, call.bytes.substr(begin, size)});
            }
        }
    }

    void synchronise(std::uint64_t inode)
    {
        _kept.contents[inode] = _current.contents[inode];
        const auto isOfFile = [=](const LoggedCall& call) { return call.inode == inode; };
        _pending.erase(std::remove_if(_pending.begin(), _pending.end(), isOfFile), _pending.end());
    }

    void synchroniseNames()
    {
        for (auto& [name, history] : _histories)
        {
            history = {history.back()};
        }
        _kept.names = _current.names;
    }

    void rememberNames()
    {
        for (const auto& [name, inode] : _current.names)
        {
            _histories.try_emplace(name, std::vector<std::uint64_t>{NOTHING});
        }
        for (auto& [name, history] : _histories)
        {
            const auto found = _current.names.find(name);
            const std::uint64_t inode = found != _current.names.end() ? found->second : NOTHING;
            if (history.back() != inode)
            {
                history.push_back(inode);
            }
        }
    }

    FolderState _current; ///< as the programs see it
    FolderState _kept;    ///< what is synchronised
    std::vector<LoggedCall> _pending;
    std::map<std::string, std::vector<std::uint64_t>> _histories; ///< of names, since their folder was synchronised
};

/// Disks as they may be found at one moment: the extremes, and samples.
std::vector<FolderState> disksAfterACut(const Disk& disk, int samples, Random& random)
{
    std::vector<FolderState> res;
    if (disk.isSynchronised())
    {
        return {disk.cut(Disk::Kept, Disk::Kept, random)};
    }
    for (const Disk::Fate bytes : {Disk::Lost, Disk::Kept, Disk::Mixed})
    {
        for (const Disk::Fate names : {Disk::Lost, Disk::Kept})
        {
            res.push_back(disk.cut(bytes, names, random));
        }
    }
    for (int i = 0; i < samples; ++i)
    {
        res.push_back(disk.cut(Disk::Mixed, Disk::Mixed, random));
    }
    return res;
}

void cutAnywhere(Prepared& prepared, const LoggedRun& logged, Tally& tally, int samples)
{
    Random random(SEED); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same disks in every run
    Disk disk(logged.before);
    FolderState written = logged.before;
    std::optional<SceneState> acknowledged;
    const auto acknowledge = [&]
    {
        written.writeTo(prepared.folder());
        acknowledged = prepared.state();
    };
    const auto check = [&](const std::string& name)
    {
        for (const FolderState& found : disksAfterACut(disk, samples, random))
        {
            tally.count(name,
                        [&]
                        {
                            found.writeTo(prepared.folder());
                            prepared.check(acknowledged);
                        });
        }
    };
    for (std::size_t i = 0; i < logged.calls.size(); ++i)
    {
        const LoggedCall& call = logged.calls[i];
        disk.apply(call);
        written.apply(call);
        if (call.operation == LoggedCall::Say)
        {
            acknowledge();
        }
        check("after call " + std::to_string(i));
    }
    acknowledge(); // the run has ended well
    check("after the end");
}

} // namespace

void cutPower(Tally& tally, bool quick)
{
    for (const Workload& workload : workloads())
    {
        if (workload.survivesPowerCuts())
        {
            tally.begin(workload.name);
            Prepared prepared(workload);
            const LoggedRun logged(prepared);
            cutAnywhere(prepared, logged, tally, quick ? QUICK_SAMPLES : SAMPLES);
        }
    }
}

} // namespace reliability
