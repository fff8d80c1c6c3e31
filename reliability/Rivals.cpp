// Drivers with programs that want to write to one file at the same time.

#include "Drivers.h"

#include "Child.h"
#include "Programs.h"
#include "SceneState.h"
#include "support/Datasets.h"
#include "support/TemporaryDirectory.h"
#include "support/VtpFiles.h"

#include <algorithm>
#include <future>
#include <stdexcept>
#include <thread>

namespace reliability
{

namespace
{

using Clock = std::chrono::steady_clock;
using Command = std::vector<std::string>;

constexpr int ROUNDS = 30;
constexpr int QUICK_ROUNDS = 8;
constexpr int CANNOT_WRITE = 6;

void requireThat(bool holds, const std::string& what)
{
    if (!holds)
    {
        throw std::runtime_error(what);
    }
}

/// How a program got its turn.
struct Turn
{
    Clock::time_point begin; ///< of the attempt that succeeded
    Clock::time_point end;
    int refusals = 0;
};

/// Runs a program until nobody else is writing.
Turn runInTurn(const Command& command)
{
    ChildOptions options;
    options.withErrors = true;
    for (Turn turn;; ++turn.refusals)
    {
        turn.begin = Clock::now();
        std::string output;
        const int code = Child(command, options).wait(output);
        turn.end = Clock::now();
        if (code == 0)
        {
            return turn;
        }
        requireThat(code == CANNOT_WRITE && output.find("another process is writing") != std::string::npos,
                    "exit code " + std::to_string(code) + ": " + output);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

/// Files for rounds of rivals, and what one of them alone leaves.
class Arena
{
public:
    Arena()
    {
        test::writeVtp(*test::withAllArrays(test::allCellKinds(), {VTK_FLOAT, VTK_INT}), path("a.vtp"));
        reset();
        start = stateOf(target()).value();
        requireThat(run({TAVOSCE, "thumb", target(), "-o", path("picture.png")}, {}) == 0, "cannot prepare a picture");
        requireThat(run(append("one"), {}) == 0 && run(replace(), {}) == 0, "an undisturbed run fails");
        replaced = stateOf(target()).value();
    }

    std::string path(const std::string& name) const { return _folder.path() + '/' + name; }

    std::string target() const { return path("target.sce"); }

    void reset() const
    {
        std::filesystem::remove(target());
        requireThat(run({SCENE_WRITER, "create", target(), "0", "3"}, {}) == 0, "an undisturbed run fails");
    }

    Command append(const std::string& title) const
    {
        Command res = {TAVOSCE, "import", "--append", "--session=s", "--title=" + title, "-o", target()};
        res.insert(res.end(), RECORDS, path("a.vtp"));
        return res;
    }

    Command replace() const { return {TAVOSCE, "import", "--force", "--title=new", "-o", target(), path("a.vtp")}; }

    Command picture() const { return {TAVOSCE, "thumb", target() + ":0", "--set", path("picture.png")}; }

    /// Lets two programs go at the same time, and answers their turns.
    std::pair<Turn, Turn> meet(const Command& one, const Command& other)
    {
        auto turn = std::async(std::launch::async, [&] { return runInTurn(one); });
        const Turn second = runInTurn(other);
        const Turn first = turn.get();
        refusals += first.refusals + second.refusals;
        return {first, second};
    }

    /// Requires the records of an earlier state at the beginning, and so many more of each of the titles.
    void requireRecords(const SceneState& before, const std::vector<std::string>& titles) const
    {
        const SceneState found = stateOf(target()).value();
        requireThat(found.records.size() == before.records.size() + titles.size() * RECORDS &&
                        std::equal(before.records.begin(), before.records.end(), found.records.begin()),
                    "not the records that were acknowledged");
        for (const std::string& title : titles)
        {
            const auto added = std::count_if(found.records.begin(), found.records.end(),
                                             [&](const std::string& record)
                                             { return record.compare(0, title.size() + 1, title + '\n') == 0; });
            requireThat(added == RECORDS, "records are lost");
        }
    }

    static constexpr int RECORDS = 6; ///< that an append adds

    SceneState start;    ///< of a round
    SceneState replaced; ///< of the new file
    int refusals = 0;

private:
    test::TemporaryDirectory _folder;
};

/// Rounds of two rivals; at least once one of them has to have been in the way of the other.
void compete(Tally& tally, bool quick, const char* what, void (*round)(Arena& arena))
{
    tally.begin(what);
    Arena arena;
    for (int i = 0; i < (quick ? QUICK_ROUNDS : ROUNDS); ++i)
    {
        tally.count("round " + std::to_string(i),
                    [&]
                    {
                        arena.reset();
                        round(arena);
                        checkAdding(arena.target());
                    });
    }
    tally.count("in each other's way", [&] { requireThat(arena.refusals > 0, "they never met"); });
}

void appendTwice(Arena& arena)
{
    arena.meet(arena.append("one"), arena.append("other"));
    arena.requireRecords(arena.start, {"one", "other"});
}

void appendAndSetThumbnail(Arena& arena)
{
    arena.meet(arena.append("one"), arena.picture());
    arena.requireRecords(arena.start, {"one"});
    requireThat(stateOf(arena.target()).value().thumbnails.size() == arena.start.thumbnails.size() + 1,
                "a thumbnail is lost");
}

/// Who comes first is replaced, which is what --force is for; who comes last is there.
void appendAndReplace(Arena& arena)
{
    const auto [added, replaced] = arena.meet(arena.append("one"), arena.replace());
    const bool isOnlyReplaced = stateOf(arena.target()).value().records.size() == arena.replaced.records.size();
    requireThat(!isOnlyReplaced || added.begin < replaced.end, "records are lost");
    arena.requireRecords(arena.replaced, isOnlyReplaced ? std::vector<std::string>() : std::vector<std::string>{"one"});
}

} // namespace

void writeTogether(Tally& tally, bool quick)
{
    compete(tally, quick, "two import --append", &appendTwice);
    compete(tally, quick, "import --append and thumb --set", &appendAndSetThumbnail);
    compete(tally, quick, "import --append and --force", &appendAndReplace);
}

} // namespace reliability
