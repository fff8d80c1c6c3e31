// What long use costs: series of frames, and files of many records.

#include "CommandTable.h"
#include "Meshes.h"
#include "Scenes.h"

#include "scenegraph/PolyDataNode.h"
#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <vtkFloatArray.h>

namespace
{

using namespace bench;

constexpr int FRAMES = 200;
constexpr int SERIES_SIDE = 100; ///< points a side of the mesh of a series
constexpr int RUNS = 5;

enum class Series
{
    OneMesh, ///< the mesh and its normals stand still, and are stored once
    AllAnew, ///< everything counts as changed in every frame
};

/// A mesh with normals that stand still and a pressure that changes from frame to frame.
class Animation
{
public:
    Animation()
        : _normals(smoothArray("Normals", VTK_FLOAT, 3, SERIES_SIDE * SERIES_SIDE))
        , _mesh(wavySurface(SERIES_SIDE))
    {
        _root.addChild(_part);
        _part.setGeometry(_mesh);
        _part.setArray(tsg::PolyDataNode::Points, _normals);
    }

    void show(int frame)
    {
        const auto pressure = vtkSmartPointer<vtkFloatArray>::New();
        pressure->SetName("p");
        pressure->SetNumberOfTuples(_mesh->GetNumberOfPoints());
        for (vtkIdType i = 0; i < pressure->GetNumberOfTuples(); ++i)
        {
            pressure->SetValue(i, static_cast<float>(100.0 + std::floor(100.0 * std::sin(0.001 * i + 0.1 * frame))));
        }
        _part.setArray(tsg::PolyDataNode::Points, pressure);
    }

    void change()
    {
        _mesh->GetPoints()->Modified();
        _normals->Modified();
    }

    const tsg::SceneNode& root() const { return _root; }

private:
    vtkSmartPointer<vtkDataArray> _normals;
    vtkSmartPointer<vtkPolyData> _mesh;
    tsg::SceneNode _root{"SceneNode_1"};
    tsg::PolyDataNode _part{"PolyDataNode_1"};
};

/// Writes a series into a new file; the seconds that went into the writer.
double writeFrames(const ScratchFile& file, Series series)
{
    Animation animation;
    tsg::SDBWriter writer;
    openNew(writer, file, true);
    double seconds = 0;
    for (int frame = 0; frame < FRAMES; ++frame)
    {
        animation.show(frame);
        if (series == Series::AllAnew)
        {
            animation.change();
        }
        seconds += processorSeconds([&] { addRecord(writer, animation.root()); });
    }
    return seconds;
}

void writeSeries(benchmark::State& state, Series series)
{
    const ScratchFile file("_series.sce");
    for ([[maybe_unused]] auto _ : state)
    {
        state.SetIterationTime(writeFrames(file, series));
    }
    state.counters["bytes"] = file.size();
}

void readSeries(benchmark::State& state, Series series)
{
    const ScratchFile file("_series.sce");
    writeFrames(file, series);
    tsg::SDBReader reader;
    openExisting(reader, file);
    for ([[maybe_unused]] auto _ : state)
    {
        for (int frame = 0; frame < FRAMES; ++frame)
        {
            loadRecord(reader, frame);
        }
    }
}

BENCHMARK_CAPTURE(writeSeries, shared, Series::OneMesh)
    ->Name("write_series/ours")
    ->UseManualTime()
    ->Repetitions(RUNS)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(writeSeries, unshared, Series::AllAnew)
    ->Name("write_series/reference")
    ->UseManualTime()
    ->Repetitions(RUNS)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSeries, shared, Series::OneMesh)
    ->Name("read_series/ours")
    ->UseRealTime()
    ->Repetitions(RUNS)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSeries, unshared, Series::AllAnew)
    ->Name("read_series/reference")
    ->UseRealTime()
    ->Repetitions(RUNS)
    ->Unit(benchmark::kMillisecond);

constexpr int FEW_RECORDS = 1000;
constexpr int MANY_RECORDS = 20000;
constexpr int FEW_BLOCKS = 1;
constexpr int MANY_BLOCKS = 10;

