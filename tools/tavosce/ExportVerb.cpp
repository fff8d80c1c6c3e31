#include "CommandTable.h"

#include "ExportFolder.h"
#include "ExportScenes.h"
#include "Interrupt.h"
#include "Json.h"
#include "RecordAddress.h"
#include "RecordLoad.h"
#include "SceneFile.h"
#include "Text.h"

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct ExportOptions
{
    std::string address;
    ExportTarget target;
    bool sceneDirectory = false;
    bool skipUnsupported = false;
};

std::vector<ExportedRecord> exportRecords(const std::vector<std::size_t>& records, bool inFolders, SceneFile& file,
                                          ExportFolder& folder, Console& console)
{
    std::vector<ExportedRecord> res;
    RecordLoader loader(file, console.report);
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        throwIfInterrupted();
        const std::size_t record = records[i];
        const RecordContents contents = file.contentsOf(record);
        try
        {
            const tsg::SceneGraph graph = loader.load(record, contents, i, records.size());
            res.push_back(folder.write(graph, contents, record, inFolders ? recordFolder(record) + '/' : ""));
        }
        catch (const Failure& failure)
        {
            if (failure.code() != TooDamaged || records.size() == 1)
            {
                throw;
            }
            console.report.error(failure); // the other records can still be had
        }
    }
    console.report.progress().clear();
    return res;
}

void acknowledge(const ExportOptions& options, const std::vector<ExportedRecord>& records, std::ostream& out)
{
    if (options.target.json)
    {
        Json json(out);
        json.member("folder", options.target.output);
        json.beginArray("records");
        for (const ExportedRecord& record : records)
        {
            record.writeTo(json);
        }
        json.endArray();
        json.finish();
        return;
    }
    std::size_t datasets = 0;
    for (const ExportedRecord& record : records)
    {
        datasets += record.files.size();
    }
    out << shown(options.target.output) << ": " << counted(datasets, "dataset") << " of "
        << counted(records.size(), "record") << '\n';
}

void runExport(const ExportOptions& options, Console& console)
{
    const RecordAddress address = parseAddress(options.address);
    SceneFile file(address.file);
    std::vector<std::size_t> wanted;
    if (address.index)
    {
        wanted.push_back(placeOf(address, file.records().size()));
    }
    for (std::size_t i = 0; !address.index && i < file.records().size(); ++i)
    {
        wanted.push_back(i);
    }
    if (options.sceneDirectory)
    {
        exportScenes(options.target, options.skipUnsupported, wanted, file, console);
        return;
    }
    ExportFolder folder(options.target.output, options.target.force, file, console.report);
    const std::vector<ExportedRecord> records = exportRecords(wanted, !address.index, file, folder, console);
    if (!address.index)
    {
        folder.writeCollections(records);
    }
    file.reportEnd(console.report);
    if (records.empty() && !wanted.empty())
    {
        throw Failure(TooDamaged, shown(file.path()), "no record can be loaded");
    }
    folder.install();
    acknowledge(options, records, console.out);
}

} // namespace

Run declareExport(CLI::App& app)
{
    const auto options = std::make_shared<ExportOptions>();
    app.add_option("FILE[:REC]", options->address,
                   "Scene database; one record of it, counted from 0 or, negative, from the end")
        ->required();
    app.add_option("-o", options->target.output, "Folder to write to")->required()->type_name("DIR");
    app.add_flag("--force", options->target.force,
                 "Replace files in the folder that have the same names, and data of an earlier scene directory");
    auto* const scenes = app.add_flag("--scene-directory", options->sceneDirectory,
                                      "Write a scene directory; of several records, one each in a folder of its own");
    app.add_flag("--skip-unsupported", options->skipUnsupported,
                 "Leave out what a scene directory cannot hold, and say so")
        ->needs(scenes);
    app.add_flag("--json", options->target.json, "Print one JSON document");
    return [options](Console& console) { runExport(*options, console); };
}

} // namespace tavosce
