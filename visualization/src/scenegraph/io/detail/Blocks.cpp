#include "scenegraph/io/detail/Blocks.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraphcommon/Logger.h"

#include <algorithm>
#include <istream>
#include <new>
#include <string>

#include <zlib.h>

namespace sdb
{

namespace
{

using tsg::CompressionMethods;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDB";
constexpr std::size_t SIZES_BYTES = 16; ///< uncompressed and compressed length in front of a zlib stream
constexpr std::uint64_t PULSE_BYTES = std::uint64_t{1} << 20;

LogSite failedRead(Logger::Failure, SOURCE, 130);
LogSite unknownMethodOnRead(Logger::Failure, SOURCE, 168);
LogSite longerBlock(Logger::Warning, SOURCE, 175);

std::uint64_t littleEndian64(const char* bytes)
{
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
    {
        value |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    return value;
}

/// Lengths of zlib streams and of what they hold are 32 bits wide in this format.
std::uint64_t zlibLength(std::uint64_t length)
{
    return static_cast<std::uint32_t>(length);
}

} // namespace

namespace detail
{

bool isSound(BlockResult result)
{
    return result == BlockResult::Whole || result == BlockResult::Longer || result == BlockResult::Shorter ||
           result == BlockResult::WrongLengths;
}

BlockReader::Inflation::Inflation() // NOLINT(cppcoreguidelines-pro-type-member-init): scratch is filled before it is
                                    // read
{
    if (inflateInit(&stream) != Z_OK)
    {
        throw std::bad_alloc();
    }
}

BlockReader::Inflation::~Inflation()
{
    inflateEnd(&stream);
}

BlockReader::BlockReader(std::istream& in, std::uint64_t expected, const Pulse& pulse)
    : _in(in)
    , _pulse(pulse)
    , _expected(expected)
{
    readFrame();
}

void BlockReader::readFrame()
{
    switch (_in.get())
    {
    case static_cast<int>(CompressionMethods::None):
        _stated = _expected;
        _wrongMethod = isCompressedBlock();
        return;
    case static_cast<int>(CompressionMethods::Zlib):
        break;
    case std::istream::traits_type::eof():
        return cutOff(_expected);
    default:
        unknownMethodOnRead.log("sdb::readCompressed: unknown compression method");
        _failure = BlockResult::UnknownMethod;
        return;
    }
    char sizes[SIZES_BYTES] = {};
    _in.read(sizes, SIZES_BYTES);
    _stated = littleEndian64(sizes);
    _compressed = littleEndian64(sizes + 8);
    // A length that lies must not make every block a reason to read the rest of the file.
    if (_in && _compressed > SCRATCH_BYTES && _compressed > bytesLeft(_in).value_or(UINT64_MAX))
    {
        _in.setstate(std::ios::eofbit | std::ios::failbit);
    }
    if (!_in)
    {
        return cutOff(_compressed);
    }
    _compressedLeft = _compressed;
    _zlib.emplace();
}

/// True if uncompressed bytes in memory are the lengths and the zlib stream of a block for just this content: then it
/// is the method byte that is damaged.
bool BlockReader::isCompressedBlock() const
{
    const auto* const memory = dynamic_cast<const MemoryBuffer*>(_in.rdbuf());
    const char* const sizes = memory != nullptr ? memory->peek(SIZES_BYTES) : nullptr;
    if (sizes == nullptr || littleEndian64(sizes) != _expected || _expected != zlibLength(_expected))
    {
        return false;
    }
    const std::uint64_t compressed = littleEndian64(sizes + 8);
    const char* const bytes = compressed <= compressBound(_expected) ? memory->peek(SIZES_BYTES + compressed) : nullptr;
    if (bytes == nullptr || compressed != zlibLength(compressed))
    {
        return false;
    }
    Inflation zlib;
    zlib.stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes + SIZES_BYTES)); // zlib only reads them
    zlib.stream.avail_in = static_cast<uInt>(compressed);
    int result = Z_OK;
    while (result == Z_OK)
    {
        zlib.stream.next_out = reinterpret_cast<Bytef*>(zlib.scratch);
        zlib.stream.avail_out = SCRATCH_BYTES;
        result = inflate(&zlib.stream, Z_NO_FLUSH);
    }
    return result == Z_STREAM_END && zlib.stream.total_out == _expected;
}

void BlockReader::cutOff(std::uint64_t bytes)
{
    failedRead.log("sdb::readCompressed: failed to read " + std::to_string(bytes) + " bytes from input stream!");
    _failure = BlockResult::CutOff;
}

std::uint64_t BlockReader::readRaw(char* data, std::uint64_t size)
{
    const std::uint64_t wanted = std::min(size, _expected - _length);
    _in.read(data, static_cast<std::streamsize>(wanted));
    const auto got = static_cast<std::uint64_t>(_in.gcount());
    if (got < wanted)
    {
        cutOff(_expected);
    }
    return got;
}

/// Gives zlib more to read; false if there is no more.
bool BlockReader::refill()
{
    const std::uint64_t left = zlibLength(_compressed) - (_compressed - _compressedLeft);
    if (_compressedLeft == 0 || left == 0)
    {
        return false;
    }
    if (auto* const memory = dynamic_cast<MemoryBuffer*>(_in.rdbuf()))
    {
        const char* const bytes = memory->take(left);
        _zlib->stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes)); // zlib only reads them
        _zlib->stream.avail_in = bytes == nullptr ? 0 : static_cast<uInt>(left);
        _in.setstate(bytes == nullptr ? std::ios::eofbit | std::ios::failbit : std::ios::goodbit);
    }
    else
    {
        _in.read(_zlib->scratch, static_cast<std::streamsize>(std::min(left, SCRATCH_BYTES)));
        _zlib->stream.next_in = reinterpret_cast<Bytef*>(_zlib->scratch);
        _zlib->stream.avail_in = static_cast<uInt>(_in.gcount());
    }
    if (!_in)
    {
        cutOff(_compressed);
        return false;
    }
    _compressedLeft -= _zlib->stream.avail_in;
    return true;
}

