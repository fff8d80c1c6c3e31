#include "RecordNumbers.h"

#include "ReadBudget.h"
#include "RecordWalk.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/ItemSearch.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/TagScan.h"

#include <algorithm>
#include <istream>
#include <string>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;
namespace field = sdb::detail::field;

/// No record that this library writes is shorter: so much is in the header, the class versions and a node.
constexpr std::uint64_t LEAST_RECORD = 200;

class Numbering
{
public:
    Numbering(std::istream& in, const std::vector<FilePiece>& pieces)
        : _in(in)
        , _budget(pieces.empty() ? 0 : pieces.back().end)
    {
        for (const FilePiece& piece : pieces)
        {
            if (piece.kind == FilePiece::Record)
            {
                _mostHeader = std::max(_mostHeader, piece.tagEnd - piece.begin);
            }
            else if (piece.kind == FilePiece::Thumbnail && piece.fault.empty())
            {
                _mostThumbnail = std::max(_mostThumbnail, piece.end - piece.begin);
            }
        }
    }

    std::vector<std::optional<std::size_t>> run(const std::vector<FilePiece>& pieces)
    {
        for (std::size_t i = 0; i < pieces.size();)
        {
            if (pieces[i].kind == FilePiece::Record)
            {
                _res.push_back(_known ? std::optional<std::size_t>(_next) : std::nullopt);
                ++_next;
            }
            std::size_t behind = i + 1;
            while (behind < pieces.size() && isRemains(pieces[behind]))
            {
                ++behind;
            }
            if (_known)
            {
                take(pieces[i], pieces[behind - 1].end);
            }
            i = behind;
        }
        return std::move(_res);
    }

private:
    static bool isRemains(const FilePiece& piece)
    {
        return piece.kind == FilePiece::UnknownTag || piece.kind == FilePiece::StrayTag ||
               piece.kind == FilePiece::Unreadable;
    }

    /// A piece, and the bytes behind it up to the next one that is something.
    void take(const FilePiece& piece, std::uint64_t end)
    {
        const bool isThumbnail = piece.tag.getString(key::DATA_FIELD) == field::THUMBNAIL;
        if (isRemains(piece) || piece.tag.empty())
        {
            takeRemains(piece.begin, end);
        }
        else if (isThumbnail && (piece.kind == FilePiece::Unfinished || !piece.fault.empty()))
        {
            takeThumbnail(piece.begin, end);
        }
        else if (piece.kind == FilePiece::Unfinished && wasFinished(piece))
        {
            ++_next;
            takeRemains(bodyEnd(piece.tagEnd), end);
        }
        else if (piece.kind == FilePiece::Unfinished)
        {
            takeNoRecord(bodyEnd(piece.tagEnd), end);
        }
        else
        {
            const std::uint64_t body = piece.fault.empty() ? piece.end : bodyEnd(piece.tagEnd);
            takeRemains(body <= end ? std::max(body, piece.end) : piece.end, end);
        }
    }

    /// Bytes which belong to something else than records.
    void takeNoRecord(std::uint64_t begin, std::uint64_t end)
    {
        _known = _known && !find(field::CLASS_VERSIONS, begin, end);
    }

    /// What is left of a thumbnail, and perhaps hides what stood behind it.
    void takeThumbnail(std::uint64_t begin, std::uint64_t end)
    {
        _known = _known && end - begin < _mostThumbnail + LEAST_RECORD;
        takeNoRecord(begin, end);
    }

    /// Bytes in which there are none but destroyed items.
    void takeRemains(std::uint64_t begin, std::uint64_t end)
    {
        while (begin < end)
        {
            const auto record = find(field::CLASS_VERSIONS, begin, std::min(end, begin + _mostHeader + LEAST_RECORD));
            const auto thumbnail = find(field::THUMBNAIL, begin, std::min(end, begin + LEAST_RECORD));
            if (thumbnail && (!record || *thumbnail < *record))
            {
                return takeThumbnail(*thumbnail, end);
            }
            const std::uint64_t body = record ? bodyEnd(*record) : begin;
            if (body == record.value_or(begin))
            {
                _known = _known && !record && end - begin < LEAST_RECORD;
                return;
            }
            ++_next;
            begin = body;
        }
    }

    /// Where the tags and payloads of a record end that begin at a position; that itself if there are none.
    std::uint64_t bodyEnd(std::uint64_t position)
    {
        std::string text;
        while (true)
        {
            _in.clear();
            sdb::detail::seekTo(_in, position);
            std::uint64_t skipped = 0;
            const bool isTag =
                _in.peek() == '{' && sdb::detail::scanTag(_in, text, skipped) == sdb::detail::TagScan::Complete;
            _budget.pay(text.size()); // payloads may lead from many places to the same tags
            _known = _known && !_budget.isSpent();
            if (!isTag || !_known)
            {
                return position;
            }
            const Properties tag(text);
            const bool isBlock = tag.getString(key::DATA_FIELD) == field::BINARY_DATA;
            const auto end = sdb::detail::extentEnd(tag);
            if (!isTagOfRecord(tag) || (isBlock && !end))
            {
                return position;
            }
            position += text.size();
            position = isBlock ? std::max(position, *end) : position;
        }
    }

    /// Where a tag of a kind begins between two positions.
    std::optional<std::uint64_t> find(const char* kind, std::uint64_t begin, std::uint64_t end)
    {
        const std::string wanted = sdb::detail::beginningOfTag(kind);
        _in.clear();
        sdb::detail::seekTo(_in, begin);
        std::string last;
        for (; begin < end; ++begin)
        {
            const int next = _in.get();
            if (next == EOF)
            {
                break;
            }
            last.erase(0, last.size() == wanted.size() ? 1 : 0);
            last += static_cast<char>(next);
            if (last == wanted)
            {
                return begin + 1 - wanted.size();
            }
        }
        return std::nullopt;
    }

    std::istream& _in;
    ReadBudget _budget;               ///< for tags
    std::uint64_t _mostHeader = 0;    ///< bytes of the longest header of a record
    std::uint64_t _mostThumbnail = 0; ///< bytes of the largest thumbnail, with its tag
    std::vector<std::optional<std::size_t>> _res;
    std::size_t _next = 0; ///< number of the next record
    bool _known = true;    ///< whether that is certain
};

} // namespace

std::vector<std::optional<std::size_t>> recordNumbers(std::istream& in, const std::vector<FilePiece>& pieces)
{
    return Numbering(in, pieces).run(pieces);
}

} // namespace tavosce
