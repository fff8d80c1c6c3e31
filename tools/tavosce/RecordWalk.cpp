#include "RecordWalk.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/ItemSearch.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/TagScan.h"

#include <algorithm>
#include <istream>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;
namespace field = sdb::detail::field;
using sdb::detail::TagScan;

/// No tag of a record is shorter: of what lies within fewer bytes nothing can be missing.
constexpr std::uint64_t LEAST_TAG = sizeof(R"({"DataField":"Node"})") - 1;

class Walk
{
public:
    Walk(std::istream& in, const Properties& header, std::uint64_t begin, std::uint64_t fileSize)
        : _in(in)
        , _header(header)
        , _fileSize(fileSize)
        , _position(begin)
    {
        _res.begin = begin;
    }

    RecordContents run()
    {
        if (sdb::detail::isPending(_header))
        {
            stop("the record was never finished");
            return std::move(_res);
        }
        Properties placed = _header;
        placed.set(key::FILE_POS, sdb::detail::hexPosition(_position), Properties::Overwrite);
        _declared = sdb::detail::extentEnd(placed).value_or(_position);
        _isConfirmed = _declared == _fileSize || (_declared < _fileSize && sdb::detail::isItemAt(_in, _declared));
        _limit = _isConfirmed ? _declared : _fileSize;
        Properties tag;
        if (readTag(tag) && tag != _header)
        {
            stop(HEADER_ELSEWHERE);
        }
        _ownEnd = _position;
        _res.isInPlace = _stopped || sdb::detail::finishedEnd(_header, _position).has_value();
        while (!_stopped)
        {
            step();
        }
        checkPlace();
        return std::move(_res);
    }

private:
    void stop(const char* fault)
    {
        _res.fault = fault;
        _res.faultPosition = _position;
        _stopped = true;
    }

    void checkPlace()
    {
        if (!_res.fault.empty() || sdb::hexFromProp(_header, key::FILE_POS) == _res.begin)
        {
            return;
        }
        _res.isInPlace = false;
        const std::uint64_t blocks = _res.blocks.empty() ? _res.end : _res.blocks.front().tagPosition;
        if (sdb::hexFromProp(_header, key::BINARY_DATA) != blocks)
        {
            _position = _res.begin;
            stop(HEADER_ELSEWHERE);
        }
    }

    /// The record ends at the present position, apart from foreign tags.
    void finish()
    {
        _res.end = _ownEnd;
        _res.lengthIsRight = _isConfirmed || _position == _declared;
        _stopped = true;
    }

    void step()
    {
        Properties tag;
        if (_position == _declared && (_isConfirmed || !goesOn()))
        {
            finish();
        }
        else if (_position >= _limit)
        {
            _declared < _position + LEAST_TAG ? finish() : stop("the record reaches beyond the end of the file");
        }
        else if (readTag(tag))
        {
            takeTag(tag);
        }
    }

    /// True if a tag stands here that comes next in this record.
    bool goesOn()
    {
        static const std::string FIRSTS[] = {sdb::detail::beginningOfTag(field::CLASS_VERSIONS),
                                             sdb::detail::beginningOfTag(field::NODE),
                                             sdb::detail::beginningOfTag(field::BINARY_DATA)};
        const std::string next = peek(FIRSTS[ClassVersions].size()); // the longest of them
        const auto isNext = [&](Stage stage)
        { return stage >= _stage && next.compare(0, FIRSTS[stage].size(), FIRSTS[stage]) == 0; };
        return isNext(ClassVersions) || isNext(Nodes) || isNext(Blocks);
    }

    /// Up to so many of the bytes that come next.
    std::string peek(std::size_t count)
    {
        std::string res(count, '\0');
        _in.clear();
        sdb::detail::seekTo(_in, _position);
        _in.read(res.data(), static_cast<std::streamsize>(count));
        res.resize(static_cast<std::size_t>(_in.gcount()));
        return res;
    }

    /// True if too few bytes for a tag stand here, and behind them another item or the end of the file.
    bool endsSoon()
    {
        const std::string rest = peek(LEAST_TAG);
        const std::size_t brace = std::min(rest.find('{'), rest.size());
        if (brace == rest.size())
        {
            return brace < LEAST_TAG && _declared < _position + LEAST_TAG;
        }
        return sdb::detail::isItemAt(_in, _position + brace) && (!_isConfirmed || _position + brace == _declared);
    }

    /// Reads the tag that begins at the present position, and goes behind it.
    bool readTag(Properties& tag)
    {
        _in.clear();
        sdb::detail::seekTo(_in, _position);
        std::uint64_t skipped = 0;
        const TagScan scan = _in.peek() == '{' ? sdb::detail::scanTag(_in, _text, skipped) : TagScan::NoTag;
        _res.readTo = scan == TagScan::NoTag ? _position : _position + _text.size();
        if (scan == TagScan::NoTag && _ownEnd > 0 && endsSoon())
        {
            finish();
            return false;
        }
        if (scan != TagScan::Complete || _text.size() > _limit - _position)
        {
            stop(scan == TagScan::NoTag ? "bytes that belong to no tag" : "a tag that is cut off");
            return false;
        }
        tag = Properties(_text);
        if (tag.empty())
        {
            stop("a tag that cannot be read");
            return false;
        }
        _tagPosition = _position;
        _position += _text.size();
        return true;
    }

