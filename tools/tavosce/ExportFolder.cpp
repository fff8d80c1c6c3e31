#include "ExportFolder.h"

#include "DatasetOutput.h"
#include "NodeDataset.h"
#include "RecordJson.h"
#include "Text.h"

#include "scenegraph/io/detail/TagKeys.h"

#include <cerrno>
#include <fstream>
#include <functional>

namespace tavosce
{

namespace
{

/// Longest name without extension: file systems take 255 bytes.
constexpr std::size_t MAX_BASE = 240;

/// Writes a text file through `write`. Throws Failure CannotWrite.
void writeText(const std::string& path, const std::string& place, const std::function<void(std::ostream&)>& write)
{
    errno = 0;
    std::ofstream out(path, std::ios::binary);
    write(out);
    out.close();
    if (!out)
    {
        throw cannotWrite(place, systemReason());
    }
}

/// Says what the file of a node does not hold as the node does.
void noteChanges(const NodeDataset& dataset, const std::string& place, Report& report)
{
    for (const std::string& change : dataset.changes)
    {
        report.note(place, change);
    }
    for (const std::string& loss : dataset.losses)
    {
        report.warning(place, loss);
    }
}

/// The time of each record in a collection: its frame, unless one comes twice.
std::vector<std::size_t> timesOf(const std::vector<const ExportedRecord*>& records)
{
    std::vector<std::size_t> indices, frames;
    std::set<int> seen;
    for (const ExportedRecord* const record : records)
    {
        indices.push_back(record->index);
        frames.push_back(static_cast<std::size_t>(record->frame));
        seen.insert(record->frame);
    }
    const bool usable = seen.size() == records.size() && (seen.empty() || *seen.begin() >= 0);
    return usable ? frames : indices;
}

} // namespace

void ExportedRecord::writeTo(Json& json) const
{
    json.beginObject();
    json.member("index", static_cast<std::uint64_t>(index));
    json.member("folder", folder);
    json.beginArray("files");
    for (const auto& [objectKey, name] : files)
    {
        json.beginObject();
        json.member("objectKey", objectKey);
        json.member("file", folder + name);
        json.endObject();
    }
    json.endArray();
    json.endObject();
}

ExportFolder::ExportFolder(const std::string& target, bool force, const SceneFile& file, Report& report)
    : _file(file)
    , _report(report)
    , _output(target, force)
{
}

ExportedRecord ExportFolder::write(const tsg::SceneGraph& graph, const RecordContents& contents, std::size_t record,
                                   const std::string& folder)
{
    ExportedRecord res;
    res.index = record;
    res.frame = _file.records()[record].getInt(sdb::detail::key::FRAME);
    res.folder = folder;
    for (const auto& [objectKey, node] : graph.nodes())
    {
        const NodeDataset dataset = datasetOf(*node);
        if (dataset.polys == nullptr)
        {
            continue;
        }
        const std::string name = baseOf(objectKey) + ".vtp";
        noteChanges(dataset, shown(folder + name), _report);
        writeDataset(dataset, _output.fileFor(folder + name), shown(folder + name));
        res.files.emplace(objectKey, name);
        if (dataset.hasGeometry)
        {
            res.withGeometry.insert(objectKey);
        }
    }
    writeRecordJson(contents, res);
    return res;
}

void ExportFolder::writeRecordJson(const RecordContents& contents, const ExportedRecord& record)
{
    const std::string name = record.folder + "record.json";
    const auto write = [&](std::ostream& out)
    {
        Json json(out);
        json.member("file", _file.path());
        writeRecordHeader(json, record.index, _file.records()[record.index]);
        json.member("classVersions", contents.classVersions);
        json.beginArray("nodes");
        for (const StoredNode& node : contents.nodes)
        {
            const auto found = record.files.find(node.objectKey);
            writeNode(json, node, found == record.files.end() ? "" : found->second);
        }
        json.endArray();
        json.finish();
    };
    writeText(_output.fileFor(name), shown(name), write);
}

void ExportFolder::writeCollections(const std::vector<ExportedRecord>& records)
{
    std::map<std::string, std::vector<const ExportedRecord*>> byKey;
    for (const ExportedRecord& record : records)
    {
        for (const std::string& objectKey : record.withGeometry)
        {
            byKey[objectKey].push_back(&record);
        }
    }
    for (const auto& [objectKey, frames] : byKey)
    {
        const std::string name = baseOf(objectKey) + ".pvd";
        const std::vector<std::size_t> times = timesOf(frames);
        const auto write = [&, key = objectKey, members = frames](std::ostream& out)
        {
            out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"0.1\">\n  <Collection>\n";
            for (std::size_t i = 0; i < members.size(); ++i)
            {
                out << R"(    <DataSet timestep=")" << times[i] << R"(" part="0" file=")"
                    << xmlText(members[i]->folder + members[i]->files.at(key)) << R"("/>)" << '\n';
            }
            out << "  </Collection>\n</VTKFile>\n";
        };
        writeText(_output.fileFor(name), shown(name), write);
    }
}

const std::string& ExportFolder::baseOf(const std::string& objectKey)
{
    std::string& res = _bases[objectKey];
    if (res.empty())
    {
        const std::string whole = fileNameOf(objectKey), start = whole.substr(0, beginningOf(whole, MAX_BASE));
        res = start;
        bool isFree = !res.empty() && res == whole && _usedBases.insert(res).second;
        for (int& number = _lastNumbers[start]; !isFree; isFree = _usedBases.insert(res).second)
        {
            number = std::max(number + 1, 2);
            res = start + '~' + std::to_string(number);
        }
    }
    return res;
}

} // namespace tavosce