/// A file of many small records, each with as many new blocks.
class SmallRecords
{
public:
    explicit SmallRecords(int blocks, bool synchronised = false)
        : _file("_many.sce")
    {
        _writer.setSynchronised(synchronised);
        for (int i = 0; i < blocks; ++i)
        {
            _arrays.push_back(smoothArray("a" + std::to_string(i), VTK_FLOAT, 1, 8));
            _root.addData(tsg::NodeData::ofPoints(_arrays.back()));
        }
        openNew(_writer, _file, true);
    }

    void growTo(int records)
    {
        for (; _records < records; ++_records)
        {
            for (const auto& array : _arrays)
            {
                array->Modified();
            }
            addRecord(_writer, _root);
        }
    }

    const ScratchFile& file() const { return _file; }

    int records() const { return _records; }

private:
    ScratchFile _file;
    tsg::SceneNode _root{"SceneNode_1"};
    std::vector<vtkSmartPointer<vtkDataArray>> _arrays;
    tsg::SDBWriter _writer;
    int _records = 0;
};

/// Opening a file, in seconds a record.
void openMany(benchmark::State& state, int records, int blocks)
{
    SmallRecords content(blocks);
    content.growTo(records);
    for ([[maybe_unused]] auto _ : state)
    {
        tsg::SDBReader reader;
        const double seconds = processorSeconds([&] { openExisting(reader, content.file()); });
        require(reader.getRecords().size() == static_cast<std::size_t>(records));
        state.SetIterationTime(seconds / records);
    }
}

/// Listing a file of many records, in seconds a record.
void listMany(benchmark::State& state)
{
    SmallRecords content(MANY_BLOCKS);
    content.growTo(MANY_RECORDS);
    const std::vector<std::string> arguments = {"ls", content.file().path()};
    std::ostream nowhere(nullptr);
    for ([[maybe_unused]] auto _ : state)
    {
        std::ostringstream out;
        int code = 1;
        state.SetIterationTime(processorSeconds([&] { code = tavosce::run(arguments, out, nowhere, false); }) /
                               MANY_RECORDS);
        const std::string lines = out.str();
        require(code == 0 && std::count(lines.begin(), lines.end(), '\n') == MANY_RECORDS);
    }
}

/// Adding the last records up to a certain number, in seconds a record.
void addLate(benchmark::State& state, int number)
{
    constexpr int ADDED = 50;
    for ([[maybe_unused]] auto _ : state)
    {
        SmallRecords content(MANY_BLOCKS);
        content.growTo(number - ADDED);
        state.SetIterationTime(processorSeconds([&] { content.growTo(number); }) / ADDED);
    }
}

/// Adding records one by one.
void addSmall(benchmark::State& state, bool synchronised)
{
    SmallRecords content(MANY_BLOCKS, synchronised);
    for ([[maybe_unused]] auto _ : state)
    {
        content.growTo(content.records() + 1);
    }
}

BENCHMARK_CAPTURE(addSmall, synchronised, true)
    ->Name("synchronise_small/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(addSmall, unsynchronised, false)
    ->Name("synchronise_small/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

template <class... Arguments>
bool registerPerRecord(const std::string& name, void (*function)(benchmark::State&, Arguments...), Arguments... values)
{
    benchmark::RegisterBenchmark(name.c_str(), function, values...)
        ->UseManualTime()
        ->Repetitions(RUNS)
        ->Iterations(1)
        ->Unit(benchmark::kMicrosecond);
    return true;
}

const bool REGISTERED = registerPerRecord("open_many_records/ours", openMany, MANY_RECORDS, MANY_BLOCKS) &&
                        registerPerRecord("open_many_records/reference", openMany, FEW_RECORDS, MANY_BLOCKS) &&
                        registerPerRecord("open_many_blocks/ours", openMany, MANY_RECORDS, MANY_BLOCKS) &&
                        registerPerRecord("open_many_blocks/reference", openMany, MANY_RECORDS, FEW_BLOCKS) &&
                        registerPerRecord("ls/ours", listMany) &&
                        registerPerRecord("ls/reference", openMany, MANY_RECORDS, MANY_BLOCKS) &&
                        registerPerRecord("add_late_record/ours", addLate, MANY_RECORDS) &&
                        registerPerRecord("add_late_record/reference", addLate, 100);

} // namespace