    /// What stands in a record, one after the other.
    enum Stage
    {
        ClassVersions,
        Nodes,
        Blocks
    };

    void enter(Stage stage)
    {
        if (stage < _stage)
        {
            _res.oddities.push_back({_tagPosition, false});
        }
        _stage = std::max(stage, _stage);
    }

    void takeTag(const Properties& tag)
    {
        const std::string& kind = tag.getString(key::DATA_FIELD);
        if (kind == field::HEADER || kind == field::THUMBNAIL)
        {
            const bool isInItsPlace =
                sdb::hexFromProp(tag, key::FILE_POS) == (kind == field::HEADER ? _tagPosition : _position);
            _position = _tagPosition;
            isInItsPlace && !_isConfirmed ? finish() : stop("another item begins inside the record");
            return;
        }
        if (isForeign(tag))
        {
            _foreign.push_back({_tagPosition, true});
            return;
        }
        _res.oddities.insert(_res.oddities.end(), _foreign.begin(), _foreign.end());
        _foreign.clear();
        takeOwnTag(tag, kind);
        _ownEnd = _position;
    }

    /// True if a tag is none of a record, nor one of which only the kind is damaged.
    static bool isForeign(const Properties& tag)
    {
        return tag.hasName(key::DATA_FIELD) && !isTagOfRecord(tag) && !tag.hasName(key::OBJECT_KEY) &&
               !tag.hasName(key::VERSIONS);
    }

    /// True if a tag is one of a record, with what nothing else in the file can replace.
    static bool isComplete(const Properties& tag, const std::string& kind)
    {
        if (!isTagOfRecord(tag))
        {
            return false;
        }
        if (kind == field::CLASS_VERSIONS)
        {
            return tag.hasName(key::VERSIONS);
        }
        const bool isNamed = kind == field::NODE ? tag.hasName(key::PROPERTIES)
                                                 : tag.getInt(key::TAG) == sdb::PolyData || tag.hasName(key::NAME);
        return tag.hasName(key::OBJECT_KEY) && isNamed;
    }

    void takeOwnTag(const Properties& tag, const std::string& kind)
    {
        if (!isComplete(tag, kind))
        {
            _res.oddities.push_back({_tagPosition, true});
        }
        if (kind == field::NODE)
        {
            enter(Nodes);
            _res.nodes.push_back(
                {tag.getString(key::OBJECT_KEY), tag.getProperties(key::PROPERTIES), _tagPosition, _position});
        }
        else if (kind == field::CLASS_VERSIONS)
        {
            takeClassVersions(tag);
        }
        else if (kind == field::BINARY_DATA)
        {
            _stage = Blocks;
            takeBlock(tag);
        }
    }

    void takeClassVersions(const Properties& tag)
    {
        if (!_res.classVersionTags.empty())
        {
            _res.oddities.push_back({_tagPosition, true});
        }
        enter(ClassVersions);
        _stage = std::max(_stage, Nodes); // there is only one such tag
        _res.classVersionTags.emplace_back(_tagPosition, _position);
        _res.classVersions = tag.getProperties(key::VERSIONS);
    }

    void takeBlock(const Properties& tag)
    {
        StoredBlock block{tag, _tagPosition, _position, sdb::hexFromProp(tag, key::FILE_POS),
                          sdb::hexFromProp(tag, key::LENGTH)};
        block.shared = block.filePos < _tagPosition;
        const auto end = sdb::detail::extentEnd(tag);
        if (block.filePos == 0)
        {
            stop("a block that was never finished");
            return;
        }
        _res.blocks.push_back(std::move(block));
        if (!end || *end > _limit || (*end < _position && !_res.blocks.back().shared))
        {
            stop("a block whose payload is not in the record");
        }
        else if (!_res.blocks.back().shared)
        {
            _position = *end;
        }
    }

    std::istream& _in;
    const Properties& _header;
    std::uint64_t _fileSize;
    std::uint64_t _position;
    std::uint64_t _tagPosition = 0; ///< of the tag read last
    std::uint64_t _declared = 0;    ///< the end that the header tells
    bool _isConfirmed = false;      ///< whether another item, or the end of the file, is there
    std::uint64_t _limit = 0;       ///< nothing of the record lies behind it
    std::uint64_t _ownEnd = 0;      ///< first byte behind the last tag or payload that is no foreign one
    std::vector<Oddity> _foreign;   ///< tags since then
    std::string _text;
    Stage _stage = ClassVersions;
    bool _stopped = false;
    RecordContents _res;
};

} // namespace

bool isTagOfRecord(const Properties& tag)
{
    const std::string& kind = tag.getString(key::DATA_FIELD);
    return kind == field::CLASS_VERSIONS || kind == field::NODE || kind == field::BINARY_DATA;
}

std::string StoredBlock::objectKey() const
{
    return tag.getString(key::OBJECT_KEY);
}

std::string StoredBlock::name() const
{
    return tag.getString(key::NAME);
}

int StoredBlock::kind() const
{
    return tag.getInt(key::TAG);
}

RecordContents walkRecord(std::istream& in, const Properties& header, std::uint64_t fileSize)
{
    return walkRecordAt(in, header, sdb::hexFromProp(header, key::FILE_POS), fileSize);
}

RecordContents walkRecordAt(std::istream& in, const Properties& header, std::uint64_t begin, std::uint64_t fileSize)
{
    return Walk(in, header, begin, fileSize).run();
}

} // namespace tavosce
