#include "CommandTable.h"

#include "Json.h"
#include "OutputFile.h"
#include "Recovery.h"
#include "Text.h"

#include "platform/FileStreams.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct RecoverOptions
{
    std::string input;
    std::string output;
    bool force = false;
    bool json = false;
};

/// What a piece is, for people and in results.
const char* nounOf(FilePiece::Kind kind)
{
    return kind == FilePiece::Record ? "record" : kind == FilePiece::Thumbnail ? "thumbnail" : "bytes";
}

bool isKept(const Rescue& rescue)
{
    return rescue.written.has_value();
}

std::size_t keptOf(const std::vector<Rescue>& rescues, FilePiece::Kind kind)
{
    return static_cast<std::size_t>(std::count_if(
        rescues.begin(), rescues.end(), [=](const Rescue& rescue) { return rescue.kind == kind && isKept(rescue); }));
}

void writeJson(const RecoverOptions& options, const std::vector<Rescue>& rescues, std::ostream& out)
{
    Json json(out);
    json.member("file", options.input);
    json.member("output", options.output);
    for (const bool kept : {true, false})
    {
        json.beginArray(kept ? "kept" : "dropped");
        for (const Rescue& rescue : rescues)
        {
            if (isKept(rescue) != kept)
            {
                continue;
            }
            json.beginObject();
            json.member("what", nounOf(rescue.kind));
            json.member("byte", rescue.begin);
            json.member("end", rescue.end);
            if (rescue.record)
            {
                json.member("record", static_cast<std::uint64_t>(*rescue.record));
            }
            if (rescue.kind == FilePiece::Record)
            {
                json.member("title", rescue.title);
            }
            kept ? json.member("newRecord", static_cast<std::uint64_t>(*rescue.written))
                 : json.member("reason", rescue.reason);
            json.endObject();
        }
        json.endArray();
    }
    json.finish();
}

std::string describe(const Rescue& rescue)
{
    std::string res = nounOf(rescue.kind);
    if (rescue.record)
    {
        res += (rescue.kind == FilePiece::Record ? " " : " of record ") + std::to_string(*rescue.record);
    }
    if (rescue.kind == FilePiece::Record)
    {
        res += ' ' + inQuotes(rescue.title);
    }
    return res + " (byte " + hexadecimal(rescue.begin) + " to " + hexadecimal(rescue.end) + ')';
}

void printText(const RecoverOptions& options, const std::vector<Rescue>& rescues, std::ostream& out)
{
    for (const Rescue& rescue : rescues)
    {
        if (!isKept(rescue))
        {
            out << shown(options.input) << ": " << describe(rescue) << ": dropped: " << rescue.reason << '\n';
        }
        else if (rescue.written != rescue.record)
        {
            out << shown(options.input) << ": " << describe(rescue) << ": kept"
                << (rescue.kind == FilePiece::Record ? " as record " : " for record ") << *rescue.written << '\n';
        }
    }
    const auto dropped = rescues.size() - keptOf(rescues, FilePiece::Record) - keptOf(rescues, FilePiece::Thumbnail);
    out << shown(options.output) << ": " << counted(keptOf(rescues, FilePiece::Record), "record") << " and "
        << counted(keptOf(rescues, FilePiece::Thumbnail), "thumbnail") << " kept, " << counted(dropped, "piece")
        << " dropped\n";
}

std::vector<Rescue> writeAnew(ScannedFile& file, const OutputFile& output, const RecoverOptions& options,
                              Report& report)
{
    errno = 0;
    const auto out = OS::openForWriting(output.path(), OS::LineEnds::AsWritten);
    const auto progress = [&](double done) { report.progress().show("Recovering", done, 1); };
    std::vector<Rescue> rescues = Recovery(file, *out, progress).run();
    report.progress().clear();
    out->close();
    if (!*out)
    {
        throw cannotWrite(shown(options.output), systemReason());
    }
    return rescues;
}

void runRecover(const RecoverOptions& options, Console& console)
{
    if (isSameFile(options.input, options.output))
    {
        throw Failure(WrongUsage, shown(options.output), "the output would replace the damaged file");
    }
    ScannedFile file(options.input);
    OutputFile output(options.output, options.force);
    const std::vector<Rescue> rescues = writeAnew(file, output, options, console.report);
    const bool isAllKept = std::all_of(rescues.begin(), rescues.end(), isKept) && file.header() != nullptr;
    if (!isAllKept && keptOf(rescues, FilePiece::Record) == 0)
    {
        throw Failure(TooDamaged, shown(options.input), "no record is whole",
                      "`tavosce verify` tells what is wrong with them");
    }
    output.install();
    options.json ? writeJson(options, rescues, console.out) : printText(options, rescues, console.out);
    console.report.raiseTo(isAllKept ? Fine : Findings);
}

} // namespace

Run declareRecover(CLI::App& app)
{
    const auto options = std::make_shared<RecoverOptions>();
    app.add_option("FILE", options->input, "Scene database, which stays as it is")->required();
    app.add_option("-o", options->output, "Scene database to write")->required()->type_name("OUT");
    app.add_flag("--force", options->force, "Replace the output if it exists");
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options](Console& console) { runRecover(*options, console); };
}

} // namespace tavosce
