#pragma once

#include "scenegraph/io/SDB.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>

#include <zlib.h>

namespace sdb::detail
{

/// Called again and again while a block is read or written, with the number of bytes of its content since the last
/// call. What it throws ends the work and passes through; empty for nobody who wants to know.
using Pulse = std::function<void(std::uint64_t bytes)>;

/// What the first bytes of a block tell.
struct BlockFrame
{
    int method = -1;                ///< the first byte; -1 if there is none
    bool known = false;             ///< whether it is a CompressionMethods
    std::uint64_t uncompressed = 0; ///< bytes of the content
    std::uint64_t stored = 0;       ///< bytes of the whole block, its first included; 0 if the frame is cut off
};

/// Reads the frame of a block whose content should have `bytes` bytes, which is all that tells them where nothing is
/// compressed. Position and state of the stream afterwards are unspecified.
BlockFrame readFrame(std::istream& in, std::uint64_t bytes);

/// How the reading of a block came out.
enum class BlockResult
{
    Whole,        ///< sound, and its content has the expected length
    Longer,       ///< sound; the content goes on behind what was expected
    Shorter,      ///< sound; the content ends before
    WrongLengths, ///< the zlib stream is sound, but not as long as the block's frame says; the content is what came
    Damaged,      ///< zlib data that cannot be inflated to its end, whose checksum does not hold, or that is too long;
                  ///< or such data in memory without the method byte that says so
    CutOff,       ///< the stream ended, or failed
    UnknownMethod
};

/// True if the content is the one that was stored, as far as the block itself can tell.
bool isSound(BlockResult result);

/// Reads the content of one block piece by piece, from the frame at the position of the stream on. Messages are those
/// of sdb::readCompressed; a block that is longer than expected is a warning in the log.
class BlockReader
{
public:
    /// `expected` bytes of content are expected, more than 0. Stream and pulse are borrowed.
    BlockReader(std::istream& in, std::uint64_t expected, const Pulse& pulse);

    /// The next `size` bytes of the content; how many there were.
    std::uint64_t read(char* data, std::uint64_t size);

    /// Reads what is left of a compressed block, to say how it came out. The stream is behind the block then, if its
    /// frame tells where that is, else where reading stopped. Of a block that is not compressed all has to be read
    /// before.
    BlockResult finish();

    bool isCompressed() const { return _zlib.has_value(); }

    /// What the frame says of the length of the content.
    std::uint64_t statedLength() const { return _stated; }

    /// How many bytes of content have been read, those of `finish` included.
    std::uint64_t contentLength() const { return _length; }

private:
    static constexpr std::uint64_t SCRATCH_BYTES = 65536;

    struct Inflation
    {
        Inflation();
        ~Inflation();
        Inflation(const Inflation&) = delete;
        Inflation& operator=(const Inflation&) = delete;

        z_stream stream = {};
        bool ended = false;
        char scratch[SCRATCH_BYTES];
    };

    void readFrame();
    bool isCompressedBlock() const;
    void cutOff(std::uint64_t bytes);
    bool refill();
    std::uint64_t readRaw(char* data, std::uint64_t size);
    std::uint64_t inflateTo(char* data, std::uint64_t size);
    void skipCompressed();
    void inflateRest();

    std::istream& _in;
    const Pulse& _pulse;
    std::uint64_t _expected;
    std::uint64_t _stated = 0;         ///< see statedLength
    std::uint64_t _length = 0;         ///< see contentLength
    std::uint64_t _compressed = 0;     ///< bytes of the zlib stream, as the frame says
    std::uint64_t _compressedLeft = 0; ///< of these, how many have not been taken from the stream
    bool _wrongMethod = false;         ///< see isCompressedBlock
    BlockResult _failure = BlockResult::Whole;
    std::optional<Inflation> _zlib; ///< none where nothing is compressed
};

/// Reads one block into a destination of exactly `size` bytes, whatever the block's own header says: what it does not
/// provide is zero. Of no bytes nothing is read.
BlockResult readBlock(std::istream& in, char* data, std::uint64_t size, const Pulse& pulse = {});

/// A stream buffer that takes blocks as they are, before they are framed and compressed.
class BlockSink
{
public:
    virtual ~BlockSink() = default;

    /// False if it does not take the block.
    virtual bool takeBlock(const char* data, std::uint64_t size) = 0;
};

/// sdb::writeCompressed in pieces. Compressed bytes wait in memory until their number is known, unless the stream is an
/// OS::UpdateStream, which gets them at once and the number later. A stream whose buffer is a BlockSink hands that the
/// content.
bool writeBlock(std::ostream& out, const char* data, std::uint64_t size, tsg::CompressionMethods method,
                const Pulse& pulse);

} // namespace sdb::detail
