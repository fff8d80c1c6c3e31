#pragma once

#include "core/Properties.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace tavosce
{

/// A node tag of a record.
struct StoredNode
{
    std::string objectKey;
    Properties properties;
    std::uint64_t tagPosition = 0;
    std::uint64_t tagEnd = 0;
};

/// A binary data tag of a record.
struct StoredBlock
{
    Properties tag;
    std::uint64_t tagPosition = 0;
    std::uint64_t tagEnd = 0;
    std::uint64_t filePos = 0; ///< of the payload
    std::uint64_t length = 0;  ///< of the payload
    bool shared = false;       ///< the payload lies before the tag, where an earlier block stored it

    std::string objectKey() const;
    std::string name() const;
    int kind() const; ///< sdb::SDBTags, or whatever the file says

    bool isArray() const { return kind() != 0; }
};

/// A tag that says nothing, or stands where no writer puts it.
struct Oddity
{
    std::uint64_t position;
    bool isUnknown; ///< of no known kind, one too many or not complete; otherwise only its place is wrong
};

/// True if a tag is of a kind that stands in records only.
bool isTagOfRecord(const Properties& tag);

/// The fault of a record whose header has another place, which may be a whole record's.
constexpr const char* HEADER_ELSEWHERE = "the record's header is not where it says";

/// What a record holds, as far as its tags can be read.
struct RecordContents
{
    Properties classVersions;                                              ///< class name to version
    std::vector<std::pair<std::uint64_t, std::uint64_t>> classVersionTags; ///< first byte of each tag, and behind it
    std::vector<StoredNode> nodes;
    std::vector<StoredBlock> blocks;
    std::vector<Oddity> oddities;    ///< what no writer leaves like that, although it can be read
    std::uint64_t end = 0;           ///< first byte behind its last tag or payload; 0 where there is a fault
    std::uint64_t begin = 0;         ///< first byte of its header
    bool isInPlace = true;           ///< whether readers get from the header to the record
    bool lengthIsRight = true;       ///< whether the header tells that end, foreign tags behind it perhaps included
    std::string fault;               ///< empty if the record is whole; otherwise why the walk ended early
    std::uint64_t faultPosition = 0; ///< where that is
    std::uint64_t readTo = 0;        ///< up to where the walk has read then, which may be far behind
};

/// Walks the tags of one record, from its header to its end. Unlike the library's index, which jumps back where a block
/// is shared, this reports every block. The walk goes through the record once and ends at the first thing that is not
/// as a writer leaves it, so that no payload is ever taken for tags. Where nothing confirms the end that the header
/// tells, which is an item or the end of the file, the tags tell it: they follow one another without a gap, up to
/// another item or the end of the file.
RecordContents walkRecord(std::istream& in, const Properties& header, std::uint64_t fileSize);

/// The same for a header that stands at `begin`, wherever it says that it does. If its place is another one, what it
/// says of its blocks has to confirm that it belongs here, and not into another file that was joined to this one.
RecordContents walkRecordAt(std::istream& in, const Properties& header, std::uint64_t begin, std::uint64_t fileSize);

} // namespace tavosce
