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

#include "scenegraph/io/detail/SceneDirectory.h"

#include <cstddef>
#include <memory>
#include <optional>
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
    bool keepGoing = false;
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

/// Refuses what cannot have been meant, before anything is read.
void checkInputs(const ImportOptions& options)
{
    for (const std::string& input : options.inputs)
    {
        if (isSceneDirectory(input))
        {
            checkSceneDirectory(options, input);
        }
        else if (isSameFile(input, options.target.path))
        {
            throw Failure(WrongUsage, shown(input), "the output would replace this input");
        }
        else if (!options.keepGoing)
        {
            requireDatasetFormat(input);
        }
    }
}

/// One run of the verb.
class Import
{
public:
    Import(const ImportOptions& options, Report& report)
        : _options(options)
        , _report(report)
        , _graph(titleOf(options))
    {
        writeHeedingWords([&] { _target.emplace(options.target); }, shown(options.target.path), report);
    }

    /// Reads the inputs one after another; every one of them, or all datasets together, become a record.
    void run()
    {
        for (std::size_t i = 0; i < _options.inputs.size(); ++i)
        {
            _report.progress().show("Importing", static_cast<double>(i), static_cast<double>(_options.inputs.size()));
            tryInput(_options.inputs[i]);
        }
        if (_options.singleRecord && !_names.empty())
        {
            addRecord(joined(_names, ", "));
        }
        _report.progress().clear();
        if (_target->records().empty())
        {
            throw Failure(TooDamaged, shown(_options.target.path), "nothing is written: no input could be imported");
        }
        _target->finish();
    }

    void acknowledge(std::ostream& out) const { _options.json ? writeJson(out) : writeText(out); }

private:
    void tryInput(const std::string& input)
    {
        try
        {
            isSceneDirectory(input) ? addSceneDirectory(input) : addDataset(input);
        }
        catch (const Failure& failure)
        {
            if (!_options.keepGoing || failure.code() == CannotWrite)
            {
                throw;
            }
            _report.error(Failure(Findings, failure.place(), failure.what(), failure.hint()));
            _failed.push_back(input);
        }
    }

    void addSceneDirectory(const std::string& input)
    {
        tsg::SceneGraph graph = loadSceneDirectory(input, _report).graph;
        makeStorable(graph, SceneForm::Database, shown(input), _options.skipUnsupported, _report);
        const std::size_t end = input.find_last_not_of('/') + 1; // "scene/" is "scene"
        const std::string description = descriptionOf(_options, nameOf(input.substr(0, end)));
        const auto add = [&] { _target->addScene(titleOf(_options), description, graph); };
        writeHeedingWords(add, shown(_options.target.path), _report);
    }

    void addDataset(const std::string& input)
    {
        const vtkSmartPointer<vtkPolyData> dataset = readDataset(input, _report);
        throwIfInterrupted();
        makeStorable(*dataset, shown(input), _options.skipUnsupported, _report);
        _graph.setPart(_options.singleRecord ? _names.size() : 0, stemOf(input), *dataset);
        _names.push_back(nameOf(input));
        if (!_options.singleRecord)
        {
            addRecord(_names.back());
        }
    }

    void addRecord(const std::string& inputNames)
    {
        const auto add = [&] { _target->addRecord(titleOf(_options), descriptionOf(_options, inputNames), _graph); };
        writeHeedingWords(add, shown(_options.target.path), _report);
    }

    void writeJson(std::ostream& out) const
    {
        Json json(out);
        json.member("file", _options.target.path);
        json.member("session", _target->session());
        json.beginArray("records");
        for (const int record : _target->records())
        {
            json.beginObject();
            json.member("index", record);
            json.endObject();
        }
        json.endArray();
        json.beginArray("failed");
        for (const std::string& input : _failed)
        {
            json.element(input);
        }
        json.endArray();
        json.finish();
    }

    void writeText(std::ostream& out) const
    {
        const std::vector<int>& records = _target->records();
        out << shown(_options.target.path) << ": " << counted(records.size(), "record") << " added, ";
        out << (records.size() == 1 ? "index " : "indices ") << records.front();
        if (records.size() > 1)
        {
            out << " to " << records.back();
        }
        out << ", session " << inQuotes(_target->session()) << '\n';
    }

    const ImportOptions& _options;
    Report& _report;
    ImportGraph _graph; ///< outlives the writer in the target, which keeps its nodes
    std::optional<ImportTarget> _target;
    std::vector<std::string> _names;  ///< of the datasets
    std::vector<std::string> _failed; ///< inputs that were left out
};

void runImport(const ImportOptions& options, Console& console)
{
    checkInputs(options);
    Import import(options, console.report);
    import.run();
    import.acknowledge(console.out);
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
    app.add_flag("--keep-going", options->keepGoing, "Go on without the inputs that cannot be imported");
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options, title, description](Console& console)
    {
        options->titleGiven = title->count() > 0;
        options->descriptionGiven = description->count() > 0;
        runImport(*options, console);
    };
}

} // namespace tavosce
