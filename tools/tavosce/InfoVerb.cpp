#include "CommandTable.h"

#include "Interrupt.h"
#include "Json.h"
#include "RecordJson.h"
#include "SceneFile.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

struct InfoOptions
{
    std::string file;
    bool json = false;
};

struct Totals
{
    std::uint64_t blocks = 0;
    std::uint64_t sharedBlocks = 0;
    std::uint64_t payloadBytes = 0; ///< stored in the file
    std::uint64_t savedBytes = 0;   ///< what sharing did not store again

    void add(const RecordContents& contents)
    {
        for (const StoredBlock& block : contents.blocks)
        {
            ++blocks;
            sharedBlocks += block.shared ? 1 : 0;
            (block.shared ? savedBytes : payloadBytes) += block.length;
        }
    }
};

/// Hands the records out one after another, each with its contents, and warns of those that are not whole.
template <class Visit>
Totals visitRecords(SceneFile& file, Report& report, Visit visit)
{
    Totals totals;
    for (std::size_t i = 0; i < file.records().size(); ++i)
    {
        throwIfInterrupted();
        const RecordContents contents = file.contentsOf(i);
        totals.add(contents);
        visit(i, contents);
        file.reportFault(report, i, contents);
    }
    return totals;
}

/// True if a later thumbnail of the same record counts instead of this one of the file's list.
bool isSuperseded(const SceneFile& file, const Properties& tag)
{
    return file.thumbnailOf(tag.getInt(key::RECORD_INDEX)) != &tag;
}

void writeThumbnail(Json& json, const SceneFile& file, const Properties& tag)
{
    json.beginObject();
    json.member("recordIndex", tag.getInt(key::RECORD_INDEX));
    json.member("width", tag.getInt(key::WIDTH));
    json.member("height", tag.getInt(key::HEIGHT));
    json.member("filePos", sdb::hexFromProp(tag, key::FILE_POS));
    json.member("length", sdb::hexFromProp(tag, key::LENGTH));
    json.member("superseded", isSuperseded(file, tag));
    json.endObject();
}

void printJson(SceneFile& file, Console& console)
{
    Json json(console.out);
    json.member("file", file.path());
    json.member("size", file.size());
    json.member("release", file.release());
    json.member("formatVersion", file.formatVersion());
    json.member("whole", file.isWhole());
    json.beginArray("records");
    const Totals totals = visitRecords(file, console.report,
                                       [&](std::size_t index, const RecordContents& contents)
                                       {
                                           json.beginObject();
                                           writeRecordHeader(json, index, file.records()[index]);
                                           json.member("classVersions", contents.classVersions);
                                           writeNodes(json, contents);
                                           writeBlocks(json, contents);
                                           json.endObject();
                                       });
    json.endArray();
    json.beginArray("thumbnails");
    for (const Properties& tag : file.thumbnails())
    {
        writeThumbnail(json, file, tag);
    }
    json.endArray();
    json.beginObject("totals");
    json.member("blocks", totals.blocks);
    json.member("sharedBlocks", totals.sharedBlocks);
    json.member("payloadBytes", totals.payloadBytes);
    json.member("savedBytes", totals.savedBytes);
    json.endObject();
    json.finish();
}

void printBlock(std::ostream& out, const StoredBlock& block)
{
    out << "    " << describeBlock(block);
    if (block.isArray())
    {
        out << ", " << shapeOf(block);
    }
    out << ": " << counted(block.length, "byte") << " at " << hexadecimal(block.filePos)
        << (block.shared ? ", shared\n" : "\n");
}

void printRecord(std::ostream& out, std::size_t index, const Properties& header, const RecordContents& contents)
{
    out << "\nrecord " << index << ' ' << inQuotes(header.getString(key::TITLE)) << ", frame "
        << header.getInt(key::FRAME) << " of session " << inQuotes(header.getString(key::SESSION_ID)) << '\n'
        << "  " << counted(sdb::hexFromProp(header, key::LENGTH), "byte") << " at "
        << hexadecimal(sdb::hexFromProp(header, key::FILE_POS)) << ", version " << header.getInt(key::VERSION)
        << ", root " << shown(header.getString(key::ROOT_NODE_KEY)) << '\n';
    if (!header.getString(key::DESCRIPTION).empty())
    {
        out << "  " << shown(header.getString(key::DESCRIPTION)) << '\n';
    }
    out << "  " << counted(contents.nodes.size(), "node") << '\n';
    for (const StoredNode& node : contents.nodes)
    {
        out << "    " << shown(node.objectKey) << ' ' << shownJsonStart(node.properties.toString()) << '\n';
    }
    out << "  " << counted(contents.blocks.size(), "block") << '\n';
    for (const StoredBlock& block : contents.blocks)
    {
        printBlock(out, block);
    }
}

void printThumbnails(std::ostream& out, const SceneFile& file)
{
    const auto& tags = file.thumbnails();
    const auto superseded =
        std::count_if(tags.begin(), tags.end(), [&](const Properties& tag) { return isSuperseded(file, tag); });
    out << '\n' << counted(tags.size(), "thumbnail");
    if (superseded > 0)
    {
        out << ", " << superseded << " of them superseded by later ones";
    }
    out << '\n';
    for (const Properties& tag : tags)
    {
        out << "  of record " << tag.getInt(key::RECORD_INDEX) << ": " << tag.getInt(key::WIDTH) << " x "
            << tag.getInt(key::HEIGHT) << ", " << counted(sdb::hexFromProp(tag, key::LENGTH), "byte") << " at "
            << hexadecimal(sdb::hexFromProp(tag, key::FILE_POS)) << (isSuperseded(file, tag) ? ", superseded\n" : "\n");
    }
}

void printText(SceneFile& file, Console& console)
{
    std::ostream& out = console.out;
    out << shown(file.path()) << ": " << counted(file.size(), "byte") << ", format version " << file.formatVersion()
        << ", written by release " << shown(file.release()) << '\n'
        << counted(file.records().size(), "record") << '\n';
    const Totals totals = visitRecords(file, console.report,
                                       [&](std::size_t index, const RecordContents& contents)
                                       { printRecord(out, index, file.records()[index], contents); });
    printThumbnails(out, file);
    out << '\n'
        << counted(totals.blocks, "block") << " with " << counted(totals.payloadBytes, "byte") << "; "
        << totals.sharedBlocks << " of them shared, which saved " << counted(totals.savedBytes, "byte") << '\n'
        << (file.isWhole() ? "the file is whole\n" : "the file is not whole\n");
}

void runInfo(const InfoOptions& options, Console& console)
{
    SceneFile file(options.file);
    if (options.json)
    {
        printJson(file, console);
    }
    else
    {
        printText(file, console);
    }
    file.reportEnd(console.report);
}

} // namespace

Run declareInfo(CLI::App& app)
{
    const auto options = std::make_shared<InfoOptions>();
    app.add_option("FILE", options->file, "Scene database")->required();
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options](Console& console) { runInfo(*options, console); };
}

} // namespace tavosce
