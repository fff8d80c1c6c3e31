#include "SceneDirectory.h"

#include "InputFile.h"
#include "Interrupt.h"
#include "Leftovers.h"
#include "LibraryLog.h"
#include "Text.h"
#include "VtkMessages.h"

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "scenegraph/GraphBuilder.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/StandardNodes.h"
#include "scenegraph/io/SceneGraphReader.h"
#include "scenegraph/io/SceneGraphWriter.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/TagScan.h"

#include <cerrno>
#include <istream>
#include <list>

namespace tavosce
{

namespace
{

/// Warns if the records of a scene file end before the file does. The stream is left at its beginning.
void checkRecords(std::istream& in, const std::string& path, Report& report)
{
    using sdb::detail::TagScan;
    std::uint64_t position = 0, skipped = 0;
    std::string text;
    TagScan scan = sdb::detail::scanTag(in, text, skipped);
    for (; scan == TagScan::Complete; scan = sdb::detail::scanTag(in, text, skipped))
    {
        position += skipped + text.size();
    }
    if (scan != TagScan::NoTag)
    {
        report.warning(shown(path) + ": byte " + hexadecimal(position + skipped),
                       "this record cannot be read, nor what follows");
    }
    in.clear();
    in.seekg(0);
}

void loadDataFile(tsg::SceneGraphReader& reader, const std::string& path, Report& report)
{
    throwIfInterrupted();
    VtkMessages vtk;
    try
    {
        InputFile file(path);
        if (!reader.loadVtkDataFromInputStream(file.stream()))
        {
            const std::string words = joined(vtk.takeErrors());
            report.warning(shown(path), "cannot be loaded: " +
                                            (words.empty() ? "it is no data of a scene, or damaged" : shown(words)));
        }
    }
    catch (const Failure& failure)
    {
        report.warning(failure.place(), failure.what());
    }
}

void loadData(tsg::SceneGraphReader& reader, const std::string& path, Report& report)
{
    const std::string folder = path + tsg::detail::DATA_DIRECTORY;
    std::list<std::wstring> folders, files;
    if (!Platform::filesystem().listDirectory(folders, files, OS::toWide(folder)))
    {
        report.warning(shown(folder), "cannot be read: " + systemReason());
    }
    std::size_t done = 0;
    for (const std::wstring& name : files)
    {
        report.progress().show("Loading", static_cast<double>(done++), static_cast<double>(files.size()));
        loadDataFile(reader, folder + '/' + OS::toNarrow(name), report);
    }
    report.progress().clear();
}

} // namespace

bool isSceneDirectory(const std::string& path)
{
    return Platform::filesystem().fileExists(OS::toWide(path + tsg::detail::SCENE_FILE));
}

LoadedScene loadSceneDirectory(const std::string& path, Report& report)
{
    const std::size_t warnings = report.warnings();
    tsg::NodeRegistry registry;
    tsg::registerStandardNodes(registry);
    tsg::GraphBuilder builder(registry);
    tsg::SceneGraphReader reader(builder);
    const std::string sceneFile = path + tsg::detail::SCENE_FILE;
    {
        InputFile file(sceneFile);
        checkRecords(file.stream(), sceneFile, report);
        const LibraryLog log; // version gaps are told below
        reader.loadSceneFileFromInputStream(file.stream());
    }
    loadData(reader, path, report);
    LoadedScene res{takeAll(builder), report.warnings() == warnings};
    warnOfVersionGaps(builder, shown(sceneFile), report);
    std::string problem;
    if (!res.graph.chooseRoot("", problem))
    {
        throw Failure(TooDamaged, shown(path), "the root of the scene cannot be told: " + shown(problem));
    }
    return res;
}

void saveSceneDirectory(const tsg::SceneGraph& graph, const std::string& directory, const std::string& place)
{
    auto* const root = dynamic_cast<tsg::SceneNode*>(graph.root());
    if (root == nullptr)
    {
        throw Failure(NotStorable, place,
                      "a scene directory holds scenes, and the root is " + shown(graph.root()->getObjectKey()));
    }
    tsg::SceneGraphWriter writer;
    errno = 0;
    if (!writer.save(directory, *root) || writer.hasFailed())
    {
        throw cannotWrite(place, systemReason());
    }
}

} // namespace tavosce
