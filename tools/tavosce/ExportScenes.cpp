#include "ExportScenes.h"

#include "Interrupt.h"
#include "Json.h"
#include "OutputFile.h"
#include "RecordAddress.h"
#include "RecordLoad.h"
#include "SceneDirectory.h"
#include "SceneForm.h"
#include "Text.h"

#include "platform/FileStreams.h"
#include "platform/FileSystem.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <ostream>

namespace tavosce
{

namespace
{

/// True if a file is data of a scene: its extension, its header and its name say so together.
bool isSceneData(const std::string& folder, const std::string& name)
{
    const std::string extension = name.substr(std::min(name.rfind('.'), name.size()));
    if (extension != tsg::detail::POLY_DATA_EXTENSION && extension != tsg::detail::DATA_ARRAY_EXTENSION)
    {
        return false;
    }
    const auto in = OS::openForReading(OS::toWide(folder + '/' + name));
    Properties header;
    if (!in->is_open() || !sdb::getNextProperty(*in, header))
    {
        return false;
    }
    const std::string owner = header.getString(sdb::detail::key::OBJECT_KEY) + '.';
    return owner.size() > 1 && name.compare(0, owner.size(), owner) == 0;
}

/// Makes a loaded record a scene directory. The folder is empty for the output itself.
void writeScene(const ExportTarget& target, bool skipUnsupported, tsg::SceneGraph graph, const std::string& rootKey,
                const std::string& place, const std::string& folder, OutputFolder& output, Report& report)
{
    std::string problem;
    if (!graph.chooseRoot(rootKey, problem))
    {
        throw Failure(TooDamaged, place, shown(problem));
    }
    makeStorable(graph, SceneForm::Directory, place, skipUnsupported, report);
    saveSceneDirectory(graph, output.folderFor(folder), shown(target.output));
    output.adopt(folder, isSceneData);
}

void acknowledge(const ExportTarget& target, const std::map<std::size_t, std::string>& folders, std::ostream& out)
{
    if (!target.json)
    {
        out << shown(target.output) << ": " << counted(folders.size(), "scene") << '\n';
        return;
    }
    Json json(out);
    json.member("folder", target.output);
    json.beginArray("records");
    for (const auto& [record, folder] : folders)
    {
        json.beginObject();
        json.member("index", static_cast<std::uint64_t>(record));
        json.member("folder", folder);
        json.endObject();
    }
    json.endArray();
    json.finish();
}

} // namespace

void exportScenes(const ExportTarget& target, bool skipUnsupported, const std::vector<std::size_t>& wanted,
                  SceneFile& file, Console& console)
{
    OutputFolder output(target.output, target.force);
    RecordLoader loader(file, console.report);
    std::map<std::size_t, std::string> folders;
    bool isDamaged = false;
    for (std::size_t i = 0; i < wanted.size(); ++i)
    {
        throwIfInterrupted();
        const std::size_t record = wanted[i];
        const Properties& header = file.records()[record];
        const std::string folder = wanted.size() > 1 ? recordFolder(record) : "";
        try
        {
            const RecordContents contents = file.contentsOf(record);
            writeScene(target, skipUnsupported, loader.load(record, contents, i, wanted.size()),
                       header.getString(sdb::detail::key::ROOT_NODE_KEY), file.placeOf(record), folder, output,
                       console.report);
            folders.emplace(record, folder);
        }
        catch (const Failure& failure)
        {
            const bool skipped = failure.code() == NotStorable && skipUnsupported;
            if (wanted.size() == 1 || (failure.code() != TooDamaged && !skipped))
            {
                throw;
            }
            if (skipped)
            {
                console.report.note(failure.place(), std::string("is left out: ") + failure.what());
            }
            else
            {
                console.report.error(failure); // the other records can still be had
                isDamaged = true;
            }
        }
    }
    console.report.progress().clear();
    file.reportEnd(console.report);
    if (folders.empty() && !wanted.empty())
    {
        throw Failure(isDamaged ? TooDamaged : NotStorable, shown(file.path()), "no record can be exported");
    }
    output.install(file.path());
    acknowledge(target, folders, console.out);
}

} // namespace tavosce
