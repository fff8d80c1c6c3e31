#include "BlockCheck.h"

#include "LibraryLog.h"
#include "Text.h"
#include "VtkMessages.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <istream>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// By sdb::SDBTags.
constexpr const char* KINDS[] = {"polydata",     "point array",  "cell array",   "field array",
                                 "node array 1", "node array 2", "node array 3", "node array 4"};

bool isKnown(int kind)
{
    return kind >= sdb::PolyData && kind <= sdb::NodeDataE;
}

/// What the block's first byte and its decoding say.
std::string decodingFault(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    sdb::detail::MemoryBudget budget(sdb::detail::loadMemory(fileSize));
    in.clear();
    sdb::detail::seekTo(in, block.filePos);
    const int method = in.peek();
    const auto fill = [&](char* data, std::uint64_t bytes) { return sdb::detail::readBlock(in, data, bytes, budget); };
    const std::int64_t components = block.tag.getInt(key::NUMBER_OF_COMPONENTS);
    const std::int64_t values = components * block.tag.getInt(key::NUMBER_OF_TUPLES);
    const LibraryLog log;
    if (tsg::detail::makeStoredArray(block.tag.getInt(key::DATA_TYPE), components, values, budget, fill) != nullptr)
    {
        return {};
    }
    if (in.eof())
    {
        return "the payload is cut off";
    }
    if (method != static_cast<int>(tsg::CompressionMethods::None) &&
        method != static_cast<int>(tsg::CompressionMethods::Zlib))
    {
        return "unknown compression method " + std::to_string(method);
    }
    return in.tellg() == std::istream::pos_type(static_cast<std::istream::off_type>(block.filePos))
               ? "impossible size of the array"
               : "zlib data damaged";
}

} // namespace

std::string describeBlock(const StoredBlock& block)
{
    const int kind = block.kind();
    std::string res = isKnown(kind) ? KINDS[kind] : "block of unknown kind " + std::to_string(kind);
    if (block.isArray())
    {
        res += ' ' + inQuotes(block.name());
    }
    return res + " of " + shown(block.objectKey());
}

std::string blockFault(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    const auto end = sdb::detail::extentEnd(block.tag);
    if (!end || *end > fileSize)
    {
        return "the payload reaches beyond the end of the file";
    }
    if (!isKnown(block.kind()))
    {
        return "no kind of block has this number";
    }
    if (!block.isArray())
    {
        return {};
    }
    const int type = block.tag.getInt(key::DATA_TYPE);
    return tsg::detail::isStorable(type) ? decodingFault(in, block, fileSize)
                                         : "unknown data type " + std::to_string(type);
}

} // namespace tavosce
