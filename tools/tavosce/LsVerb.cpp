#include "FilesVerb.h"
#include "RecordJson.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// What a line tells of a record. All of it stands in the header: the record itself is not looked at.
struct Line
{
    std::string index;
    std::string frame;
    std::string bytes;
};

std::vector<Line> linesOf(const SceneFile& file)
{
    std::vector<Line> res;
    res.reserve(file.records().size());
    for (const Properties& header : file.records())
    {
        res.push_back({std::to_string(res.size()), std::to_string(header.getInt(key::FRAME)),
                       std::to_string(sdb::hexFromProp(header, key::LENGTH))});
    }
    return res;
}

std::size_t widthOf(const std::vector<Line>& lines, std::string Line::*column)
{
    std::size_t res = 0;
    for (const Line& line : lines)
    {
        res = std::max(res, (line.*column).size());
    }
    return res;
}

void printText(std::ostream& out, SceneFile& file, bool several)
{
    if (several)
    {
        out << shown(file.path()) << ": " << counted(file.records().size(), "record") << '\n';
    }
    const std::vector<Line> lines = linesOf(file);
    const std::size_t index = widthOf(lines, &Line::index), frame = widthOf(lines, &Line::frame),
                      bytes = widthOf(lines, &Line::bytes);
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        out << padded(lines[i].index, index) << "  frame " << padded(lines[i].frame, frame) << "  "
            << padded(lines[i].bytes, bytes) << " bytes  " << inQuotes(file.records()[i].getString(key::TITLE))
            << (file.thumbnailOf(static_cast<int>(i)) != nullptr ? ", thumbnail\n" : "\n");
    }
}

void writeJson(Json& json, SceneFile& file)
{
    json.beginObject();
    json.member("file", file.path());
    json.member("size", file.size());
    json.beginArray("records");
    for (std::size_t i = 0; i < file.records().size(); ++i)
    {
        json.beginObject();
        writeRecordHeader(json, i, file.records()[i]);
        json.member("thumbnail", file.thumbnailOf(static_cast<int>(i)) != nullptr);
        json.endObject();
    }
    json.endArray();
    json.endObject();
}

} // namespace

Run declareLs(CLI::App& app)
{
    return declareFiles(app, {&printText, &writeJson});
}

} // namespace tavosce
