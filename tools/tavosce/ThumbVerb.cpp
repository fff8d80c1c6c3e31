#include "CommandTable.h"

#include "ImportTarget.h"
#include "Interrupt.h"
#include "Json.h"
#include "LibraryLog.h"
#include "OutputFile.h"
#include "Png.h"
#include "RecordAddress.h"
#include "SceneFile.h"
#include "Text.h"

#include "platform/FileSystem.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

struct ThumbOptions
{
    std::string address;
    std::string output;
    std::string picture; ///< to be set
    bool force = false;
    bool json = false;
};

/// The record that is meant, as an index of the file; none without one in the address.
std::optional<int> recordOf(const RecordAddress& address, const SceneFile& file)
{
    return address.index ? std::make_optional(static_cast<int>(placeOf(address, file.records().size()))) : std::nullopt;
}

/// The newest thumbnail of a record, or of any.
const Properties& newestThumbnail(const SceneFile& file, std::optional<int> record)
{
    const auto& all = file.thumbnails();
    const Properties* const newest = all.empty() ? nullptr : &all.back();
    if (const Properties* const tag = record ? file.thumbnailOf(*record) : newest)
    {
        return *tag;
    }
    throw Failure(WrongUsage, record ? file.placeOf(static_cast<std::size_t>(*record)) : shown(file.path()),
                  "there is no thumbnail", "--set adds one; `tavosce info` lists those there are");
}

tsg::Bitmap<3> readThumbnail(SceneFile& file, const Properties& tag)
{
    const std::string place = shown(file.path()) + ": thumbnail of record " +
                              std::to_string(tag.getInt(key::RECORD_INDEX)) + " (byte " +
                              hexadecimal(sdb::hexFromProp(tag, key::FILE_POS)) + ')';
    const auto end = sdb::detail::extentEnd(tag);
    if (!end || *end > file.size())
    {
        throw Failure(TooDamaged, place, "the picture reaches beyond the end of the file");
    }
    tsg::Bitmap<3> bitmap;
    sdb::getThumbnailData(file.stream(), tag, bitmap);
    const int width = tag.getInt(key::WIDTH), height = tag.getInt(key::HEIGHT);
    const std::uint64_t length = sdb::hexFromProp(tag, key::LENGTH);
    const std::string sides = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width >= 0 && height >= 0 && std::min(width, height) == 0 && length == 0)
    {
        throw Failure(NotStorable, place, "the picture is empty: " + sides + ", which no PNG can hold");
    }
    if (bitmap.getSize() == 0 || length != bitmap.getSize())
    {
        throw Failure(TooDamaged, place, "no picture: " + counted(length, "byte") + " for " + sides);
    }
    return bitmap;
}

/// `done` tells what happened to the picture.
void acknowledge(const ThumbOptions& options, const std::string& file, int record, const tsg::Bitmap<3>& bitmap,
                 const char* done, std::ostream& out)
{
    const std::string& picture = options.output.empty() ? options.picture : options.output;
    if (options.json)
    {
        Json json(out);
        json.member("file", file);
        json.member("record", record);
        json.member("picture", picture);
        json.member("width", bitmap.getWidth());
        json.member("height", bitmap.getHeight());
        json.finish();
        return;
    }
    out << shown(options.output.empty() ? file : picture) << ": thumbnail of record " << record << done << ", "
        << bitmap.getWidth() << " x " << bitmap.getHeight() << " pixels\n";
}

void getThumbnail(const ThumbOptions& options, Console& console)
{
    const RecordAddress address = parseAddress(options.address);
    SceneFile file(address.file);
    const Properties& tag = newestThumbnail(file, recordOf(address, file));
    const tsg::Bitmap<3> bitmap = readThumbnail(file, tag);
    if (isSameFile(options.output, address.file))
    {
        throw Failure(WrongUsage, shown(options.output), "the output would replace the scene database");
    }
    throwIfInterrupted();
    OutputFile output(options.output, options.force);
    writePng(bitmap, OS::toNarrow(output.path()), shown(options.output));
    output.install();
    file.noteEnd(console.report);
    acknowledge(options, file.path(), tag.getInt(key::RECORD_INDEX), bitmap, "", console.out);
}

void setThumbnail(const ThumbOptions& options, Console& console)
{
    const RecordAddress address = parseAddress(options.address);
    std::optional<int> record;
    {
        const SceneFile file(address.file);
        record = recordOf(address, file);
    }
    if (!record)
    {
        throw Failure(WrongUsage, shown(options.address), "--set needs to know the record",
                      "name it as FILE:INDEX; -1 is the last one");
    }
    const tsg::Bitmap<3> bitmap = readPng(options.picture);
    throwIfInterrupted();
    std::optional<GrowingFile> target;
    const auto add = [&]
    {
        target.emplace(address.file, true);
        errno = 0;
        const tsg::io::FileIoStatus status = target->writer().addThumbnail(*record, bitmap);
        if (status != tsg::io::FileIoStatus::Success || target->writer().hasFailed())
        {
            throw cannotWrite(shown(address.file), systemReason());
        }
    };
    writeHeedingWords(add, shown(address.file), console.report);
    target->finish();
    acknowledge(options, address.file, *record, bitmap, " added", console.out);
}

} // namespace

Run declareThumb(CLI::App& app)
{
    const auto options = std::make_shared<ThumbOptions>();
    app.add_option(
           "FILE[:REC]", options->address,
           "Scene database, and a record of it, counted from 0 or, negative, from the end; without one -o takes "
           "the newest thumbnail of the file, with one the newest of the record; --set needs one")
        ->required();
    auto* const way = app.add_option_group("what to do");
    auto* const output = way->add_option("-o", options->output, "PNG file to write")->type_name("OUT.png");
    way->add_option("--set", options->picture, "Add this picture to the scene database as thumbnail of the record")
        ->type_name("IN.png");
    way->require_option(1);
    app.add_flag("--force", options->force, "Replace the PNG file if it exists")->needs(output);
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options, output](Console& console)
    { output->count() > 0 ? getThumbnail(*options, console) : setThumbnail(*options, console); };
}

} // namespace tavosce