std::uint64_t BlockReader::inflateTo(char* data, std::uint64_t size)
{
    z_stream& stream = _zlib->stream;
    stream.next_out = reinterpret_cast<Bytef*>(data);
    stream.avail_out = static_cast<uInt>(size);
    while (_failure == BlockResult::Whole && !_zlib->ended && stream.avail_out > 0)
    {
        if (stream.avail_in == 0 && !refill())
        {
            _failure = _failure == BlockResult::Whole ? BlockResult::Damaged : _failure; // it ends before its end
            break;
        }
        const int result = inflate(&stream, Z_NO_FLUSH);
        _zlib->ended = result == Z_STREAM_END;
        if (result != Z_OK && result != Z_STREAM_END)
        {
            _failure = BlockResult::Damaged;
        }
    }
    return size - stream.avail_out;
}

std::uint64_t BlockReader::read(char* data, std::uint64_t size)
{
    std::uint64_t done = 0;
    while (done < size && _failure == BlockResult::Whole)
    {
        const std::uint64_t piece = std::min(size - done, PULSE_BYTES);
        const std::uint64_t got = _zlib ? inflateTo(data + done, piece) : readRaw(data + done, piece);
        done += got;
        _length += got;
        if (_pulse)
        {
            _pulse(got);
        }
        if (got < piece)
        {
            break;
        }
    }
    return done;
}

/// Goes behind the zlib stream, of which some may be left.
void BlockReader::skipCompressed()
{
    if (_failure == BlockResult::CutOff || _compressedLeft == 0)
    {
        return;
    }
    const std::uint64_t here = readPosition(_in);
    if (here != UINT64_MAX && here <= MAX_POSITION - std::min(_compressedLeft, MAX_POSITION))
    {
        seekTo(_in, here + _compressedLeft);
    }
    else
    {
        _in.ignore(static_cast<std::streamsize>(std::min(_compressedLeft, MAX_POSITION)));
    }
}

/// Inflates what nobody has asked for, to learn how the stream ends, and goes behind it.
void BlockReader::inflateRest()
{
    char rest[SCRATCH_BYTES];
    while (_failure == BlockResult::Whole && !_zlib->ended)
    {
        read(rest, sizeof rest);
    }
    skipCompressed();
    if (_failure == BlockResult::Whole && _length > zlibLength(_stated))
    {
        _failure = BlockResult::Damaged;
    }
}

BlockResult BlockReader::finish()
{
    if (_zlib)
    {
        inflateRest();
    }
    if (_failure != BlockResult::Whole || !_zlib)
    {
        return _failure == BlockResult::Whole && _wrongMethod ? BlockResult::Damaged : _failure;
    }
    if (_stated > _expected)
    {
        longerBlock.log("sdb::readCompressed: block of " + std::to_string(_stated) +
                        " bytes is longer than the expected " + std::to_string(_expected));
    }
    if (_length != _stated || _zlib->stream.total_in != _compressed)
    {
        return BlockResult::WrongLengths;
    }
    return _length == _expected ? BlockResult::Whole : _length > _expected ? BlockResult::Longer : BlockResult::Shorter;
}

BlockResult readBlock(std::istream& in, char* data, std::uint64_t size, const Pulse& pulse)
{
    if (size == 0)
    {
        return BlockResult::Whole;
    }
    BlockReader block(in, size, pulse);
    const std::uint64_t got = block.read(data, size);
    std::fill(data + got, data + size, '\0');
    return block.finish();
}

BlockFrame readFrame(std::istream& in, std::uint64_t bytes)
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

} // namespace detail

// NOLINTNEXTLINE(readability-non-const-parameter): the block goes there
bool readCompressed(std::istream& in, char* data, std::uint64_t size)
{
    if (size == 0)
    {
        return true;
    }
    const detail::Pulse none;
    detail::BlockReader block(in, size, none);
    // The block's own length decides, as the caller has promised room for it.
    block.read(data, zlibLength(block.statedLength()));
    return isSound(block.finish());
}

} // namespace sdb
