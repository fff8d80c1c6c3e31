// Writing and reading one record, against nothing but zlib and one fwrite or fread of the same bytes.

#include "Scenes.h"

#include "scenegraph/io/SDBReader.h"

#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <zlib.h>

namespace
{

using namespace bench;

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

void writeRaw(const Payload& payload, const std::string& path)
{
    const File file(std::fopen(path.c_str(), "wb"));
    require(file != nullptr);
    for (const std::vector<char>& array : payload.arrays)
    {
        require(std::fwrite(array.data(), 1, array.size(), file.get()) == array.size());
    }
}

void readCompressed(const Payload& payload, const std::string& path, const std::vector<std::size_t>& sizes)
{
    std::vector<char> bytes(std::filesystem::file_size(path));
    const File file(std::fopen(path.c_str(), "rb"));
    require(file && std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size());
    const char* source = bytes.data();
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        uLongf length = payload.arrays[i].size();
        std::vector<char> array(length);
        require(uncompress(reinterpret_cast<Bytef*>(array.data()), &length, reinterpret_cast<const Bytef*>(source),
                           sizes[i]) == Z_OK);
        benchmark::DoNotOptimize(array.data());
        source += sizes[i];
    }
}

void readRaw(const Payload& payload, const std::string& path)
{
    const File file(std::fopen(path.c_str(), "rb"));
    require(file != nullptr);
    for (const std::vector<char>& stored : payload.arrays)
    {
        std::vector<char> array(stored.size());
        require(std::fread(array.data(), 1, array.size(), file.get()) == array.size());
        benchmark::DoNotOptimize(array.data());
    }
}

void writeOurs(benchmark::State& state, MakePayload payload, bool compress)
{
    const ScratchFile file("_ours.sce");
    for ([[maybe_unused]] auto _ : state)
    {
        writeRecord(payload().root, file, compress);
    }
}

/// The record of a surface in a new file, so that nothing stored is referred to.
void writeSurface(benchmark::State& state, bool synchronised)
{
    const ScratchFile file("_surface.sce");
    for ([[maybe_unused]] auto _ : state)
    {
        writeRecord(surface().root, file, true, synchronised);
    }
}

BENCHMARK_CAPTURE(writeSurface, synchronised, true)
    ->Name("synchronise_polydata/ours")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(writeSurface, unsynchronised, false)
    ->Name("synchronise_polydata/reference")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void writeReference(benchmark::State& state, MakePayload payload, bool compress)
{
    const ScratchFile file("_reference");
    for ([[maybe_unused]] auto _ : state)
    {
        std::filesystem::remove(file.path()); // as a new record goes to a new file
        (compress ? writeCompressed : writeRaw)(payload(), file.path());
    }
}

void readOurs(benchmark::State& state, MakePayload payload, bool compress)
{
    const ScratchFile file("_ours.sce");
    writeRecord(payload().root, file, compress);
    for ([[maybe_unused]] auto _ : state)
    {
        tsg::SDBReader reader;
        openExisting(reader, file);
        loadRecord(reader, 0);
    }
}

void readReference(benchmark::State& state, MakePayload payload, bool compress)
{
    const ScratchFile file("_reference");
    (compress ? writeCompressed : writeRaw)(payload(), file.path());
    std::vector<std::size_t> sizes;
    if (compress)
    {
        compressArrays(payload(), sizes);
    }
    for ([[maybe_unused]] auto _ : state)
    {
        compress ? readCompressed(payload(), file.path(), sizes) : readRaw(payload(), file.path());
    }
}

/// Registers the four benchmarks of a payload: "write_NAME" and "read_NAME", each of us and of the reference.
bool registerPayload(const std::string& name, MakePayload payload, bool compress)
{
    const auto add = [&](const std::string& benchmark, auto function)
    {
        benchmark::RegisterBenchmark(benchmark.c_str(), function, payload, compress)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    };
    add("write_" + name + "/ours", writeOurs);
    add("write_" + name + "/reference", writeReference);
    add("read_" + name + "/ours", readOurs);
    add("read_" + name + "/reference", readReference);
    return true;
}

const bool REGISTERED =
    registerPayload("polydata", &surface, true) && registerPayload("arrays", &standAloneArrays, true) &&
    registerPayload("uncompressed", &frame, false) && registerPayload("uncompressed_mesh", &surface, false);

} // namespace
