#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <streambuf>

namespace sdb::detail
{

/// The get area over bytes that belong to somebody else, with full positioning.
class MemoryBuffer : public std::streambuf
{
public:
    /// The bytes are borrowed and have to outlive this object.
    MemoryBuffer(const char* data, std::size_t size);

    /// The next `size` bytes, which count as read. If there are fewer, null, and all of them count as read.
    const char* take(std::uint64_t size);

    /// The next `size` bytes without reading them; null if there are fewer.
    const char* peek(std::uint64_t size) const;

protected:
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;
};

/// Bytes in memory as an input stream; they are borrowed and have to outlive it. Reading never copies them first.
class MemoryStream : public std::istream
{
public:
    MemoryStream(const char* data, std::size_t size);

private:
    MemoryBuffer _buffer;
};

} // namespace sdb::detail
