#include "Recovery.h"

#include "BlockCheck.h"
#include "Interrupt.h"
#include "LibraryLog.h"
#include "RecordNumbers.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <array>
#include <istream>
#include <iterator>
#include <ostream>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

void setPosition(Properties& tag, const char* name, std::uint64_t value)
{
    tag.set(name, sdb::detail::hexPosition(value), Properties::Overwrite);
}

void write(std::ostream& out, const std::string& text)
{
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

/// Why a piece that is no record and no thumbnail is left out.
const char* reasonOf(const FilePiece& piece)
{
    switch (piece.kind)
    {
    case FilePiece::FileHeader:
        return "another file header";
    case FilePiece::Unfinished:
        return wasFinished(piece) ? "its positions are damaged" : "never finished";
    case FilePiece::UnknownTag:
    case FilePiece::StrayTag:
        return "a tag of no known kind";
    default:
        return "no record and no thumbnail, or what is left of one";
    }
}

const std::string& keyOf(const StoredNode& node)
{
    return node.objectKey;
}

std::string keyOf(const StoredBlock& block)
{
    return block.objectKey();
}

/// Nodes or blocks in the order in which writers leave them: by the bytes of their keys, and those of one key as they
/// come.
template <class Stored>
std::vector<const Stored*> inOrder(const std::vector<Stored>& all)
{
    std::vector<const Stored*> res;
    std::transform(all.begin(), all.end(), std::back_inserter(res), [](const Stored& stored) { return &stored; });
    std::stable_sort(res.begin(), res.end(),
                     [](const Stored* left, const Stored* right) { return keyOf(*left) < keyOf(*right); });
    return res;
}

/// What of a record is lost; empty if nothing is. Its length is written anew.
std::string faultOf(const std::vector<Finding>& findings)
{
    const auto isLoss = [](const Finding& finding)
    { return finding.kind().severity == Severity::Error && finding.code != FindingCode::RecordLength; };
    const auto found = std::find_if(findings.begin(), findings.end(), isLoss);
    return found == findings.end() ? std::string() : found->text();
}

} // namespace

Recovery::Recovery(ScannedFile& file, std::ostream& out, Progress progress)
    : _file(file)
    , _out(out)
    , _progress(std::move(progress))
    , _check(file.stream(), file.size(), CheckDepth::Everything)
{
    const auto numbers = recordNumbers(file.stream(), file.pieces());
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        if (numbers[i])
        {
            _numbered[*numbers[i]] = i;
        }
        _allNumbered = _allNumbered && numbers[i].has_value();
    }
}

std::vector<Rescue> Recovery::run()
{
    const LibraryLog log; // what there is to say is in the findings
    std::vector<Rescue> res;
    res.reserve(_file.pieces().size()); // thumbnails that wait for their record refer to it
    writeFileHeader();
    for (std::size_t i = 0; i < _file.pieces().size() && _out; ++i)
    {
        throwIfInterrupted();
        const FilePiece& piece = _file.pieces()[i];
        if (&piece == _file.header())
        {
            continue;
        }
        _progress(static_cast<double>(piece.begin) / static_cast<double>(_file.size()));
        Rescue& rescue = res.emplace_back(Rescue{piece.kind, piece.begin, piece.end, {}, {}, {}, {}});
        if (piece.kind == FilePiece::Record)
        {
            takeRecord(piece, rescue);
        }
        else if (piece.kind == FilePiece::Thumbnail)
        {
            takeThumbnail(piece, rescue);
        }
        else
        {
            rescue.reason = reasonOf(piece);
        }
    }
    return res;
}

/// The header stays what it is, so that nodes are upgraded from the release that wrote them.
void Recovery::writeFileHeader()
{
    if (const FilePiece* const header = _file.header())
    {
        copy(header->begin, header->end);
    }
    else
    {
        sdb::writeHeader(_out);
    }
}

void Recovery::takeRecord(const FilePiece& piece, Rescue& rescue)
{
    rescue.record = _records.size();
    rescue.title = piece.tag.getString(key::TITLE);
    rescue.reason = piece.fault;
    RecordContents contents;
    if (rescue.reason.empty())
    {
        contents = walkRecord(_file.stream(), piece.tag, _file.size());
        rescue.reason = faultOf(_check.check(piece.tag, contents));
    }
    // Each payload of a file is one record's own, so that all that have to be written anew fit into the file's size.
    if (rescue.reason.empty() && missingBytes(piece.tag, contents) > _file.size() - _rewritten)
    {
        rescue.reason = "refers to more bytes in other places than the file has";
    }
    if (rescue.reason.empty())
    {
        rescue.written = _index.records().size();
        writeRecord(piece, contents);
    }
    _records.push_back(rescue.written);
    if (rescue.written)
    {
        writeEarlyThumbnails();
    }
}

