#include "Scenes.h"

#include "Meshes.h"

#include "scenegraph/NodeData.h"
#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"

#include <filesystem>
#include <stdexcept>

#include <unistd.h>
#include <vtkType.h>

namespace bench
{

namespace
{

constexpr int SURFACE_SIDE = 450;
constexpr int ARRAY_TUPLES = 200000;

std::unique_ptr<Payload> makePayload(vtkPolyData* polys, const std::vector<vtkSmartPointer<vtkDataArray>>& arrays)
{
    auto payload = std::make_unique<Payload>();
    if (polys != nullptr)
    {
        payload->arrays = storedArrays(*polys);
        payload->root.addData(tsg::NodeData::ofPolys(polys, tsg::TimeStamp(polys->GetMTime())));
    }
    for (const auto& array : arrays)
    {
        payload->arrays.push_back(storedArray(*array));
        payload->root.addData(tsg::NodeData::ofPoints(array));
    }
    return payload;
}

} // namespace

void require(bool condition)
{
    if (!condition)
    {
        throw std::runtime_error("a step of the benchmark failed");
    }
}

ScratchFile::ScratchFile(const char* name)
    : _path((std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)).string())
{
}

ScratchFile::~ScratchFile()
{
    std::error_code ignored;
    std::filesystem::remove(_path, ignored);
}

double ScratchFile::size() const
{
    std::error_code missing;
    const auto size = std::filesystem::file_size(_path, missing);
    return missing ? 0 : static_cast<double>(size);
}

const Payload& surface()
{
    static const auto payload = makePayload(wavySurface(SURFACE_SIDE), {});
    return *payload;
}

const Payload& standAloneArrays()
{
    static const auto payload = makePayload(nullptr, {smoothArray("pressure", VTK_FLOAT, 1, ARRAY_TUPLES),
                                                      smoothArray("velocity", VTK_DOUBLE, 3, ARRAY_TUPLES),
                                                      smoothArray("cell", VTK_ID_TYPE, 1, ARRAY_TUPLES)});
    return *payload;
}

const Payload& frame()
{
    constexpr int POINTS = SURFACE_SIDE * SURFACE_SIDE;
    static const auto payload = makePayload(wavySurface(SURFACE_SIDE), {smoothArray("Normals", VTK_FLOAT, 3, POINTS),
                                                                        smoothArray("p", VTK_FLOAT, 1, POINTS),
                                                                        smoothArray("U", VTK_FLOAT, 3, POINTS)});
    return *payload;
}

void openNew(tsg::SDBWriter& writer, const ScratchFile& file, bool compress)
{
    require(writer.open(file.wide(), false, compress) == tsg::io::FileIoStatus::Success);
}

void openExisting(tsg::SDBReader& reader, const ScratchFile& file)
{
    require(reader.open(file.wide()) == tsg::io::FileIoStatus::Success);
}

void addRecord(tsg::SDBWriter& writer, const tsg::SceneNode& root)
{
    int index = -1;
    writer.addRecord("t", "d", "s", const_cast<tsg::SceneNode&>(root), index);
    require(index >= 0 && !writer.hasFailed());
}

void writeRecord(const tsg::SceneNode& root, const ScratchFile& file, bool compress, bool synchronised)
{
    tsg::SDBWriter writer;
    writer.setSynchronised(synchronised);
    openNew(writer, file, compress);
    addRecord(writer, root);
    writer.close();
}

void loadRecord(tsg::SDBReader& reader, int record)
{
    Sink sink;
    require(reader.loadRecord(record, sink) && sink.datasets() > 0);
}

} // namespace bench
