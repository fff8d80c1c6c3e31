#include "scenegraph/io/detail/Index.h"

#include "core/Error.h"
#include "scenegraph/io/detail/BlockWalk.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/ItemSearch.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/TagScan.h"
#include "scenegraphcommon/Logger.h"

#include <istream>
#include <optional>
#include <utility>

namespace sdb::detail
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDB";
constexpr Invariant EXPECT_HEADERS{"Expect to have only Headers here", "foundHeader", "SDB", 334};

LogSite unfinishedItem(Logger::Warning, SOURCE, 352);
LogSite spentBudget(Logger::Warning, SOURCE, 371);

/// One run over the top level of a file.
class Walk
{
public:
    /// Borrows everything; without a block callback there is no look at the blocks.
    Walk(std::istream& in, const RecordCallback& record, const BlockCallback* block, const ThumbnailCallback& thumbnail)
        : _in(in)
        , _record(record)
        , _block(block)
        , _thumbnail(thumbnail)
        , _fileSize(streamSize(in).value_or(0))
        , _budget(indexedBlocks(_fileSize))
    {
    }

    WalkResult run()
    {
        _in.seekg(0);
        while (readTag() && visitTag())
        {
        }
        return std::move(_result);
    }

private:
    bool readTag()
    {
        const std::uint64_t from = readPosition(_in);
        std::uint64_t skipped = 0;
        const TagScan scan = scanTag(_in, _text, skipped);
        _begin = from + skipped;
        _end = _begin + _text.size();
        if (scan != TagScan::Complete)
        {
            stopAtUnreadable(scan);
            return false;
        }
        _tag = Properties(_text);
        return true;
    }

    bool visitTag()
    {
        if (!_tag.hasName(key::DATA_FIELD))
        {
            return visitFileHeader();
        }
        const std::string& dataField = _tag.getString(key::DATA_FIELD);
        const bool isRecord = dataField == field::HEADER;
        const bool isItem = isRecord || dataField == field::THUMBNAIL;
        return !isItem || visitItem(isRecord);
    }

    bool visitFileHeader()
    {
        if (!_tag.hasName(key::UUID))
        {
            return stop(WalkEnd::StrayTag, _begin);
        }
        _result.lastItemEnd = _end;
        return true;
    }

    bool visitItem(bool isRecord)
    {
        const std::optional<std::uint64_t> end = finishedEnd(_tag, _end);
        if (!end.has_value())
        {
            return skipUnfinished();
        }
        _result.items.push_back(_begin);
        _result.lastItemEnd = *end;
        if (isRecord)
        {
            reportRecord(*end);
        }
        else
        {
            _thumbnail(_tag);
        }
        seekTo(_in, end);
        return !_in.fail() || stopAtEnd();
    }

    void reportRecord(std::uint64_t end)
    {
        if (_block != nullptr)
        {
            const BlockCallback block = *_block; // each record has a callback of its own, with what that remembers
            walkBlocks(_in, _tag, end, block, _budget);
            if (_budget.isSpent())
            {
                spentBudget.log("sdb::indexRecords: too many blocks, the rest of them is not looked at");
            }
            _in.clear(); // a damaged block hides no later record
        }
        _record(_tag);
    }

    /// Goes to the next item behind the unfinished one of the current tag.
    bool skipUnfinished()
    {
        unfinishedItem.log("sdb::indexRecords: the item at byte " + std::to_string(_begin) +
                           " was never finished and is left out");
        _result.unfinished.push_back(_begin);
        const std::optional<std::uint64_t> next = findItem(_in, _end);
        if (!next.has_value())
        {
            return stop(canBeCut() ? WalkEnd::UnfinishedItem : WalkEnd::Damage, _begin);
        }
        seekTo(_in, next);
        return true;
    }

    /// True if another item may take the place of the current one: there is a file header in front of it.
    bool canBeCut() const { return _result.lastItemEnd > 0; }

    void stopAtUnreadable(TagScan scan)
    {
        if (scan == TagScan::NoTag)
        {
            stopAtEnd();
            return;
        }
        const bool isCutItem =
            scan == TagScan::CutByEnd && beginsAsItem(_text) && canBeCut() && !findItem(_in, _begin + 1);
        stop(isCutItem ? WalkEnd::UnfinishedItem : WalkEnd::Damage, _begin);
    }

    bool stopAtEnd()
    {
        const bool isBeyond = _result.lastItemEnd > _fileSize;
        return isBeyond ? stop(WalkEnd::BeyondFile, _result.items.back()) : stop(WalkEnd::EndOfFile, _fileSize);
    }

    /// Always false: the walk does not go on.
    bool stop(WalkEnd end, std::uint64_t position)
    {
        _result.end = end;
        _result.position = position;
        return false;
    }

    std::istream& _in;
    const RecordCallback& _record;
    const BlockCallback* _block; ///< null if nobody asks for the blocks
    const ThumbnailCallback& _thumbnail;
    std::uint64_t _fileSize;
    BlockBudget _budget;

    std::string _text; ///< of the current tag
    Properties _tag;
    std::uint64_t _begin = 0; ///< first byte of the current tag
    std::uint64_t _end = 0;   ///< first byte after it

    WalkResult _result;
};

WalkResult index(std::istream& in, const RecordCallback& record, const BlockCallback* block,
                 const ThumbnailCallback& thumbnail)
{
    const std::uint64_t here = readPosition(in);
    WalkResult result = Walk(in, record, block, thumbnail).run();
    if (result.end == WalkEnd::StrayTag)
    {
        raise(EXPECT_HEADERS);
    }
    in.clear();
    seekTo(in, here);
    return result;
}

} // namespace

WalkResult walkFile(std::istream& in, const RecordCallback& record, const ThumbnailCallback& thumbnail)
{
    return Walk(in, record, nullptr, thumbnail).run();
}

WalkResult indexRecords(std::istream& in, const RecordCallback& record, const ThumbnailCallback& thumbnail)
{
    return index(in, record, nullptr, thumbnail);
}

WalkResult indexRecords(std::istream& in, const RecordCallback& record, const BlockCallback& block,
                        const ThumbnailCallback& thumbnail)
{
    return index(in, record, &block, thumbnail);
}

} // namespace sdb::detail

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes its callbacks by value
void sdb::indexRecords(std::istream& in, RecordCallback record, BlockCallback block, ThumbnailCallback thumbnail)
{
    detail::indexRecords(in, record, block, thumbnail);
}
