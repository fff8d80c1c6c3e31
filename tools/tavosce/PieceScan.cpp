#include "PieceScan.h"

#include "ReadBudget.h"
#include "RecordWalk.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Index.h"
#include "scenegraph/io/detail/ItemSearch.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/TagScan.h"

#include <algorithm>
#include <istream>
#include <optional>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;
namespace field = sdb::detail::field;
using sdb::detail::TagScan;

class Scan
{
public:
    Scan(std::istream& in, std::uint64_t fileSize)
        : _in(in)
        , _fileSize(fileSize)
        , _budget(fileSize)
        , _walk(sdb::detail::walkFile(
              in, [](const Properties&) {}, [](const Properties&) {}))
    {
    }

    std::vector<FilePiece> run()
    {
        while (_position < _fileSize)
        {
            takeNext();
        }
        return std::move(_pieces);
    }

private:
    void takeNext()
    {
        if (_budget.isSpent())
        {
            // What is no item in its place is no longer looked at, since each look may last to the end of the file.
            add(FilePiece::Unreadable, nextItem(_position));
            if (_position == _fileSize)
            {
                return;
            }
        }
        std::uint64_t skipped = 0;
        const TagScan scan = scanAt(_position, skipped);
        if (scan == TagScan::NoTag)
        {
            add(FilePiece::Unreadable, _fileSize);
            return;
        }
        add(FilePiece::Unreadable, _position + skipped);
        if (scan == TagScan::Complete)
        {
            takeTag(_position + _text.size());
            return;
        }
        _budget.pay(_text.size());
        const bool isCutItem = scan == TagScan::CutByEnd && sdb::detail::beginsAsItem(_text);
        add(isCutItem ? FilePiece::Unfinished : FilePiece::Unreadable, nextItem(_position + 1));
    }

    void takeTag(std::uint64_t tagEnd)
    {
        Properties tag(_text);
        if (!tag.hasName(key::DATA_FIELD))
        {
            const bool isHeader = tag.hasName(key::UUID);
            add(isHeader ? FilePiece::FileHeader : FilePiece::StrayTag, isHeader ? behindLineEnd(tagEnd) : tagEnd,
                std::move(tag));
            return;
        }
        const std::string& kind = tag.getString(key::DATA_FIELD);
        if (kind != field::HEADER && kind != field::THUMBNAIL)
        {
            add(FilePiece::UnknownTag, tagEnd, std::move(tag));
            return;
        }
        const std::optional<std::uint64_t> end = sdb::detail::finishedEnd(tag, tagEnd);
        if (kind == field::HEADER && !sdb::detail::isPending(tag))
        {
            takeRecord(std::move(tag), tagEnd, end);
        }
        else if (kind == field::THUMBNAIL && end)
        {
            takeThumbnail(std::move(tag), tagEnd, *end);
        }
        else
        {
            add(FilePiece::Unfinished, nextItem(tagEnd), std::move(tag));
        }
    }

    /// `end` as the header tells it; none if readers take the record for unfinished.
    void takeRecord(Properties header, std::uint64_t tagEnd, std::optional<std::uint64_t> end)
    {
        RecordContents contents;
        contents.faultPosition = _position;
        if (_budget.isSpent())
        {
            contents.fault = "not looked at, after so much damage";
        }
        else
        {
            contents = walkRecordAt(_in, header, _position, _fileSize);
        }
        const bool isWhole = contents.fault.empty();
        _budget.pay(isWhole ? std::max(contents.readTo, contents.end) - contents.end
                            : std::max({contents.faultPosition, contents.readTo, tagEnd}) - _position);
        const std::uint64_t next = isWhole ? contents.end : std::min(end.value_or(_fileSize), nextItem(tagEnd));
        add(isWhole || end ? FilePiece::Record : FilePiece::Unfinished, next, std::move(header));
        _pieces.back().fault = isWhole || end ? std::move(contents.fault) : std::string();
        _pieces.back().faultPosition = contents.faultPosition;
    }

    void takeThumbnail(Properties tag, std::uint64_t tagEnd, std::uint64_t end)
    {
        const bool isConsistent = tag.hasName(key::RECORD_INDEX) && sdb::hexFromProp(tag, key::FILE_POS) == tagEnd &&
                                  end <= _fileSize &&
                                  sdb::hexFromProp(tag, key::LENGTH) == sdb::detail::pixelBytes(tag);
        add(FilePiece::Thumbnail, isConsistent ? end : std::min(end, nextItem(tagEnd)), std::move(tag));
        _pieces.back().fault =
            isConsistent ? "" : "the picture is not behind its tag, has not the bytes of its size, or is of no record";
    }

    /// A piece from the present position on; nothing if it would be empty. Bytes that cannot be read become one piece.
    void add(FilePiece::Kind kind, std::uint64_t end, Properties tag = {})
    {
        end = std::min(end, _fileSize);
        if (end <= _position)
        {
            return;
        }
        const bool isMore = kind == FilePiece::Unreadable && !_pieces.empty() && _pieces.back().kind == kind;
        if (isMore)
        {
            _pieces.back().end = end;
        }
        else
        {
            const std::uint64_t tagEnd = tag.empty() ? _position : _position + _text.size();
            _pieces.push_back({kind, _position, end, std::move(tag), isReached(kind), tagEnd});
        }
        _position = end;
    }

    bool isReached(FilePiece::Kind kind) const
    {
        const bool isItem = kind == FilePiece::Record || kind == FilePiece::Thumbnail;
        return isItem ? std::binary_search(_walk.items.begin(), _walk.items.end(), _position)
                      : _position <= _walk.position;
    }

    TagScan scanAt(std::uint64_t position, std::uint64_t& skipped)
    {
        _in.clear();
        sdb::detail::seekTo(_in, position);
        return sdb::detail::scanTag(_in, _text, skipped);
    }

    std::uint64_t nextItem(std::uint64_t from)
    {
        const std::uint64_t found = sdb::detail::findItem(_in, from).value_or(_fileSize);
        _budget.pay(found - std::min(from, found));
        return found;
    }

    std::uint64_t behindLineEnd(std::uint64_t position)
    {
        _in.clear();
        sdb::detail::seekTo(_in, position);
        const bool isLong = _in.peek() == '\r' && _in.get() != EOF;
        return position + (isLong ? 1 : 0) + (_in.peek() == '\n' ? 1 : 0);
    }

    std::istream& _in;
    std::uint64_t _fileSize;
    ReadBudget _budget;
    sdb::detail::WalkResult _walk;
    std::uint64_t _position = 0; ///< where the next piece begins
    std::string _text;           ///< of the tag that was read last
    std::vector<FilePiece> _pieces;
};

} // namespace

bool wasFinished(const FilePiece& piece)
{
    return !piece.tag.empty() && !sdb::detail::isPending(piece.tag);
}

std::vector<FilePiece> scanPieces(std::istream& in, std::uint64_t fileSize)
{
    return Scan(in, fileSize).run();
}

} // namespace tavosce
