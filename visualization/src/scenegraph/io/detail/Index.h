#pragma once

#include "scenegraph/io/SDB.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace sdb::detail
{

/// How the walk over a file ended.
enum class WalkEnd
{
    EndOfFile,      ///< nothing but whole items, and unfinished ones that whole ones follow
    UnfinishedItem, ///< the rest of the file is an item that was never finished, its tag perhaps cut, and what follows
                    ///< it
    BeyondFile,     ///< the last whole item reaches beyond the end of the file
    Damage,         ///< the file goes on, but not with a tag that can be read, so that nothing behind can be found
    StrayTag        ///< at a tag that is neither a file header nor has "DataField"
};

struct WalkResult
{
    WalkEnd end = WalkEnd::EndOfFile;
    /// Where that is: EndOfFile - the size of the file; otherwise the first byte of the tag in question or of what
    /// cannot be read. An item that is written here after EndOfFile, and after UnfinishedItem once the file is cut
    /// here, is found by the next walk; after the other results an item at the end of the file would not be.
    std::uint64_t position = 0;
    /// First byte after the last whole item or file header; may lie beyond the end of the file.
    std::uint64_t lastItemEnd = 0;
    /// First bytes of the items that were reported, in order.
    std::vector<std::uint64_t> items;
    /// First bytes of the unfinished items at which the walk had to look for the next whole one, in order.
    std::vector<std::uint64_t> unfinished;
};

/// Walks a file as sdb::indexRecords describes, but raises nothing of its own and leaves the stream where the walk
/// ended; after StrayTag that is just after the tag.
WalkResult walkFile(std::istream& in, const RecordCallback& record, const ThumbnailCallback& thumbnail);

/// sdb::indexRecords without a look at the blocks, and with a result.
WalkResult indexRecords(std::istream& in, const RecordCallback& record, const ThumbnailCallback& thumbnail);

/// sdb::indexRecords with a result.
WalkResult indexRecords(std::istream& in, const RecordCallback& record, const BlockCallback& block,
                        const ThumbnailCallback& thumbnail);

} // namespace sdb::detail
