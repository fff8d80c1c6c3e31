#include "BlockCheck.h"

#include "BlockData.h"
#include "LibraryLog.h"
#include "Text.h"
#include "VtkMessages.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <cstddef>
#include <istream>
#include <string_view>

#include <vtkAbstractArray.h>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// What kind of finding a message of the polydata reader is; of none of these, the polydata is damaged.
constexpr struct
{
    std::string_view beginning;
    FindingCode code;
} DATASET_FINDINGS[] = {
    {"Cannot read dataset type:", FindingCode::DatasetSection},
    {"Unrecognized keyword:", FindingCode::DatasetSection},
    {"Unsupported cell attribute type:", FindingCode::DatasetSection},
    {"Unsupported point attribute type:", FindingCode::DatasetSection},
    {"Number of cells don't match ", FindingCode::DatasetCounts},
    {"Number of points don't match ", FindingCode::DatasetCounts},
    {"Cannot read vertices!", FindingCode::DatasetCells},
    {"Cannot read lines!", FindingCode::DatasetCells},
    {"Cannot read polygons!", FindingCode::DatasetCells},
    {"Cannot read triangle strips!", FindingCode::DatasetCells},
};

/// By sdb::SDBTags.
constexpr const char* KINDS[] = {"polydata",     "point array",  "cell array",   "field array",
                                 "node array 1", "node array 2", "node array 3", "node array 4"};

bool isKnown(int kind)
{
    return kind >= sdb::PolyData && kind <= sdb::NodeDataE;
}

/// The finding about a block; `detail` if more can be said than its kind says.
Finding about(const StoredBlock& block, FindingCode code, const std::string& detail = {})
{
    Finding res{code, block.tagPosition, detail, describeBlock(block)};
    res.objectKey = block.objectKey();
    return res;
}

std::int64_t valuesOf(const StoredBlock& block)
{
    return std::int64_t{block.tag.getInt(key::NUMBER_OF_COMPONENTS)} * block.tag.getInt(key::NUMBER_OF_TUPLES);
}

/// The sizes that a block, its tag and its array have to agree about. An array without bytes is stored as a method
/// byte, or as nothing at all.
std::vector<Finding> sizeFindings(std::istream& in, const StoredBlock& block)
{
    const std::int64_t values = valuesOf(block);
    const int width = tsg::detail::storedWidth(block.tag.getInt(key::DATA_TYPE));
    if (values < 0 || values > tsg::detail::MAX_STORED)
    {
        return {about(block, FindingCode::ArraySize)};
    }
    const std::uint64_t bytes = static_cast<std::uint64_t>(values) * static_cast<std::uint64_t>(width);
    in.clear();
    sdb::detail::seekTo(in, block.filePos);
    const sdb::detail::BlockFrame frame = sdb::detail::readFrame(in, bytes);
    if (!frame.known && block.length > 0)
    {
        return {about(block, FindingCode::BlockMethod, "unknown compression method " + std::to_string(frame.method))};
    }
    const bool agree = bytes == 0 ? block.length <= 1 : frame.stored == block.length && frame.uncompressed == bytes;
    if (agree)
    {
        return {};
    }
    const bool isLonger = bytes > 0 && frame.stored == block.length && frame.uncompressed > bytes &&
                          frame.uncompressed / sdb::detail::MOST_INFLATED <= frame.stored;
    return {about(block, isLonger ? FindingCode::BlockLonger : FindingCode::BlockSize,
                  "a block of " + counted(frame.uncompressed, "byte") + ", stored in " + std::to_string(frame.stored) +
                      ", where the tag says " + std::to_string(block.length) + " and the array has " +
                      std::to_string(bytes))};
}

/// An array that could not be begun may be one for which there is no room now, which is no finding about the file.
/// Takes as much room as it needs, and gives it back; throws std::bad_alloc.
void requireMemory(const StoredBlock& block)
{
    const auto width = vtkAbstractArray::GetDataTypeSize(block.tag.getInt(key::DATA_TYPE));
    std::string room;
    room.reserve(static_cast<std::size_t>(valuesOf(block)) * static_cast<std::size_t>(width) + block.length);
}

std::vector<Finding> arrayFindings(std::istream& in, const StoredBlock& block, const BlockData& data)
{
    if (!data.isEmpty())
    {
        return {};
    }
    const bool unread = in.tellg() == std::istream::pos_type(static_cast<std::istream::off_type>(block.filePos));
    if (unread)
    {
        requireMemory(block);
    }
    return {about(block, unread ? FindingCode::ArraySize : FindingCode::ZlibDamaged)};
}

FindingCode codeOf(const std::string& message)
{
    for (const auto& [beginning, code] : DATASET_FINDINGS)
    {
        if (message.compare(0, beginning.size(), beginning) == 0)
        {
            return code;
        }
    }
    return FindingCode::DatasetDamaged;
}

/// One finding: behind the first message the others are often its consequence.
std::vector<Finding> datasetFindings(const StoredBlock& block, const BlockData& data, VtkMessages& vtk, LibraryLog& log)
{
    std::vector<std::string> words = vtk.takeErrors();
    for (const auto& more : {vtk.takeWarnings(), log.take()})
    {
        words.insert(words.end(), more.begin(), more.end());
    }
    if (words.empty() && !data.isEmpty() && !data.isSeparated)
    {
        words.emplace_back("values without a line end behind them: their number or the name that follows is damaged");
    }
    if (words.empty() && !data.isEmpty())
    {
        return {};
    }
    const FindingCode code = words.empty() ? FindingCode::DatasetDamaged : codeOf(words.front());
    return {about(block, code, shown(joined(words)))};
}

} // namespace

std::string kindName(int kind)
{
    return isKnown(kind) ? KINDS[kind] : "block of unknown kind " + std::to_string(kind);
}

std::string blockName(const StoredBlock& block)
{
    return kindName(block.kind()) + (block.isArray() ? ' ' + inQuotes(block.name()) : "");
}

std::string describeBlock(const StoredBlock& block)
{
    return blockName(block) + " of " + shown(block.objectKey());
}

std::vector<Finding> framingFindings(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    const auto end = sdb::detail::extentEnd(block.tag);
    if (!end || *end > fileSize)
    {
        return {about(block, FindingCode::PayloadOutside)};
    }
    if (!isKnown(block.kind()))
    {
        return {about(block, FindingCode::BlockKind)};
    }
    if (!block.isArray())
    {
        return {};
    }
    const int type = block.tag.getInt(key::DATA_TYPE);
    if (!tsg::detail::isStorable(type))
    {
        return {about(block, FindingCode::ArrayType, "unknown data type " + std::to_string(type))};
    }
    return sizeFindings(in, block);
}

DecodedBlock decodeBlock(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    DecodedBlock res{framingFindings(in, block, fileSize)};
    if (gravest(res.findings) == Severity::Error)
    {
        return res;
    }
    VtkMessages vtk;
    LibraryLog log;
    const BlockData data = readBlockData(in, block, fileSize);
    const auto deeper = block.isArray() ? arrayFindings(in, block, data) : datasetFindings(block, data, vtk, log);
    res.findings.insert(res.findings.end(), deeper.begin(), deeper.end());
    res.uncheckedBytes = data.uncheckedBytes;
    return res;
}

std::string blockFault(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    for (const Finding& finding : decodeBlock(in, block, fileSize).findings)
    {
        if (finding.kind().severity == Severity::Error)
        {
            return finding.reason();
        }
    }
    return {};
}

} // namespace tavosce
