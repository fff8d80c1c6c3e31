#include "scenegraph/io/detail/Blocks.h"

#include "scenegraph/io/detail/MemoryStream.h"
#include "scenegraphcommon/Logger.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <zlib.h>

namespace sdb
{

namespace
{

using tsg::CompressionMethods;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDB";
constexpr std::uint64_t SCRATCH_BYTES = 65536;
constexpr std::uint64_t GROWTH_STEP = 4096;
constexpr std::size_t SIZES_BYTES = 16; ///< uncompressed and compressed length in front of a zlib stream

LogSite zeroLengthWrite(Logger::Warning, SOURCE, 61);
LogSite unknownMethodOnWrite(Logger::Failure, SOURCE, 102);
LogSite failedRead(Logger::Failure, SOURCE, 130);
LogSite unknownMethodOnRead(Logger::Failure, SOURCE, 168);
LogSite longerBlock(Logger::Warning, SOURCE, 175);

void putLittleEndian64(char* bytes, std::uint64_t value)
{
    for (int i = 0; i < 8; ++i)
    {
        bytes[i] = static_cast<char>(value >> (8 * i));
    }
}

std::uint64_t littleEndian64(const char* bytes)
{
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
    {
        value |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    return value;
}

/// Scratch memory of a call: a fixed area for blocks up to 64 KiB, one heap buffer for larger ones.
class Scratch
{
public:
    char* take(std::uint64_t size)
    {
        if (size <= SCRATCH_BYTES)
        {
            return _area;
        }
        _heap.reset();
        _heap.reset(new char[size]);
        return _heap.get();
    }

private:
    char _area[SCRATCH_BYTES];
    std::unique_ptr<char[]> _heap;
};

/// zlib's lengths are 32 bits wide in this format.
uLong zlibLength(std::uint64_t length)
{
    return static_cast<std::uint32_t>(length);
}

bool writeZlib(std::ostream& out, const char* data, std::uint64_t size)
{
    Scratch scratch;
    std::uint64_t capacity = std::max(size, SCRATCH_BYTES);
    const auto* const source = reinterpret_cast<const Bytef*>(data);
    for (;;)
    {
        char* const compressed = scratch.take(capacity);
        uLongf length = zlibLength(capacity);
        const int result = compress(reinterpret_cast<Bytef*>(compressed), &length, source, zlibLength(size));
        if (result == Z_OK)
        {
            char sizes[SIZES_BYTES];
            putLittleEndian64(sizes, size);
            putLittleEndian64(sizes + 8, length);
            out.write(sizes, SIZES_BYTES);
            out.write(compressed, static_cast<std::streamsize>(length));
            return out.good();
        }
        const std::uint64_t grown = capacity * 3 / 2 / GROWTH_STEP * GROWTH_STEP + GROWTH_STEP;
        if (result != Z_BUF_ERROR || grown > UINT32_MAX)
        {
            return false;
        }
        capacity = grown;
    }
}

bool reportFailedRead(std::uint64_t size)
{
    failedRead.log("sdb::readCompressed: failed to read " + std::to_string(size) + " bytes from input stream!");
    return false;
}

/// Reads the next `size` bytes; `got` is how many of them there were.
bool readRaw(std::istream& in, char* data, std::uint64_t size, std::uint64_t& got)
{
    const bool countable = size <= static_cast<std::uint64_t>(INT64_MAX);
    const bool complete = countable && in.read(data, static_cast<std::streamsize>(size));
    got = countable ? static_cast<std::uint64_t>(in.gcount()) : 0;
    return complete || reportFailedRead(size);
}

/// Where a block goes.
struct Destination
{
    char* data;
    std::uint64_t size;
    bool trusted;             ///< the block's own length decides, as the caller has promised room for it
    std::uint64_t filled = 0; ///< how many bytes the block has provided
};

/// The compressed bytes of a block: where they lie if the stream reads from memory, or else in scratch memory, which is
/// charged for as long as this object lives.
class CompressedBytes
{
public:
    explicit CompressedBytes(detail::MemoryBudget& budget)
        : _budget(budget)
    {
    }

    ~CompressedBytes() { _budget.release(_charged); }

    CompressedBytes(const CompressedBytes&) = delete;
    CompressedBytes& operator=(const CompressedBytes&) = delete;

    /// Takes the next `size` bytes of the stream. A budget that does not suffice counts as a short read.
    bool take(std::istream& in, std::uint64_t size)
    {
        if (auto* const memory = dynamic_cast<detail::MemoryBuffer*>(in.rdbuf()))
        {
            _bytes = memory->take(size);
            if (_bytes == nullptr)
            {
                in.setstate(std::ios::eofbit | std::ios::failbit);
                return reportFailedRead(size);
            }
            return true;
        }
        const std::uint64_t onHeap = size > SCRATCH_BYTES ? size : 0;
        if (!_budget.charge(onHeap))
        {
            return reportFailedRead(size);
        }
        _charged = onHeap;
        char* const bytes = _scratch.take(size);
        _bytes = bytes;
        std::uint64_t got = 0;
        return readRaw(in, bytes, size, got);
    }

    const Bytef* get() const { return reinterpret_cast<const Bytef*>(_bytes); }

private:
    detail::MemoryBudget& _budget;
    std::uint64_t _charged = 0;
    Scratch _scratch;
    const char* _bytes = nullptr;
};

bool readZlib(std::istream& in, Destination& to, detail::MemoryBudget& budget)
{
    char sizes[SIZES_BYTES] = {};
    const bool complete = static_cast<bool>(in.read(sizes, SIZES_BYTES));
    const std::uint64_t uncompressedSize = littleEndian64(sizes);
    const std::uint64_t compressedSize = littleEndian64(sizes + 8);
    if (!complete)
    {
        return reportFailedRead(compressedSize);
    }
    CompressedBytes compressed(budget);
    if (!compressed.take(in, compressedSize))
    {
        return false;
    }
    const bool longer = !to.trusted && uncompressedSize > to.size;
    uLongf length = zlibLength(longer ? to.size : uncompressedSize);
    const int result =
        uncompress(reinterpret_cast<Bytef*>(to.data), &length, compressed.get(), zlibLength(compressedSize));
    to.filled = length;
    if (longer && result == Z_BUF_ERROR && length == to.size)
    {
        longerBlock.log("sdb::readCompressed: block of " + std::to_string(uncompressedSize) +
                        " bytes is longer than the expected " + std::to_string(to.size));
        return true;
    }
    return result == Z_OK;
}

bool readAnyBlock(std::istream& in, Destination& to, detail::MemoryBudget& budget)
{
    if (to.size == 0)
    {
        return true;
    }
    switch (in.get())
    {
    case static_cast<int>(CompressionMethods::None):
        return readRaw(in, to.data, to.size, to.filled);
    case static_cast<int>(CompressionMethods::Zlib):
        return readZlib(in, to, budget);
    case std::istream::traits_type::eof():
        return reportFailedRead(to.size);
    default:
        unknownMethodOnRead.log("sdb::readCompressed: unknown compression method");
        return false;
    }
}

} // namespace

bool writeCompressed(std::ostream& out, const char* data, std::uint64_t size, CompressionMethods method)
{
    out.put(static_cast<char>(method));
    if (size == 0)
    {
        zeroLengthWrite.log("sdb::writeCompressed: suspicious request to write an array of zero length");
        return true;
    }
    switch (method)
    {
    case CompressionMethods::None:
        out.write(data, static_cast<std::streamsize>(size));
        return out.good();
    case CompressionMethods::Zlib:
        return writeZlib(out, data, size);
    default:
        unknownMethodOnWrite.log("sdb::writeCompressed: unknown compression method");
        return false;
    }
}

// NOLINTNEXTLINE(readability-non-const-parameter): the block goes there
bool readCompressed(std::istream& in, char* data, std::uint64_t size)
{
    detail::MemoryBudget unlimited(UINT64_MAX);
    Destination to{data, size, true};
    return readAnyBlock(in, to, unlimited);
}

detail::BlockFrame detail::readFrame(std::istream& in, std::uint64_t bytes)
{
    BlockFrame frame;
    frame.method = in.get();
    if (frame.method == static_cast<int>(CompressionMethods::None))
    {
        frame.known = true;
        frame.uncompressed = bytes;
        frame.stored = 1 + bytes;
    }
    char sizes[SIZES_BYTES];
    if (frame.method == static_cast<int>(CompressionMethods::Zlib))
    {
        frame.known = true;
        if (!in.read(sizes, SIZES_BYTES))
        {
            return frame;
        }
        frame.uncompressed = littleEndian64(sizes);
        frame.stored = 1 + SIZES_BYTES + littleEndian64(sizes + 8);
    }
    return frame;
}

bool detail::readBlock(std::istream& in, char* data, std::uint64_t size, MemoryBudget& budget)
{
    Destination to{data, size, false};
    const bool complete = readAnyBlock(in, to, budget);
    std::fill(data + to.filled, data + size, '\0');
    return complete;
}

} // namespace sdb
