// Drivers with processes that write and read at the same time.

#include "Drivers.h"

#include "Child.h"
#include "Numbered.h"
#include "Programs.h"
#include "SceneState.h"

#include <algorithm>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace reliability
{

namespace
{

using std::chrono::microseconds;

constexpr int KILL_ROUNDS = 200;
constexpr int RECORDS_A_ROUND = 20;
/// Files grow from round to round; then they begin anew.
constexpr int ROUNDS_A_FILE = 20;

void requireThat(bool holds, const std::string& what)
{
    if (!holds)
    {
        throw std::runtime_error(what);
    }
}

/// A scene database of numbered records in a folder of its own.
class NumberedFile
{
public:
    const std::string& folder() const { return _folder.path(); }

    std::string path() const { return _folder.path() + "/target.sce"; }

    std::vector<std::string> append(int first, int count) const
    {
        return {SCENE_WRITER, "append", path(), std::to_string(first), std::to_string(count)};
    }

    /// The state of a file of the first records, as it should be.
    static SceneState expected(int count)
    {
        const NumberedFile file;
        requireThat(run(file.append(0, count), {}) == 0, "an undisturbed run fails");
        return stateOf(file.path()).value();
    }

private:
    test::TemporaryDirectory _folder;
};

/// One more than the last number that was acknowledged; `before` if there is none.
int endOfAcknowledged(const std::string& output, int before)
{
    std::istringstream in(output);
    for (int number = 0; in >> number;)
    {
        before = number + 1;
    }
    return before;
}

/// The thumbnails of the records from `first` up to `end`, of all there are.
void addThumbnails(std::vector<std::string>& res, const SceneState& all, int first, int end)
{
    for (int number = first; number < end; ++number)
    {
        if (Numbered::hasThumbnail(number))
        {
            res.push_back(all.thumbnails[static_cast<std::size_t>(number) / Numbered::THUMBNAIL_STEP]);
        }
    }
}

/// Requires that the records are the first ones, and that every acknowledged thumbnail is there.
void requireBeginning(const SceneState& found, const SceneState& all, const std::vector<std::string>& thumbnails)
{
    requireThat(std::equal(found.records.begin(), found.records.end(), all.records.begin()),
                "a record is not what it was");
    for (const std::string& thumbnail : thumbnails)
    {
        requireThat(std::count(found.thumbnails.begin(), found.thumbnails.end(), thumbnail) == 1,
                    "a thumbnail is lost");
    }
}

/// Kills a writer, by the clock or at a call, and answers up to where it acknowledged its records.
int killedAt(const NumberedFile& file, int first, std::minstd_rand& random)
{
    constexpr int MOST_CALLS = 150;
    constexpr int MOST_MICROSECONDS = 60000;
    const bool byCall = random() % 2 == 0;
    ChildOptions options;
    if (byCall)
    {
        options.folder = file.folder();
        options.fault = std::to_string(random() % MOST_CALLS) + " kill";
    }
    Child child(file.append(first, RECORDS_A_ROUND), options);
    if (!byCall)
    {
        std::this_thread::sleep_for(microseconds(random() % MOST_MICROSECONDS));
        child.kill();
    }
    std::string output;
    child.wait(output);
    return endOfAcknowledged(output, first);
}

} // namespace

void killWriters(Tally& tally, bool quick)
{
    const int rounds = quick ? KILL_ROUNDS / 5 : KILL_ROUNDS;
    const SceneState all = NumberedFile::expected(ROUNDS_A_FILE * RECORDS_A_ROUND);
    std::minstd_rand random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same rounds in every run
    std::optional<NumberedFile> file;
    std::vector<std::string> thumbnails; ///< those that were acknowledged
    int next = 0;
    tally.begin("library, append");
    for (int round = 0; round < rounds; ++round)
    {
        if (round % ROUNDS_A_FILE == 0)
        {
            file.emplace();
            thumbnails.clear();
            next = 0;
        }
        tally.count("round " + std::to_string(round),
                    [&]
                    {
                        const int acknowledged = killedAt(*file, next, random);
                        addThumbnails(thumbnails, all, next, acknowledged);
                        const SceneState found = stateOf(file->path()).value_or(SceneState());
                        next = static_cast<int>(found.records.size());
                        requireThat(next >= acknowledged, std::to_string(acknowledged - next) + " records are lost");
                        requireBeginning(found, all, thumbnails);
                    });
    }
}

void readMeanwhile(Tally& tally, bool quick)
{
    const int rounds = quick ? 10 : 50;
    tally.begin("a file that is replaced");
    for (int round = 0; round < rounds; ++round)
    {
        const NumberedFile file;
        tally.count(
            "round " + std::to_string(round),
            [&]
            {
                requireThat(run(file.append(0, 5), {}) == 0, "an undisturbed run fails");
                tsg::SDBReader reader;
                const std::string path = file.path();
                requireThat(reader.open({path.begin(), path.end()}) == tsg::io::FileIoStatus::Success, "cannot open");
                Child child({SCENE_WRITER, "create", file.path(), "100", "3"}, {});
                for (int i = 0; i < 5; ++i)
                {
                    test::RecordingStream stream;
                    requireThat(reader.loadRecord(i, stream), "cannot load what was there");
                    requireThat(reader.getRecords()[static_cast<std::size_t>(i)].getString("Title") ==
                                    Numbered::titleOf(i),
                                "another record");
                }
                std::string output;
                requireThat(child.wait(output) == 0, "cannot replace");
                test::RecordingStream stream;
                requireThat(reader.loadRecord(4, stream), "cannot load what was there");
                requireThat(stateOf(file.path()).value().records.size() == 3, "not replaced");
            });
    }
    tally.begin("a file that is added to");
    const int count = quick ? 150 : 600;
    const SceneState all = NumberedFile::expected(count);
    const NumberedFile file;
    requireThat(run(file.append(0, 1), {}) == 0, "an undisturbed run fails");
    Child child(file.append(1, count - 1), {});
    std::size_t before = 0;
    while (child.isRunning())
    {
        tally.count("open",
                    [&]
                    {
                        const SceneState found = stateOf(file.path()).value();
                        requireThat(found.records.size() >= before && isBeginning(found, all), "not what was added");
                        before = found.records.size();
                    });
    }
}

} // namespace reliability
