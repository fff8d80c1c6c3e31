#include "CommandTable.h"

#include "DatasetCheck.h"
#include "DatasetInput.h"
#include "ImportGraph.h"
#include "ImportTarget.h"
#include "Interrupt.h"
#include "Json.h"
#include "LibraryLog.h"
#include "OutputFile.h"
#include "SceneDirectory.h"
#include "SceneForm.h"
#include "Text.h"
#include "VtkMessages.h"

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "scenegraph/io/detail/SceneDirectory.h"

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

struct ImportOptions
{
    ImportTargetOptions target;
    std::string title;
    std::string description;
    bool titleGiven = false;
    bool descriptionGiven = false;
    bool singleRecord = false;
    bool skipUnsupported = false;
    bool json = false;
    std::vector<std::string> inputs;
};

std::string titleOf(const ImportOptions& options)
{
    return options.titleGiven ? options.title : stemOf(options.target.path);
}

std::string descriptionOf(const ImportOptions& options, const std::string& inputName)
{
    return options.descriptionGiven ? options.description : inputName;
}

void checkSceneDirectory(const ImportOptions& options, const std::string& input)
{
    if (options.singleRecord && options.inputs.size() > 1)
    {
        throw Failure(WrongUsage, shown(input), "a scene directory is a record of its own",
                      "import it without --single-record");
    }
    const std::string folder = folderOf(options.target.path);
    if (isSameFile(folder, input) || isSameFile(folder, input + tsg::detail::DATA_DIRECTORY))
    {
        throw Failure(WrongUsage, shown(input), "the output would become a part of this input");
    }
}

void checkInputs(const ImportOptions& options)
{
    for (const std::string& input : options.inputs)
    {
        if (isSceneDirectory(input))
        {
            checkSceneDirectory(options, input);
            continue;
        }
        if (extensionOf(input).empty() && Platform::filesystem().directoryExists(OS::toWide(input)))
        {
            throw Failure(WrongUsage, shown(input), "no scene directory: there is no scene.tsg in it");
        }
        requireDatasetFormat(input);
        if (isSameFile(input, options.target.path))
        {
            throw Failure(WrongUsage, shown(input), "the output would replace this input");
        }
    }
}

void acknowledge(const ImportOptions& options, const ImportTarget& target, std::ostream& out)
{
    const std::vector<int>& records = target.records();
    if (options.json)
    {
        Json json(out);
        json.member("file", options.target.path);
        json.member("session", target.session());
        json.beginArray("records");
        for (const int record : records)
        {
            json.beginObject();
            json.member("index", record);
            json.endObject();
        }
        json.endArray();
        json.finish();
        return;
    }
    out << shown(options.target.path) << ": " << counted(records.size(), "record") << " added, ";
    out << (records.size() == 1 ? "index " : "indices ") << records.front();
    if (records.size() > 1)
    {
        out << " to " << records.back();
    }
    out << ", session " << inQuotes(target.session()) << '\n';
}

void addSceneDirectory(const ImportOptions& options, const std::string& input, ImportTarget& target, Report& report)
{
    tsg::SceneGraph graph = loadSceneDirectory(input, report).graph;
    makeStorable(graph, SceneForm::Database, shown(input), options.skipUnsupported, report);
    const std::size_t end = input.find_last_not_of('/') + 1; // "scene/" is "scene"
    const auto add = [&]
    { target.addScene(titleOf(options), descriptionOf(options, nameOf(input.substr(0, end))), graph); };
    writeHeedingWords(add, shown(options.target.path), report);
}

void addRecord(const ImportOptions& options, const std::string& inputNames, ImportTarget& target, ImportGraph& graph,
               Report& report)
{
    const auto add = [&] { target.addRecord(titleOf(options), descriptionOf(options, inputNames), graph); };
    writeHeedingWords(add, shown(options.target.path), report);
}

/// Reads the inputs one after another; every one of them, or all datasets together, become a record.
void addInputs(const ImportOptions& options, ImportTarget& target, ImportGraph& graph, Report& report)
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < options.inputs.size(); ++i)
    {
        const std::string& input = options.inputs[i];
        report.progress().show("Importing", static_cast<double>(i), static_cast<double>(options.inputs.size()));
        if (isSceneDirectory(input))
        {
            addSceneDirectory(options, input, target, report);
            continue;
        }
        const vtkSmartPointer<vtkPolyData> dataset = readDataset(input, report);
        throwIfInterrupted();
        makeStorable(*dataset, shown(input), options.skipUnsupported, report);
        graph.setPart(options.singleRecord ? i : 0, stemOf(input), *dataset);
        names.push_back(nameOf(input));
        if (!options.singleRecord)
        {
            addRecord(options, names.back(), target, graph, report);
        }
    }
    if (!names.empty() && options.singleRecord)
    {
        addRecord(options, joined(names, ", "), target, graph, report);
    }
    report.progress().clear();
}

void runImport(const ImportOptions& options, Console& console)
{
    checkInputs(options);
    ImportGraph graph(titleOf(options)); // outlives the writer in the target, which keeps its nodes
    ImportTarget target(options.target);
    addInputs(options, target, graph, console.report);
    target.finish();
    acknowledge(options, target, console.out);
}

} // namespace

Run declareImport(CLI::App& app)
{
    const auto options = std::make_shared<ImportOptions>();
    ImportTargetOptions& target = options->target;
    app.add_option("FILE", options->inputs, "Datasets: " + datasetExtensions() + "; scene directories")->required();
    app.add_option("-o", target.path, "Scene database to write")->required()->type_name("OUT.sce");
    auto* const append = app.add_flag("--append", target.append, "Add to the scene database if it exists");
    app.add_flag("--force", target.force, "Replace the scene database if it exists")->excludes(append);
    app.add_option("--session", target.session, "Session of the records; a new one by default");
    auto* const title = app.add_option("--title", options->title, "Title of the records; by default the output's name");
    auto* const description =
        app.add_option("--description", options->description, "Description; by default the input's name");
    app.add_flag("--single-record", options->singleRecord, "Make all inputs nodes of one record");
    app.add_flag("--no-compress", target.noCompress, "Store arrays and geometry as they are");
    app.add_flag("--skip-unsupported", options->skipUnsupported, "Leave out data that cannot be stored, and say so");
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options, title, description](Console& console)
    {
        options->titleGiven = title->count() > 0;
        options->descriptionGiven = description->count() > 0;
        runImport(*options, console);
    };
}

} // namespace tavosce
