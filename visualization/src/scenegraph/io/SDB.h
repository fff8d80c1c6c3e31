#pragma once

#include "core/Export.h"
#include "core/Properties.h"
#include "scenegraphcommon/Bitmap.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <iosfwd>
#include <memory>
#include <set>
#include <string>

namespace tsg
{

class Node;

/// How the bytes of a block are stored: the block's first byte in the file, never to be renumbered.
enum class CompressionMethods : unsigned char
{
    None = 0, ///< as they are
    Zlib = 1  ///< as one zlib stream
};

} // namespace tsg

/// The container of the scene database: docs/formats/sdb-file.md and docs/formats/block.md describe the bytes.
namespace sdb
{

/// Highest container format version that is read, and the one that is written.
TAVO_EXPORT extern const int FILE_FORMAT_VERSION;

/// Kind of a binary data block. Stored in the block's tag and part of its checksum: never to be renumbered. The scene
/// directory numbers its kinds differently. A file may hold any number here, hence the fixed type.
enum SDBTags : int
{
    PolyData = 0,
    PointData = 1,
    CellData = 2,
    NodeDataA = 3, ///< node data with NodeStream::DataTag 7
    NodeDataB = 4, ///< node data with NodeStream::DataTag 1
    NodeDataC = 5, ///< node data with NodeStream::DataTag 2
    NodeDataD = 6, ///< node data with NodeStream::DataTag 3
    NodeDataE = 7  ///< node data with NodeStream::DataTag 4
};

/// Orders nodes by the bytes of their object keys; nodes with equal keys count as the same. Node tags and blocks of a
/// record are written in this order.
struct TAVO_EXPORT ByObjectKey
{
    bool operator()(const tsg::Node* left, const tsg::Node* right) const;
};

using NodeSet = std::set<tsg::Node*, ByObjectKey>;

// --- Property tags ---------------------------------------------------------------------------------------------------

/// Reads the next property tag as properties.
///   true  - `properties` holds the tag, empty if its text is no record; the stream is just after its "}"
///   false - no complete tag (see internal::getNextPropertyTag); `properties` is empty
TAVO_EXPORT bool getNextProperty(std::istream& in, Properties& properties);

/// The unsigned number that the string under `key` denotes in base 16, as strtoull reads it; 0 if it denotes none.
TAVO_EXPORT std::uint64_t hexFromProp(const Properties& properties, const std::string& key);

/// Identifies a block by its owner: zlib's crc32 of session id, object key, array name and the tag's decimal digits.
TAVO_EXPORT unsigned int getChecksum(const std::string& sessionId, const std::string& objectKey,
                                     const std::string& arrayName, SDBTags tag);

namespace internal
{

/// Finds the next property tag, skipping any bytes before its "{".
///   true  - `text` holds the tag, braces included; the stream is just after the "}"
///   false - no complete tag; `text` is unchanged. At the end of the stream, inside a tag or before one, its
///   end-of-file
///           and fail bits are set; after a line break inside a tag, or 64 MiB of one, it is good and just after that.
/// A failing device sets the bad bit.
TAVO_EXPORT bool getNextPropertyTag(std::istream& in, std::string& text);

/// Goes to the end of what a tag describes, "FilePos" + "Length"; missing keys count as 0. Clears only the end-of-file
/// bit; a sum that is no stream position sets the fail bit. For a block that is shared with an earlier record that end
/// lies before the tag.
TAVO_EXPORT void rewindToEndOfTag(std::istream& in, const Properties& tag);

} // namespace internal

// --- Blocks ----------------------------------------------------------------------------------------------------------

/// Writes `size` bytes as one block.
///   true  - the block is written and the stream good
///   false - unknown method (logged), zlib failure, or a failed stream; the method byte is already written
/// A block of no bytes is the method byte alone, and is logged as suspicious.
TAVO_EXPORT bool writeCompressed(std::ostream& out, const char* data, std::uint64_t size,
                                 tsg::CompressionMethods method);

/// Reads one block. `data` has to hold `size` bytes and, for a compressed block, as many as the block's own header
/// says, which decides how many are produced. Reading 0 bytes consumes nothing, not even the method byte.
///   true  - `data` holds the bytes; the stream is just after the block
///   false - unknown method or short read (both logged), or damaged zlib data; the stream is where reading stopped
TAVO_EXPORT bool readCompressed(std::istream& in, char* data, std::uint64_t size);

// --- File header -----------------------------------------------------------------------------------------------------

/// Writes the file header tag and a line feed at the current position, and flushes.
TAVO_EXPORT void writeHeader(std::ostream& out);

/// True if a file header carries the identifier of the container format.
TAVO_EXPORT bool isUuidCorrect(const Properties& header);

/// The container format version of a file header; false and the largest int if it has none.
TAVO_EXPORT bool fileFormatVersion(const Properties& header, int& version);

/// The release that wrote the file, taken from "ReleaseNumber" or else from "ProductName"; empty if neither tells.
TAVO_EXPORT std::string tavoFlowReleaseNumber(const Properties& header);

/// Reads the file header tag at the current position and decides whether the file can be read; the stream is left just
/// after the tag. A refusal is one line on `messages`. The second form delivers the writing release when the file is of
/// this format and version, whether or not that release is compatible; otherwise `releaseNumber` is left alone.
TAVO_EXPORT bool checkFormat(std::istream& in, std::ostream& messages);
TAVO_EXPORT bool checkFormat(std::istream& in, std::ostream& messages, std::string& releaseNumber);

// --- Index -----------------------------------------------------------------------------------------------------------

using RecordCallback = std::function<void(const Properties& header)>;
using BlockCallback = std::function<void(unsigned int checksum, const Properties& tag)>;
using ThumbnailCallback = std::function<void(const Properties& tag)>;

/// Walks the top level of a file from byte 0 and reports, in file order, the blocks of each record before the record
/// itself, and the thumbnails. On return the stream is good and back at its position. Callbacks may throw; an empty one
/// raises std::bad_function_call at its first event.
/// Raises InternalError "Expect to have only Headers here" at a top-level tag that is neither a file header nor has
/// "DataField"; the stream is then just after that tag. Otherwise it ends quietly at the first unreadable tag.
/// A record or thumbnail that was never finished is not reported, with one warning in the log.
/// The blocks of a record are followed from "BinaryData" on, each to the end of its payload, shared payloads included:
/// behind one of those the blocks of the earlier record are reported, until a tag comes up that is none or was seen.
TAVO_EXPORT void indexRecords(std::istream& in, RecordCallback record, BlockCallback block,
                              ThumbnailCallback thumbnail);

/// Reads the pixels of a thumbnail into the bitmap, which takes the tag's size: 0 x 0 if that is beyond a bitmap's
/// limits or out of all proportion to the file. At most the bitmap's bytes are read; what is missing is zero. The
/// stream comes back as it was, except for its end-of-file bit, which is cleared.
TAVO_EXPORT void getThumbnailData(std::istream& in, const Properties& tag, tsg::Bitmap<3>& bitmap);

/// Adds the node and every node that can be reached from it, depth first; the first node met under a key is the one
/// that is kept, and what the others refer to is not visited. Raises InternalError for a reference that is empty or no
/// node. After any exception the set is as it was before.
TAVO_EXPORT void collectAllNodes(tsg::Node& root, NodeSet& nodes);

// --- Files -----------------------------------------------------------------------------------------------------------

/// Moves a regular file to a temporary name beside it and has it deleted once nobody reads it any more. False when
/// there is no such file or it could not be moved, and it is untouched; or when it could not be marked, and it stays
/// under the temporary name.
TAVO_EXPORT bool renameToTempAndMarkForDeletion(const std::wstring& path);

/// Opens a file for reading such that others may rename or delete it. Never an empty pointer; not open on failure.
TAVO_EXPORT std::unique_ptr<std::ifstream> binaryIfstreamShareDelete(const std::wstring& path);

} // namespace sdb
