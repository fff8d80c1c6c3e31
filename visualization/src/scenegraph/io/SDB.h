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
/// directory numbers its kinds differently.
enum SDBTags
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

/// Orders nodes by the bytes of their object keys; nodes with equal keys count as the same.
struct TAVO_EXPORT ByObjectKey
{
    bool operator()(const tsg::Node* left, const tsg::Node* right) const;
};

using NodeSet = std::set<tsg::Node*, ByObjectKey>;

// --- Property tags ---------------------------------------------------------------------------------------------------

/// Reads the next property tag as properties.
///   true  - `properties` holds the tag; the stream is just after its "}"
///   false - no complete tag: end of stream, a line break inside it, or a tag beyond the limit; `properties` is empty
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
///   false - no complete tag (end of stream, a line break inside it, or more than 64 MiB); `text` is unchanged
TAVO_EXPORT bool getNextPropertyTag(std::istream& in, std::string& text);

/// Goes to the end of what a tag describes, "FilePos" + "Length". Clears only the end-of-file bit; a place that is no
/// stream position sets the fail bit.
TAVO_EXPORT void rewindToEndOfTag(std::istream& in, const Properties& tag);

} // namespace internal

// --- Blocks ----------------------------------------------------------------------------------------------------------

/// Writes `size` bytes as one block.
///   true  - the block is written and the stream good
///   false - unknown method (logged), zlib failure, or a failed stream; the method byte is already written
/// A block of no bytes is the method byte alone, and is logged as suspicious.
TAVO_EXPORT bool writeCompressed(std::ostream& out, const char* data, std::uint64_t size,
                                 tsg::CompressionMethods method);

/// Reads one block. `data` has to hold `size` bytes and, for a compressed block, as many as the block's own header says,
/// which decides how many are produced. Reading 0 bytes consumes nothing, not even the method byte.
///   true  - `data` holds the bytes; the stream is just after the block
///   false - unknown method or short read (both logged), or damaged zlib data; the stream is where reading stopped
TAVO_EXPORT bool readCompressed(std::istream& in, char* data, std::uint64_t size);

// --- File header -----------------------------------------------------------------------------------------------------

/// Writes the file header tag and a line feed at the current position, and flushes.
TAVO_EXPORT void writeHeader(std::ostream& out);

/// Whether a file header carries the identifier of the container format.
TAVO_EXPORT bool isUuidCorrect(const Properties& header);

/// The container format version of a file header; false and the largest int if it has none.
TAVO_EXPORT bool fileFormatVersion(const Properties& header, int& version);

/// The release that wrote the file, taken from "ReleaseNumber" or else from "ProductName"; empty if neither tells.
TAVO_EXPORT std::string tavoFlowReleaseNumber(const Properties& header);

/// Reads the file header tag at the current position and decides whether the file can be read. A refusal is one line on
/// `messages`. The second form delivers the writing release when the file is of this format and version, whether or not
/// that release is compatible; otherwise `releaseNumber` is left alone.
TAVO_EXPORT bool checkFormat(std::istream& in, std::ostream& messages);
TAVO_EXPORT bool checkFormat(std::istream& in, std::ostream& messages, std::string& releaseNumber);

// --- Index -----------------------------------------------------------------------------------------------------------

using RecordCallback = std::function<void(const Properties& header)>;
using BlockCallback = std::function<void(unsigned int checksum, const Properties& tag)>;
using ThumbnailCallback = std::function<void(const Properties& tag)>;

/// Walks the top level of a file from byte 0 and reports, in file order, the blocks of each record before the record
/// itself, and the thumbnails. Stream state and position are restored on return. Callbacks may throw.
/// Raises InternalError "Expect to have only Headers here" at a top-level tag that is neither a file header nor has
/// "DataField"; the state and position of the stream are then as the walk left them. Otherwise it ends quietly at the
/// first unreadable tag. A record or thumbnail that was never finished is not reported, with one warning in the log.
TAVO_EXPORT void indexRecords(std::istream& in, RecordCallback record, BlockCallback block,
                              ThumbnailCallback thumbnail);

/// Reads the pixels of a thumbnail into the bitmap, which takes the tag's size. At most the bitmap's bytes are read; what
/// is missing is zero. The stream position is restored.
TAVO_EXPORT void getThumbnailData(std::istream& in, const Properties& tag, tsg::Bitmap<3>& bitmap);

/// Adds the node and every node that can be reached from it, each object key once. Raises InternalError for a reference
/// that is empty or no node.
TAVO_EXPORT void collectAllNodes(tsg::Node& root, NodeSet& nodes);

// --- Files -----------------------------------------------------------------------------------------------------------

/// Moves a file to a temporary name and has it deleted once nobody reads it any more. False when either failed.
TAVO_EXPORT bool renameToTempAndMarkForDeletion(const std::wstring& path);

/// Opens a file for reading such that others may rename or delete it. Never an empty pointer; not open on failure.
TAVO_EXPORT std::unique_ptr<std::ifstream> binaryIfstreamShareDelete(const std::wstring& path);

} // namespace sdb
