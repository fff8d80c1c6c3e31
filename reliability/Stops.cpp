// The driver that stops programs by signals while they work on much data.

#include "Drivers.h"

#include "Child.h"
#include "Programs.h"
#include "WriteLog.h"
#include "support/TemporaryDirectory.h"
#include "support/VtpFiles.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <thread>

#include <vtkCellArray.h>
#include <vtkFloatArray.h>
#include <vtkPointData.h>
#include <vtkPoints.h>

namespace reliability
{

namespace
{

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;
using Files = std::map<std::string, std::string>;

constexpr int ROUNDS = 20;
constexpr int QUICK_ROUNDS = 4;
constexpr vtkIdType POINTS = 5000000;
constexpr vtkIdType QUICK_POINTS = 300000;
constexpr double MOST_SECONDS = 1.0;
constexpr int INTERRUPTED = 130;
constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

/// Something that takes its time; "@" stands for the folder that it may change, "#" for that of its inputs.
struct LongWork
{
    const char* name;
    std::vector<std::string> command;
};

const LongWork WORKS[] = {
    {"import --force", {TAVOSCE, "import", "--session=s", "--force", "-o", "@target.sce", "#big.vtp"}},
    {"import --append", {TAVOSCE, "import", "--session=s", "--append", "-o", "@target.sce", "#big.vtp"}},
    {"export", {TAVOSCE, "export", "#big.sce:0", "-o", "@out"}},
    {"export --scene-directory", {TAVOSCE, "export", "--scene-directory", "#big.sce:0", "-o", "@out"}},
    {"verify", {TAVOSCE, "verify", "#big.sce"}},
    {"recover", {TAVOSCE, "recover", "#big.sce", "-o", "@rescued.sce"}},
    {"diff", {TAVOSCE, "diff", "#big.sce", "#same.sce"}},
};

void requireThat(bool holds, const std::string& what)
{
    if (!holds)
    {
        throw std::runtime_error(what);
    }
}

/// Points of noise, which is what takes zlib the longest.
void writeNoise(vtkIdType count, const std::string& path)
{
    std::minstd_rand random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same data in every run
    const vtkNew<vtkPoints> points;
    const vtkNew<vtkFloatArray> values;
    values->SetName("values");
    points->SetNumberOfPoints(count);
    values->SetNumberOfTuples(count);
    const vtkNew<vtkCellArray> vertices;
    for (vtkIdType i = 0; i < count; ++i)
    {
        const auto noise = static_cast<float>(random());
        points->SetPoint(i, static_cast<double>(i), noise, 0);
        values->SetValue(i, noise);
        vertices->InsertNextCell(1, &i);
    }
    const vtkNew<vtkPolyData> polys;
    polys->SetPoints(points);
    polys->SetVerts(vertices);
    polys->GetPointData()->AddArray(values);
    test::writeVtp(*polys, path);
}

class Stage
{
public:
    explicit Stage(vtkIdType points)
    {
        writeNoise(points, _inputs.path() + "/big.vtp");
        const std::string big = _inputs.path() + "/big.sce";
        requireThat(run({TAVOSCE, "import", "-o", big, _inputs.path() + "/big.vtp"}, {}) == 0, "cannot import");
        std::filesystem::copy_file(big, _inputs.path() + "/same.sce");
        requireThat(run({SCENE_WRITER, "create", _inputs.path() + "/small.sce", "0", "3"}, {}) == 0, "cannot write");
    }

    std::vector<std::string> command(const LongWork& work) const
    {
        std::vector<std::string> res = work.command;
        for (std::string& argument : res)
        {
            if (argument.front() == '@' || argument.front() == '#')
            {
                argument.replace(0, 1, (argument.front() == '@' ? _outputs : _inputs).path() + '/');
            }
        }
        return res;
    }

    void reset() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(_outputs.path()))
        {
            std::filesystem::remove_all(entry.path());
        }
        std::filesystem::copy_file(_inputs.path() + "/small.sce", _outputs.path() + "/target.sce");
    }

    Files files() const { return FolderState(_outputs.path()).files(); }

private:
    test::TemporaryDirectory _inputs;
    test::TemporaryDirectory _outputs;
};

/// Sends a signal at a moment counted from when the program heeds it. The seconds that it went on, and its exit code.
std::pair<double, int> stop(const std::vector<std::string>& command, int signal, Seconds moment)
{
    Child child(command, {});
    while (child.isRunning() && !child.heeds(signal))
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::this_thread::sleep_for(moment);
    const auto sent = Clock::now();
    child.kill(signal);
    std::string output;
    const int code = child.wait(output);
    return {Seconds(Clock::now() - sent).count(), code};
}

void stopAnywhere(Tally& tally, const Stage& stage, const LongWork& work, int rounds)
{
    tally.begin(work.name);
    std::minstd_rand random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same moments in every run
    stage.reset();
    const Files before = stage.files();
    const auto begin = Clock::now();
    requireThat(run(stage.command(work), {}) == 0, std::string("an undisturbed run fails: ") + work.name);
    const Seconds duration = Clock::now() - begin;
    const Files after = stage.files();
    double longest = 0;
    for (int i = 0; i < rounds; ++i)
    {
        const Seconds moment = duration * std::uniform_real_distribution<>(0, 1)(random);
        const int signal = SIGNALS[static_cast<std::size_t>(i) % std::size(SIGNALS)];
        tally.count("signal " + std::to_string(signal) + " after " + std::to_string(moment.count()) + " s",
                    [&]
                    {
                        stage.reset();
                        const auto [seconds, code] = stop(stage.command(work), signal, moment);
                        longest = std::max(longest, seconds);
                        requireThat(code == 0 || code == INTERRUPTED, "exit code " + std::to_string(code));
                        requireThat(stage.files() == (code == 0 ? after : before), "files are not as they should be");
                        requireThat(seconds <= MOST_SECONDS, "stopped after " + std::to_string(seconds) + " s");
                    });
    }
    char note[32];
    (void)std::snprintf(note, sizeof note, ", %.2f s", longest);
    tally.add(note);
}

} // namespace

void stopPrograms(Tally& tally, bool quick)
{
    const Stage stage(quick ? QUICK_POINTS : POINTS);
    for (const LongWork& work : WORKS)
    {
        stopAnywhere(tally, stage, work, quick ? QUICK_ROUNDS : ROUNDS);
    }
}

} // namespace reliability
