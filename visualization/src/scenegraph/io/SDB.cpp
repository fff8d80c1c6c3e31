#include "scenegraph/io/SDB.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagScan.h"

#include <cstdlib>
#include <istream>

#include <zlib.h>

namespace sdb
{

bool internal::getNextPropertyTag(std::istream& in, std::string& text)
{
    std::string tag;
    std::uint64_t skipped = 0;
    if (detail::scanTag(in, tag, skipped) != detail::TagScan::Complete)
    {
        return false;
    }
    text = tag;
    return true;
}

void internal::rewindToEndOfTag(std::istream& in, const Properties& tag)
{
    detail::seekTo(in, detail::extentEnd(tag));
}

bool getNextProperty(std::istream& in, Properties& properties)
{
    std::string text;
    const bool found = internal::getNextPropertyTag(in, text);
    properties = Properties(text);
    return found;
}

std::uint64_t hexFromProp(const Properties& properties, const std::string& key)
{
    return std::strtoull(properties.getString(key).c_str(), nullptr, 16);
}

unsigned int getChecksum(const std::string& sessionId, const std::string& objectKey, const std::string& arrayName,
                         SDBTags tag)
{
    const std::string owner = sessionId + objectKey + arrayName + std::to_string(static_cast<int>(tag));
    return static_cast<unsigned int>(
        crc32(0, reinterpret_cast<const Bytef*>(owner.data()), static_cast<uInt>(owner.size())));
}

} // namespace sdb
