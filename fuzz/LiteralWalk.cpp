#include "LiteralWalk.h"

#include "core/Error.h"

#include <istream>

namespace fuzz
{

namespace
{

const std::string STRAY_TAG = "stray tag";

std::string blockLine(unsigned checksum, const Properties& tag)
{
    return "block " + std::to_string(checksum) + ' ' + tag.toString();
}

std::string recordLine(const Properties& header)
{
    return "record " + header.toString();
}

std::string thumbnailLine(const Properties& tag)
{
    return "thumbnail " + tag.toString();
}

class Walk
{
public:
    explicit Walk(std::istream& in)
        : _in(in)
    {
    }

    std::optional<WalkEvents> run()
    {
        Properties tag;
        while (_left > 0 && nextTag(tag) && visit(tag))
        {
        }
        return _left > 0 ? std::make_optional(std::move(_events)) : std::nullopt;
    }

private:
    bool nextTag(Properties& tag)
    {
        --_left;
        return _left > 0 && sdb::getNextProperty(_in, tag);
    }

    bool visit(const Properties& tag)
    {
        if (!tag.hasName("DataField"))
        {
            if (!tag.hasName("UUID"))
            {
                _events.push_back(STRAY_TAG);
            }
            return tag.hasName("UUID");
        }
        const std::string& kind = tag.getString("DataField");
        if (kind != "Header" && kind != "Thumbnail")
        {
            return true;
        }
        if (kind == "Header")
        {
            visitBlocks(tag);
            _in.clear();
        }
        _events.push_back(kind == "Header" ? recordLine(tag) : thumbnailLine(tag));
        sdb::internal::rewindToEndOfTag(_in, tag);
        return !_in.fail();
    }

    void visitBlocks(const Properties& header)
    {
        const std::uint64_t end = sdb::hexFromProp(header, "FilePos") + sdb::hexFromProp(header, "Length");
        _in.clear(_in.rdstate() & ~std::ios::eofbit);
        _in.seekg(static_cast<std::streamoff>(sdb::hexFromProp(header, "BinaryData")));
        Properties tag;
        while (!_in.fail() && static_cast<std::uint64_t>(_in.tellg()) < end && nextTag(tag) &&
               tag.getString("DataField") == "BinaryData")
        {
            const unsigned checksum =
                sdb::getChecksum(header.getString("SessionID"), tag.getString("ObjectKey"), tag.getString("Name"),
                                 static_cast<sdb::SDBTags>(tag.getInt("Tag")));
            _events.push_back(blockLine(checksum, tag));
            sdb::internal::rewindToEndOfTag(_in, tag);
        }
    }

    std::istream& _in;
    int _left = 2000;
    WalkEvents _events;
};

} // namespace

WalkEvents indexedEvents(std::istream& in)
{
    WalkEvents events;
    try
    {
        sdb::indexRecords(
            in, [&](const Properties& header) { events.push_back(recordLine(header)); },
            [&](unsigned checksum, const Properties& tag) { events.push_back(blockLine(checksum, tag)); },
            [&](const Properties& tag) { events.push_back(thumbnailLine(tag)); });
    }
    catch (const InternalError&)
    {
        events.push_back(STRAY_TAG);
    }
    return events;
}

std::optional<WalkEvents> literalEvents(std::istream& in)
{
    return Walk(in).run();
}

} // namespace fuzz
