// Writing and reading a polydata as text, against VTK's own writer and reader of legacy files.

#include "Meshes.h"
#include "Scenes.h"

#include "scenegraph/io/SceneGraphPolyDataWriter.h"
#include "scenegraph/io/SceneGraphReader.h"

#include <sstream>
#include <string>

#include <benchmark/benchmark.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPolyDataReader.h>
#include <vtkPolyDataWriter.h>

namespace
{

using namespace bench;

constexpr int SIDE = 200;
constexpr int POINTS = SIDE * SIDE;

vtkPolyData* mesh()
{
    static const vtkSmartPointer<vtkPolyData> polys = []
    {
        auto made = wavySurface(SIDE);
        made->GetPointData()->SetScalars(smoothArray("p", VTK_FLOAT, 1, POINTS));
        made->GetPointData()->SetVectors(smoothArray("U", VTK_FLOAT, 3, POINTS));
        made->GetPointData()->AddArray(smoothArray("rank", VTK_INT, 1, POINTS));
        return made;
    }();
    return polys;
}

template <class Writer>
std::string text(Writer& writer)
{
    writer.WriteToOutputStringOn();
    writer.SetInputData(mesh());
    require(writer.Write() == 1);
    return {writer.GetOutputString(), static_cast<std::size_t>(writer.GetOutputStringLength())};
}

void writeOurs(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
    {
        const vtkNew<tsg::SceneGraphPolyDataWriter> writer;
        benchmark::DoNotOptimize(text(*writer).data());
    }
}

void writeReference(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
    {
        const vtkNew<vtkPolyDataWriter> writer;
        writer->SetFileVersion(vtkDataWriter::VTK_LEGACY_READER_VERSION_4_2);
        benchmark::DoNotOptimize(text(*writer).data());
    }
}

void readOurs(benchmark::State& state)
{
    const vtkNew<tsg::SceneGraphPolyDataWriter> writer;
    const std::string file = R"({"ObjectKey":"N_1","Tag":2})"
                             "\n" +
                             text(*writer);
    for ([[maybe_unused]] auto _ : state)
    {
        Sink sink;
        std::istringstream in(file);
        require(tsg::SceneGraphReader(sink).loadVtkDataFromInputStream(in) && sink.datasets() == 1);
    }
}

void readReference(benchmark::State& state)
{
    const vtkNew<tsg::SceneGraphPolyDataWriter> writer;
    const std::string body = text(*writer);
    for ([[maybe_unused]] auto _ : state)
    {
        const vtkNew<vtkPolyDataReader> reader;
        reader->ReadFromInputStringOn();
        reader->SetInputString(body.data(), static_cast<int>(body.size()));
        reader->Update();
        require(reader->GetOutput()->GetNumberOfPoints() == POINTS);
    }
}

BENCHMARK(writeOurs)->Name("write_text/ours")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(writeReference)->Name("write_text/reference")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(readOurs)->Name("read_text/ours")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(readReference)->Name("read_text/reference")->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