void Recovery::takeThumbnail(const FilePiece& piece, Rescue& rescue)
{
    rescue.reason = piece.fault;
    if (!rescue.reason.empty())
    {
        return;
    }
    const auto number = static_cast<std::size_t>(piece.tag.getInt(key::RECORD_INDEX));
    const auto found = _numbered.find(number);
    if (found == _numbered.end())
    {
        rescue.reason = _allNumbered ? kindOf(FindingCode::ThumbnailRecord).text
                                     : "which record it belongs to is lost with records before it";
        return;
    }
    rescue.record = found->second;
    if (*rescue.record >= _records.size())
    {
        rescue.reason = "its record, which comes later, is dropped";
        _early.emplace(*rescue.record, std::pair(&piece, &rescue));
    }
    else if (!_records[*rescue.record])
    {
        rescue.reason = "its record is dropped";
    }
    else
    {
        writeThumbnail(piece, rescue);
    }
}

/// The thumbnails that stand before their record, which has just been written, follow it.
void Recovery::writeEarlyThumbnails()
{
    const auto [begin, end] = _early.equal_range(_records.size() - 1);
    for (auto early = begin; early != end; ++early)
    {
        writeThumbnail(*early->second.first, *early->second.second);
    }
}

void Recovery::writeThumbnail(const FilePiece& piece, Rescue& rescue)
{
    rescue.reason.clear();
    rescue.written = _records[*rescue.record];
    Properties tag = piece.tag;
    tag.set(key::RECORD_INDEX, static_cast<int>(*rescue.written), Properties::Overwrite);
    const std::uint64_t begin = sdb::detail::writePosition(_out);
    setPosition(tag, key::FILE_POS, 0);
    setPosition(tag, key::FILE_POS, begin + sdb::detail::tagText(tag).size());
    write(_out, sdb::detail::tagText(tag));
    copy(piece.tagEnd, piece.end);
}

void Recovery::writeRecord(const FilePiece& piece, const RecordContents& contents)
{
    Properties header = piece.tag;
    const int frame = _index.nextFrame(header.getString(key::SESSION_ID), header.getString(key::TITLE));
    if (header.getInt(key::FRAME) != frame)
    {
        header.set(key::FRAME, frame, Properties::Overwrite);
    }
    const std::uint64_t begin = sdb::detail::writePosition(_out);
    setPosition(header, key::FILE_POS, begin);
    setPosition(header, key::LENGTH, 0);
    setPosition(header, key::BINARY_DATA, 0);
    const std::string pending = sdb::detail::tagText(header);
    write(_out, pending);

    copyTags(contents);
    const std::uint64_t firstBlock = sdb::detail::writePosition(_out);
    for (const StoredBlock* const block : inOrder(contents.blocks))
    {
        throwIfInterrupted();
        writeBlock(piece.tag, *block);
    }
    const std::uint64_t end = sdb::detail::writePosition(_out);
    setPosition(header, key::LENGTH, end - begin);
    setPosition(header, key::BINARY_DATA, firstBlock);
    sdb::detail::rewriteTag(_out, begin, pending.size(), header);
    _out.seekp(static_cast<std::streamoff>(end));
    _index.registerRecord(header);
}

/// Copies the tags of class versions and nodes.
void Recovery::copyTags(const RecordContents& contents)
{
    for (const auto& [begin, end] : contents.classVersionTags)
    {
        copy(begin, end);
    }
    for (const StoredNode* const node : inOrder(contents.nodes))
    {
        copy(node->tagPosition, node->tagEnd);
    }
}

void Recovery::writeBlock(const Properties& header, const StoredBlock& block)
{
    Properties tag = block.tag;
    const RecordCheck::Stored owner = RecordCheck::storedForm(header, block);
    const auto stored = _payloads.find(owner);
    const bool isWritten = !block.shared || stored == _payloads.end();
    setPosition(tag, key::FILE_POS, 0);
    setPosition(tag, key::LENGTH, block.length);
    const std::uint64_t tagEnd = sdb::detail::writePosition(_out) + sdb::detail::tagText(tag).size();
    setPosition(tag, key::FILE_POS, isWritten ? tagEnd : stored->second);
    write(_out, sdb::detail::tagText(tag));
    if (isWritten)
    {
        copy(block.filePos, block.filePos + block.length);
        _payloads[owner] = tagEnd;
        _rewritten += block.shared ? block.length : 0;
    }
}

/// How many bytes of shared payloads would have to be written with this record.
std::uint64_t Recovery::missingBytes(const Properties& header, const RecordContents& contents) const
{
    std::uint64_t res = 0;
    for (const StoredBlock& block : contents.blocks)
    {
        res += block.shared && _payloads.count(RecordCheck::storedForm(header, block)) == 0 ? block.length : 0;
    }
    return res;
}

/// Copies bytes of the damaged file. A file that has become shorter meanwhile leaves the new one in fail state.
void Recovery::copy(std::uint64_t begin, std::uint64_t end)
{
    std::array<char, 1 << 16> bytes;
    std::istream& in = _file.stream();
    in.clear();
    sdb::detail::seekTo(in, begin);
    while (begin < end && _out)
    {
        const std::uint64_t count = std::min<std::uint64_t>(bytes.size(), end - begin);
        if (!in.read(bytes.data(), static_cast<std::streamsize>(count)))
        {
            _out.setstate(std::ios::failbit);
            return;
        }
        _out.write(bytes.data(), static_cast<std::streamsize>(count));
        begin += count;
    }
}

} // namespace tavosce
