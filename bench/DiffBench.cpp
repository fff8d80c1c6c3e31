// What comparing two frames costs, against loading them.

#include "CommandTable.h"
#include "Meshes.h"
#include "Scenes.h"

#include "scenegraph/NodeData.h"
#include "scenegraph/io/SDBReader.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <vtkPoints.h>

namespace
{

using namespace bench;

constexpr int SIDE = 1000; ///< points a side of the surface
constexpr int POINTS = SIDE * SIDE;
constexpr int RUNS = 7;
constexpr int DIFFERENT = 1; ///< exit code

/// Two files with a frame of a simulation each: a surface with normals, pressure and velocity. Every value differs, so
/// that no comparison of bytes is enough.
class Frames
{
public:
    Frames()
    {
        write(_first, 0);
        write(_second, 1);
    }

    const ScratchFile& first() const { return _first; }

    const ScratchFile& second() const { return _second; }

private:
    static void write(const ScratchFile& file, double shift)
    {
        const auto surface = wavySurface(SIDE);
        addTo(*surface->GetPoints()->GetData(), shift);
        tsg::SceneNode root("SceneNode_1");
        root.addData(tsg::NodeData::ofPolys(surface, tsg::TimeStamp(surface->GetMTime())));
        for (const auto& [name, components] : {std::pair("Normals", 3), std::pair("p", 1), std::pair("U", 3)})
        {
            const auto array = smoothArray(name, VTK_FLOAT, components, POINTS);
            addTo(*array, shift);
            root.addData(tsg::NodeData::ofPoints(array));
        }
        writeRecord(root, file, true);
    }

    static void addTo(vtkDataArray& array, double shift)
    {
        for (vtkIdType i = 0; i < array.GetNumberOfTuples(); ++i)
        {
            for (int c = 0; c < array.GetNumberOfComponents(); ++c)
            {
                array.SetComponent(i, c, array.GetComponent(i, c) + shift);
            }
        }
    }

    ScratchFile _first{"_first.sce"};
    ScratchFile _second{"_second.sce"};
};

const Frames& frames()
{
    static const Frames res;
    return res;
}

void compareFrames(benchmark::State& state)
{
    const std::vector<std::string> arguments = {"diff", frames().first().path(), frames().second().path()};
    std::ostream nowhere(nullptr);
    for ([[maybe_unused]] auto _ : state)
    {
        std::ostringstream out;
        int code = 0;
        state.SetIterationTime(processorSeconds([&] { code = tavosce::run(arguments, out, nowhere, false); }));
        require(code == DIFFERENT && out.str().find("values differ") != std::string::npos);
    }
}

void loadFrames(benchmark::State& state)
{
    const ScratchFile* const files[] = {&frames().first(), &frames().second()};
    const auto loadAll = [&]
    {
        for (const ScratchFile* file : files)
        {
            tsg::SDBReader reader;
            openExisting(reader, *file);
            loadRecord(reader, 0);
        }
    };
    for ([[maybe_unused]] auto _ : state)
    {
        state.SetIterationTime(processorSeconds(loadAll));
    }
}

BENCHMARK(compareFrames)->Name("diff/ours")->UseManualTime()->Repetitions(RUNS)->Unit(benchmark::kMillisecond);
BENCHMARK(loadFrames)->Name("diff/reference")->UseManualTime()->Repetitions(RUNS)->Unit(benchmark::kMillisecond);

} // namespace
