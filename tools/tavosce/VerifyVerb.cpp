#include "CommandTable.h"

#include "FileCheck.h"
#include "Json.h"
#include "SceneDirectory.h"
#include "SceneFile.h"
#include "Text.h"

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct VerifyOptions
{
    std::vector<std::string> paths;
    bool quick = false;
    bool json = false;
};

std::size_t countOf(const CheckedFile& file, Severity severity)
{
    return static_cast<std::size_t>(std::count_if(file.findings.begin(), file.findings.end(),
                                                  [=](const Finding& finding)
                                                  { return finding.kind().severity == severity; }));
}

void writeFinding(Json& json, const Finding& finding)
{
    json.beginObject();
    json.member("code", finding.kind().name);
    json.member("severity", nameOf(finding.kind().severity));
    json.member("text", finding.text());
    json.member("byte", finding.byte);
    if (finding.record)
    {
        json.member("record", static_cast<std::uint64_t>(*finding.record));
        json.member("title", finding.title);
    }
    if (!finding.objectKey.empty())
    {
        json.member("node", finding.objectKey);
    }
    if (!finding.file.empty())
    {
        json.member("part", finding.file);
    }
    json.endObject();
}

void writeJson(Json& json, const std::string& path, const CheckedFile& file)
{
    json.beginObject();
    json.member("file", path);
    json.member("size", file.bytes);
    json.member("records", static_cast<std::uint64_t>(file.records));
    json.member("thumbnails", static_cast<std::uint64_t>(file.thumbnails));
    for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Note})
    {
        json.member((nameOf(severity) + std::string("s")).c_str(), static_cast<std::uint64_t>(countOf(file, severity)));
    }
    if (file.unchecked)
    {
        json.beginObject("unchecked");
        json.member("payloads", file.unchecked->payloads);
        json.member("bytes", file.unchecked->bytes);
        json.endObject();
    }
    else
    {
        json.nullMember("unchecked");
    }
    json.beginArray("findings");
    for (const Finding& finding : file.findings)
    {
        writeFinding(json, finding);
    }
    json.endArray();
    json.endObject();
}

std::string placeOf(const std::string& path, const Finding& finding)
{
    std::string res = shown(path);
    if (!finding.file.empty())
    {
        res += '/' + shown(finding.file);
    }
    const std::string byte = "byte " + hexadecimal(finding.byte);
    return finding.record
               ? res + ": record " + std::to_string(*finding.record) + ' ' + inQuotes(finding.title) + " (" + byte + ')'
               : res + ": " + byte;
}

void printText(std::ostream& out, const std::string& path, const CheckedFile& file)
{
    for (const Finding& finding : file.findings)
    {
        out << placeOf(path, finding) << ": " << nameOf(finding.kind().severity) << ' ' << finding.kind().name << ": "
            << finding.text() << '\n';
    }
    out << shown(path) << ": " << counted(file.records, "record") << ", " << counted(file.thumbnails, "thumbnail")
        << ", " << counted(file.bytes, "byte") << ": ";
    if (gravest(file.findings) == Severity::Note)
    {
        out << "clean";
        if (!file.findings.empty())
        {
            out << ", with " << counted(file.findings.size(), "note");
        }
    }
    else
    {
        out << counted(countOf(file, Severity::Error), "error") << ", "
            << counted(countOf(file, Severity::Warning), "warning") << ", "
            << counted(countOf(file, Severity::Note), "note");
    }
    out << '\n';
    if (file.unchecked && file.unchecked->payloads > 0)
    {
        out << shown(path) << ": " << counted(file.unchecked->payloads, "payload") << ", "
            << counted(file.unchecked->bytes, "byte") << ", stored without a checksum: damage there does not show\n";
    }
}

/// What the findings make of the exit code.
ExitCode exitCodeOf(const CheckedFile& file)
{
    const Severity worst = gravest(file.findings);
    if (worst == Severity::Error && file.readable == 0)
    {
        return TooDamaged;
    }
    return worst == Severity::Note ? Fine : Findings;
}

void runVerify(const VerifyOptions& options, Console& console)
{
    std::unique_ptr<Json> json;
    if (options.json)
    {
        json = std::make_unique<Json>(console.out);
        json->beginArray("files");
    }
    const CheckDepth depth = options.quick ? CheckDepth::Container : CheckDepth::Everything;
    const Progress progress = [&](double done) { console.report.progress().show("Checking", done, 1); };
    visitPaths(options.paths, console.report, json.get(),
               [&](const std::string& path)
               {
                   const CheckedFile file = isSceneDirectory(path) ? checkSceneDirectory(path, depth, progress)
                                                                   : checkFile(path, depth, progress);
                   console.report.progress().clear();
                   json ? writeJson(*json, path, file) : printText(console.out, path, file);
                   console.report.raiseTo(exitCodeOf(file));
               });
    if (json)
    {
        json->endArray();
        json->finish();
    }
}

} // namespace

Run declareVerify(CLI::App& app)
{
    const auto options = std::make_shared<VerifyOptions>();
    app.add_option("FILE|DIR", options->paths, "Scene databases and scene directories")->required();
    app.add_flag("--quick", options->quick, "Look at the container only: decode no data");
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options](Console& console) { runVerify(*options, console); };
}

} // namespace tavosce
