#include "SceneFile.h"

#include "Interrupt.h"
#include "Json.h"
#include "LibraryLog.h"
#include "RecordWalk.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;
using sdb::detail::WalkEnd;

/// A text of the library as a reason: without the end of its line.
std::string reasonOf(const std::string& text)
{
    return shown(text.substr(0, text.find('\n')));
}

/// What the end of the walk means; null where all is well.
const char* endText(WalkEnd end)
{
    switch (end)
    {
    case WalkEnd::EndOfFile:
        return nullptr;
    case WalkEnd::UnfinishedItem:
        return "the file ends in an item that was never finished; the next one that is added takes its place";
    case WalkEnd::BeyondFile:
        return "the file is truncated: its last item reaches beyond the end";
    case WalkEnd::Damage:
        return "the file is damaged: there is no tag where the next item should be, and what follows cannot be found";
    case WalkEnd::StrayTag:
        return "stray tag: neither file header, record nor thumbnail; what follows cannot be found";
    }
    return nullptr;
}

} // namespace

SceneFile::SceneFile(std::string path)
    : _path(std::move(path))
    , _file(_path)
{
    const LibraryLog log; // what the walk warns of is said by reportEnd
    readHeader();
    std::vector<std::size_t> items; // the place of each record among them
    _walk = sdb::detail::walkFile(
        _file.stream(),
        [&](const Properties& header)
        {
            items.push_back(_records.size() + _thumbnails.size());
            _records.push_back(header);
        },
        [this](const Properties& tag)
        {
            _newestThumbnails[tag.getInt(key::RECORD_INDEX)] = _thumbnails.size();
            _thumbnails.push_back(tag);
        });
    std::transform(items.begin(), items.end(), std::back_inserter(_places),
                   [this](std::size_t item) { return _walk.items.at(item); });
    _file.stream().clear();
}

void SceneFile::readHeader()
{
    std::ostringstream messages;
    const bool accepted = sdb::checkFormat(_file.stream(), messages, _release);
    _file.stream().clear();
    _file.stream().seekg(0);
    Properties header;
    const bool headed = sdb::getNextProperty(_file.stream(), header) && sdb::isUuidCorrect(header);
    _file.stream().clear();
    if (!accepted && headed && sdb::fileFormatVersion(header, _formatVersion))
    {
        throw Failure(WrongFormat, shown(_path), reasonOf(messages.str()), "a newer release of tavosce may read it");
    }
    if (!accepted)
    {
        throw Failure(WrongFormat, shown(_path),
                      _file.size() == 0 ? "no scene database: the file is empty" : "no scene database");
    }
    (void)sdb::fileFormatVersion(header, _formatVersion); // it was accepted, so it is there
}

bool SceneFile::isWhole() const
{
    return _walk.end == WalkEnd::EndOfFile && _walk.unfinished.empty();
}

bool SceneFile::canBeAddedTo() const
{
    return _walk.end == WalkEnd::EndOfFile || _walk.end == WalkEnd::UnfinishedItem;
}

RecordContents SceneFile::contentsOf(std::size_t record)
{
    const Properties& header = _records[record];
    if (sdb::hexFromProp(header, key::FILE_POS) == _places[record])
    {
        return walkRecord(_file.stream(), header, _file.size());
    }
    RecordContents res;
    res.begin = res.faultPosition = _places[record];
    res.isInPlace = false;
    res.fault = HEADER_ELSEWHERE;
    return res;
}

const Properties* SceneFile::thumbnailOf(int record) const
{
    const auto found = _newestThumbnails.find(record);
    return found == _newestThumbnails.end() ? nullptr : &_thumbnails[found->second];
}

std::vector<std::pair<std::string, const char*>> SceneFile::faults() const
{
    std::vector<std::pair<std::string, const char*>> res;
    const auto add = [&](std::uint64_t position, const char* text)
    { res.emplace_back(shown(_path) + ": byte " + hexadecimal(position), text); };
    for (const std::uint64_t position : _walk.unfinished)
    {
        if (_walk.end != WalkEnd::UnfinishedItem || position != _walk.position)
        {
            add(position, "an item that was never finished");
        }
    }
    if (const char* const text = endText(_walk.end))
    {
        add(_walk.position, text);
    }
    return res;
}

void SceneFile::reportEnd(Report& report) const
{
    for (const auto& [place, text] : faults())
    {
        report.warning(place, text);
    }
}

void SceneFile::noteEnd(Report& report) const
{
    for (const auto& [place, text] : faults())
    {
        report.note(place, text);
    }
}

void SceneFile::reportFault(Report& report, std::size_t record, const RecordContents& contents) const
{
    if (!contents.fault.empty())
    {
        report.warning(placeOf(record, contents.faultPosition), contents.fault);
    }
    else if (!contents.lengthIsRight)
    {
        report.warning(placeOf(record, contents.end), "the record ends here, and its header says something else");
    }
}

std::string SceneFile::placeOf(std::size_t record) const
{
    return placeOf(record, _places[record]);
}

std::string SceneFile::placeOf(std::size_t record, std::uint64_t position) const
{
    return shown(_path) + ": record " + std::to_string(record) + ' ' +
           inQuotes(_records[record].getString(key::TITLE)) + " (byte " + hexadecimal(position) + ')';
}

void visitPaths(const std::vector<std::string>& paths, Report& report, Json* json,
                const std::function<void(const std::string&)>& visit)
{
    for (const std::string& path : paths)
    {
        throwIfInterrupted();
        try
        {
            visit(path);
        }
        catch (const Failure& failure)
        {
            report.error(failure);
            if (json != nullptr)
            {
                json->beginObject();
                json->member("file", path);
                json->member("failure", failure.what());
                json->endObject();
            }
        }
    }
}

void visitFiles(const std::vector<std::string>& paths, Report& report, Json* json,
                const std::function<void(SceneFile&)>& visit)
{
    visitPaths(paths, report, json,
               [&](const std::string& path)
               {
                   SceneFile file(path);
                   visit(file);
                   file.reportEnd(report);
               });
}

} // namespace tavosce
