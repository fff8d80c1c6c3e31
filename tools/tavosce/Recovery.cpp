#include "Recovery.h"

#include "BlockCheck.h"
#include "Interrupt.h"
#include "LibraryLog.h"
#include "RecordNumbers.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Limits.h"
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

constexpr const char* TOO_LONG = "with its positions written out a tag of it is longer than readers accept";

void write(std::ostream& out, const std::string& text)
{
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

/// Makes a tag that will begin at a place point to the byte behind it, as it does to `filePos` in the damaged file.
void placeBehind(std::uint64_t begin, std::uint64_t filePos, TagText& tag)
{
    if (begin + tag.size() != filePos)
    {
        tag.widenPosition(key::FILE_POS);
        tag.setPosition(key::FILE_POS, begin + tag.size());
    }
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

/// What of a record is lost; empty if nothing is. Its positions are written anew.
std::string faultOf(const std::vector<Finding>& findings)
{
    const auto isLoss = [](const Finding& finding)
    {
        return finding.kind().severity == Severity::Error && finding.code != FindingCode::RecordLength &&
               finding.code != FindingCode::PositionDamaged;
    };
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
        contents = walkRecordAt(_file.stream(), piece.tag, piece.begin, _file.size());
        rescue.reason = faultOf(_check.check(piece.tag, contents));
    }
    if (rescue.reason.empty())
    {
        const Plan plan = planRecord(piece, contents);
        // Each payload of a file is one record's own, so that all that have to be written anew fit into the file's
        // size.
        if (plan.rewritten > _file.size() - _rewritten)
        {
            rescue.reason = "refers to more bytes in other places than the file has";
        }
        else if (plan.longestTag > sdb::detail::MAX_TAG_BYTES)
        {
            rescue.reason = TOO_LONG;
        }
        else
        {
            rescue.written = _index.records().size();
            writeRecord(contents, plan);
        }
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
    TagText tag = textOf(piece.begin, piece.tagEnd);
    if (piece.tag.getInt(key::RECORD_INDEX) != static_cast<int>(*rescue.written))
    {
        tag.setNumber(key::RECORD_INDEX, static_cast<int>(*rescue.written));
    }
    placeBehind(sdb::detail::writePosition(_out), sdb::hexFromProp(piece.tag, key::FILE_POS), tag);
    if (tag.size() > sdb::detail::MAX_TAG_BYTES)
    {
        rescue.reason = TOO_LONG;
        rescue.written.reset();
        return;
    }
    write(_out, tag.str());
    copy(piece.tagEnd, piece.end);
}

/// The header keeps its digits if all its positions stay what they are. Otherwise those that another writer has made
/// shorter grow, which moves everything behind them.
Recovery::Plan Recovery::planRecord(const FilePiece& piece, const RecordContents& contents)
{
    const std::uint64_t begin = sdb::detail::writePosition(_out);
    TagText header = textOf(piece.begin, piece.tagEnd);
    const int frame = _index.nextFrame(piece.tag.getString(key::SESSION_ID), piece.tag.getString(key::TITLE));
    if (piece.tag.getInt(key::FRAME) != frame)
    {
        header.setNumber(key::FRAME, frame);
    }
    Plan res = planContents(piece.tag, contents, begin + header.size());
    const bool isSame = sdb::hexFromProp(piece.tag, key::FILE_POS) == begin &&
                        sdb::hexFromProp(piece.tag, key::LENGTH) == res.end - begin &&
                        sdb::hexFromProp(piece.tag, key::BINARY_DATA) == res.firstBlock;
    if (!isSame)
    {
        for (const char* const position : {key::FILE_POS, key::LENGTH, key::BINARY_DATA})
        {
            header.widenPosition(position);
        }
        res = planContents(piece.tag, contents, begin + header.size());
        header.setPosition(key::FILE_POS, begin);
        header.setPosition(key::LENGTH, res.end - begin);
        header.setPosition(key::BINARY_DATA, res.firstBlock);
    }
    res.header = header.str();
    res.longestTag = std::max<std::uint64_t>(res.longestTag, header.size());
    return res;
}

/// What follows a record's header, which begins at a place of the new file.
Recovery::Plan Recovery::planContents(const Properties& header, const RecordContents& contents, std::uint64_t begin)
{
    Plan res;
    for (const auto& [tagBegin, tagEnd] : contents.classVersionTags)
    {
        begin += tagEnd - tagBegin;
    }
    for (const StoredNode& node : contents.nodes)
    {
        begin += node.tagEnd - node.tagPosition;
    }
    res.firstBlock = begin;
    res.end = begin;
    for (const StoredBlock* const block : inOrder(contents.blocks))
    {
        planBlock(header, *block, res);
    }
    return res;
}

void Recovery::planBlock(const Properties& header, const StoredBlock& block, Plan& plan)
{
    const RecordCheck::Stored owner = RecordCheck::storedForm(header, block);
    const auto stored = block.shared ? storedAt(owner, plan) : std::nullopt;
    TagText tag = textOf(block.tagPosition, block.tagEnd);
    if (stored)
    {
        tag.setPosition(key::FILE_POS, *stored);
    }
    else
    {
        placeBehind(plan.end, block.filePos, tag);
        plan.payloads[owner] = plan.end + tag.size();
        plan.rewritten += block.shared ? block.length : 0;
    }
    plan.longestTag = std::max<std::uint64_t>(plan.longestTag, tag.size());
    plan.end += tag.size() + (stored ? 0 : block.length);
    plan.blocks.push_back({&block, tag.str(), !stored});
}

/// Where the new file holds a payload already, that record included which is being planned.
std::optional<std::uint64_t> Recovery::storedAt(const RecordCheck::Stored& owner, const Plan& plan) const
{
    for (const auto* const payloads : {&plan.payloads, &_payloads})
    {
        if (const auto found = payloads->find(owner); found != payloads->end())
        {
            return found->second;
        }
    }
    return std::nullopt;
}

void Recovery::writeRecord(const RecordContents& contents, const Plan& plan)
{
    write(_out, plan.header);
    for (const auto& [begin, end] : contents.classVersionTags)
    {
        copy(begin, end);
    }
    for (const StoredNode* const node : inOrder(contents.nodes))
    {
        copy(node->tagPosition, node->tagEnd);
    }
    for (const auto& [block, tag, isWritten] : plan.blocks)
    {
        throwIfInterrupted();
        write(_out, tag);
        copy(block->filePos, block->filePos + (isWritten ? block->length : 0));
    }
    for (const auto& [owner, position] : plan.payloads)
    {
        _payloads[owner] = position;
    }
    _rewritten += plan.rewritten;
    _index.registerRecord(Properties(plan.header));
}

/// The text of a tag of the damaged file. A file that has changed meanwhile leaves the new one in fail state.
TagText Recovery::textOf(std::uint64_t begin, std::uint64_t end)
{
    std::string text(end - begin, '\0');
    std::istream& in = _file.stream();
    in.clear();
    sdb::detail::seekTo(in, begin);
    if (!in.read(text.data(), static_cast<std::streamsize>(text.size())) || Properties(text).empty())
    {
        _out.setstate(std::ios::failbit);
        text = "{}";
    }
    return TagText(text);
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
