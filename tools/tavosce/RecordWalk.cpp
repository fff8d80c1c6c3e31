#include "RecordWalk.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Extent.h"
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

class Walk
{
public:
    Walk(std::istream& in, const Properties& header, std::uint64_t fileSize)
        : _in(in)
        , _header(header)
        , _fileSize(fileSize)
        , _position(sdb::hexFromProp(header, key::FILE_POS))
    {
    }

    RecordContents run()
    {
        const auto end = sdb::detail::extentEnd(_header);
        if (!end || *end <= _position)
        {
            stop("the record was never finished");
            return std::move(_res);
        }
        _end = std::min(*end, _fileSize);
        Properties tag;
        if (readTag(tag) && tag != _header)
        {
            stop("the record's header is not where it says");
        }
        while (!_stopped && _position < _end && readTag(tag))
        {
            takeTag(tag);
        }
        if (!_stopped && *end > _fileSize)
        {
            stop("the record reaches beyond the end of the file");
        }
        return std::move(_res);
    }

private:
    void stop(const char* fault)
    {
        _res.fault = fault;
        _res.faultPosition = _position;
        _stopped = true;
    }

    /// Reads the tag that begins at the present position, and goes behind it.
    bool readTag(Properties& tag)
    {
        _in.clear();
        sdb::detail::seekTo(_in, _position);
        std::uint64_t skipped = 0;
        const TagScan scan = _in.peek() == '{' ? sdb::detail::scanTag(_in, _text, skipped) : TagScan::NoTag;
        _res.readTo = scan == TagScan::NoTag ? _position : _position + _text.size();
        if (scan != TagScan::Complete || _text.size() > _end - _position)
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
        if (kind == field::NODE)
        {
            enter(Nodes);
            _res.nodes.push_back(
                {tag.getString(key::OBJECT_KEY), tag.getProperties(key::PROPERTIES), _tagPosition, _position});
        }
        else if (kind == field::CLASS_VERSIONS)
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
        else if (kind == field::BINARY_DATA)
        {
            _stage = Blocks;
            takeBlock(tag);
        }
        else if (kind == field::HEADER || kind == field::THUMBNAIL)
        {
            _position = _tagPosition;
            stop("another item begins inside the record");
        }
        else
        {
            _res.oddities.push_back({_tagPosition, true});
        }
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
        if (!end || *end > _end || (*end < _position && !_res.blocks.back().shared))
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
    std::uint64_t _end = 0;         ///< of the record, or of the file if that comes first
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
    return Walk(in, header, fileSize).run();
}

} // namespace tavosce
