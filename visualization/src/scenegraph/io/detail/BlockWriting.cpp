// The writing of blocks, declared in SDB.h and Blocks.h.

#include "scenegraph/io/detail/Blocks.h"

#include "platform/FileStreams.h"
#include "scenegraphcommon/Logger.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace sdb
{

namespace
{

using tsg::CompressionMethods;

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDB";
constexpr std::size_t SIZES_BYTES = 16; ///< uncompressed and compressed length in front of a zlib stream
constexpr std::size_t SCRATCH_BYTES = 65536;
constexpr std::uint64_t PIECE_BYTES = std::uint64_t{1} << 20; ///< of content between two pulses

LogSite zeroLengthWrite(Logger::Warning, SOURCE, 61);
LogSite unknownMethodOnWrite(Logger::Failure, SOURCE, 102);

void putLittleEndian64(char* bytes, std::uint64_t value)
{
    for (int i = 0; i < 8; ++i)
    {
        bytes[i] = static_cast<char>(value >> (8 * i));
    }
}

void pulseOnce(const detail::Pulse& pulse, std::uint64_t bytes)
{
    if (pulse)
    {
        pulse(bytes);
    }
}

bool writeRaw(std::ostream& out, const char* data, std::uint64_t size, const detail::Pulse& pulse)
{
    while (size > 0 && out.good())
    {
        const std::uint64_t piece = std::min(size, PIECE_BYTES);
        out.write(data, static_cast<std::streamsize>(piece));
        pulseOnce(pulse, piece);
        data += piece;
        size -= piece;
    }
    return out.good();
}

/// A zlib stream on its way to a file, behind the two lengths. The second is known at the end only: up to then the
/// stream waits in memory, unless the file can be written in place.
class CompressedOutput
{
public:
    CompressedOutput(std::ostream& out, std::uint64_t uncompressed)
        : _out(out)
        , _uncompressed(uncompressed)
        , _inPlace(dynamic_cast<OS::UpdateStream*>(&out) != nullptr && compressBound(uncompressed) <= UINT32_MAX)
    {
    }

    bool good() const { return _out.good(); }

    /// Takes a piece of which others will follow.
    void take(const char* bytes, std::size_t size)
    {
        if (!_inPlace)
        {
            _waiting.append(bytes, size);
        }
        else
        {
            begin();
            _out.write(bytes, static_cast<std::streamsize>(size));
        }
        _compressed += size;
    }

    /// Takes the last piece.
    bool finish(const char* bytes, std::size_t size)
    {
        _compressed += size;
        if (_compressed > UINT32_MAX)
        {
            return false;
        }
        if (!_begun)
        {
            writeSizes();
            _out.write(_waiting.data(), static_cast<std::streamsize>(_waiting.size()));
        }
        _out.write(bytes, static_cast<std::streamsize>(size));
        if (_begun)
        {
            const std::streampos end = _out.tellp();
            _out.seekp(_sizes);
            writeSizes();
            _out.seekp(end);
        }
        return _out.good();
    }

private:
    void begin()
    {
        if (!_begun)
        {
            _begun = true;
            _sizes = _out.tellp();
            writeSizes();
        }
    }

    void writeSizes()
    {
        char sizes[SIZES_BYTES];
        putLittleEndian64(sizes, _uncompressed);
        putLittleEndian64(sizes + 8, _compressed);
        _out.write(sizes, SIZES_BYTES);
    }

    std::ostream& _out;
    std::uint64_t _uncompressed;
    std::uint64_t _compressed = 0; ///< bytes taken so far
    bool _inPlace;
    bool _begun = false;   ///< whether the lengths have been written for the first time
    std::streampos _sizes; ///< where they are then
    std::string _waiting;
};

/// Compresses at the default level. In pieces this gives the same bytes as zlib's `compress`.
class Deflation
{
public:
    Deflation()
        : _ready(deflateInit(&_stream, Z_DEFAULT_COMPRESSION) == Z_OK)
    {
    }

    ~Deflation() { deflateEnd(&_stream); }

    Deflation(const Deflation&) = delete;
    Deflation& operator=(const Deflation&) = delete;

    bool ready() const { return _ready; }

    bool run(const char* data, std::uint64_t size, CompressedOutput& to, const detail::Pulse& pulse)
    {
        _stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data)); // zlib only reads them
        empty();
        while (size > 0)
        {
            const std::uint64_t piece = std::min(size, PIECE_BYTES);
            size -= piece;
            _stream.avail_in = static_cast<uInt>(piece);
            if (!deflatePiece(size == 0 ? Z_FINISH : Z_NO_FLUSH, to))
            {
                return false;
            }
            pulseOnce(pulse, piece);
        }
        return to.finish(_scratch, SCRATCH_BYTES - _stream.avail_out);
    }

private:
    void empty()
    {
        _stream.next_out = reinterpret_cast<Bytef*>(_scratch);
        _stream.avail_out = SCRATCH_BYTES;
    }

    bool deflatePiece(int flush, CompressedOutput& to)
    {
        for (;;)
        {
            const int result = deflate(&_stream, flush);
            if (result == Z_STREAM_END || (flush == Z_NO_FLUSH && result == Z_OK && _stream.avail_in == 0))
            {
                return true;
            }
            if ((result != Z_OK && result != Z_BUF_ERROR) || !to.good())
            {
                return false;
            }
            to.take(_scratch, SCRATCH_BYTES - _stream.avail_out);
            empty();
        }
    }

    z_stream _stream = {};
    bool _ready;
    char _scratch[SCRATCH_BYTES];
};

bool writeZlib(std::ostream& out, const char* data, std::uint64_t size, const detail::Pulse& pulse)
{
    if (size > UINT32_MAX)
    {
        return false; // the lengths are 32 bits wide in this format
    }
    Deflation deflation;
    CompressedOutput to(out, size);
    return deflation.ready() && deflation.run(data, size, to, pulse);
}

} // namespace

bool detail::writeBlock(std::ostream& out, const char* data, std::uint64_t size, CompressionMethods method,
                        const Pulse& pulse)
{
    if (auto* const sink = dynamic_cast<BlockSink*>(out.rdbuf()))
    {
        return sink->takeBlock(data, size);
    }
    out.put(static_cast<char>(method));
    if (size == 0)
    {
        zeroLengthWrite.log("sdb::writeCompressed: suspicious request to write an array of zero length");
        return true;
    }
    switch (method)
    {
    case CompressionMethods::None:
        return writeRaw(out, data, size, pulse);
    case CompressionMethods::Zlib:
        return writeZlib(out, data, size, pulse);
    default:
        unknownMethodOnWrite.log("sdb::writeCompressed: unknown compression method");
        return false;
    }
}

bool writeCompressed(std::ostream& out, const char* data, std::uint64_t size, CompressionMethods method)
{
    return detail::writeBlock(out, data, size, method, {});
}

} // namespace sdb
