// Writing and reading one compressed record, against nothing but zlib and one fwrite or fread of the same bytes.

#include "Meshes.h"

#include "scenegraph/DataNode.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

#include <benchmark/benchmark.h>
#include <vtkType.h>
#include <zlib.h>

namespace
{

constexpr int SURFACE_SIDE = 450;
constexpr int ARRAY_TUPLES = 200000;

/// A file in the temporary directory that goes away with this object.
class ScratchFile
{
public:
    explicit ScratchFile(const char* name)
        : _path((std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)).string())
    {
    }

    ~ScratchFile() { std::filesystem::remove(_path); }

    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& path() const { return _path; }

    std::wstring wide() const { return {_path.begin(), _path.end()}; }

private:
    std::string _path;
};

struct FileCloser
{
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

void require(bool condition)
{
    if (!condition)
    {
        throw std::runtime_error("a step of the benchmark failed");
    }
}

/// What one case stores, as a scene and as the arrays of bytes that go into the file.
struct Payload
{
    tsg::SceneNode root{"SceneNode_1"};
    std::vector<std::vector<char>> arrays;
};

const Payload& surface()
{
    static const std::unique_ptr<Payload> payload = []
    {
        auto made = std::make_unique<Payload>();
        const auto polys = bench::wavySurface(SURFACE_SIDE);
        made->arrays = bench::storedArrays(*polys);
        made->root.addData(tsg::NodeData::ofPolys(polys, tsg::TimeStamp(polys->GetMTime())));
        return made;
    }();
    return *payload;
}

const Payload& standAloneArrays()
{
    static const std::unique_ptr<Payload> payload = []
    {
        auto made = std::make_unique<Payload>();
        for (const auto& array : {bench::smoothArray("pressure", VTK_FLOAT, 1, ARRAY_TUPLES),
                                  bench::smoothArray("velocity", VTK_DOUBLE, 3, ARRAY_TUPLES),
                                  bench::smoothArray("cell", VTK_ID_TYPE, 1, ARRAY_TUPLES)})
        {
            made->arrays.push_back(bench::storedArray(*array));
            made->root.addData(tsg::NodeData::ofPoints(array));
        }
        return made;
    }();
    return *payload;
}

void writeRecord(const Payload& payload, const std::wstring& path)
{
    tsg::SDBWriter writer;
    require(writer.open(path, false, true) == tsg::io::FileIoStatus::Success);
    int index = -1;
    writer.addRecord("t", "d", "s", const_cast<tsg::SceneNode&>(payload.root), index);
    require(index == 0 && !writer.hasFailed());
    writer.close();
}

std::vector<char> compressArrays(const Payload& payload, std::vector<std::size_t>& sizes)
{
    std::vector<char> bytes;
    for (const std::vector<char>& array : payload.arrays)
    {
        uLongf length = compressBound(array.size());
        const std::size_t begin = bytes.size();
        bytes.resize(begin + length);
        require(compress(reinterpret_cast<Bytef*>(bytes.data() + begin), &length,
                         reinterpret_cast<const Bytef*>(array.data()), array.size()) == Z_OK);
        bytes.resize(begin + length);
        sizes.push_back(length);
    }
    return bytes;
}

void writeCompressed(const Payload& payload, const std::string& path)
{
    std::vector<std::size_t> sizes;
    const std::vector<char> bytes = compressArrays(payload, sizes);
    const File file(std::fopen(path.c_str(), "wb"));
    require(file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size());
}

/// A receiver that takes what it is given and keeps nothing.
class Sink : public tsg::NodeStream
{
public:
    bool write(const std::string&, Properties&&) override { return true; }

    bool writePolys(const std::string&, vtkPolyData*, tsg::TimeStamp) override { return count(); }

    bool writePointData(const std::string&, vtkPolyData*, vtkDataArray*) override { return count(); }

    bool writeCellData(const std::string&, vtkPolyData*, vtkDataArray*) override { return count(); }

    bool writeBinaryNodeData(const std::string&, vtkDataArray*, DataTag, tsg::TimeStamp) override { return count(); }

    bool writePropNodeData(const std::string&, Properties&&, DataTag) override { return true; }

    int datasets() const { return _datasets; }

private:
    bool count()
    {
        ++_datasets;
        return true;
    }

    int _datasets = 0;
};

using MakePayload = const Payload& (*)();

void writeOurs(benchmark::State& state, MakePayload payload)
{
    const ScratchFile file("_ours.sce");
    for ([[maybe_unused]] auto _ : state)
    {
        writeRecord(payload(), file.wide());
    }
}

void writeReference(benchmark::State& state, MakePayload payload)
{
    const ScratchFile file("_reference.z");
    for ([[maybe_unused]] auto _ : state)
    {
        std::filesystem::remove(file.path()); // as a new record goes to a new file
        writeCompressed(payload(), file.path());
    }
}

void readOurs(benchmark::State& state, MakePayload payload)
{
    const ScratchFile file("_ours.sce");
    writeRecord(payload(), file.wide());
    for ([[maybe_unused]] auto _ : state)
    {
        tsg::SDBReader reader;
        require(reader.open(file.wide()) == tsg::io::FileIoStatus::Success);
        Sink sink;
        require(reader.loadRecord(0, sink) && sink.datasets() > 0);
    }
}

void readReference(benchmark::State& state, MakePayload payload)
{
    const ScratchFile scratch("_reference.z");
    writeCompressed(payload(), scratch.path());
    std::vector<std::size_t> sizes;
    compressArrays(payload(), sizes);
    for ([[maybe_unused]] auto _ : state)
    {
        std::vector<char> bytes(std::filesystem::file_size(scratch.path()));
        const File file(std::fopen(scratch.path().c_str(), "rb"));
        require(file && std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size());
        const char* source = bytes.data();
        for (std::size_t i = 0; i < sizes.size(); ++i)
        {
            uLongf length = payload().arrays[i].size();
            std::vector<char> array(length);
            require(uncompress(reinterpret_cast<Bytef*>(array.data()), &length, reinterpret_cast<const Bytef*>(source),
                               sizes[i]) == Z_OK);
            benchmark::DoNotOptimize(array.data());
            source += sizes[i];
        }
    }
}

BENCHMARK_CAPTURE(writeOurs, surface, &surface)
    ->Name("write_polydata/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(writeReference, surface, &surface)
    ->Name("write_polydata/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readOurs, surface, &surface)
    ->Name("read_polydata/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readReference, surface, &surface)
    ->Name("read_polydata/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(writeOurs, arrays, &standAloneArrays)
    ->Name("write_arrays/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(writeReference, arrays, &standAloneArrays)
    ->Name("write_arrays/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readOurs, arrays, &standAloneArrays)
    ->Name("read_arrays/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readReference, arrays, &standAloneArrays)
    ->Name("read_arrays/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
