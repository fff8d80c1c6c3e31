#include "scenegraph/io/detail/MemoryStream.h"

namespace sdb::detail
{

MemoryBuffer::MemoryBuffer(const char* data, std::size_t size)
{
    // The get area is never written to; streambuf only has no const form of it.
    char* const begin = const_cast<char*>(data);
    setg(begin, begin, begin + size);
}

const char* MemoryBuffer::peek(std::uint64_t size) const
{
    return static_cast<std::uint64_t>(egptr() - gptr()) < size ? nullptr : gptr();
}

const char* MemoryBuffer::take(std::uint64_t size)
{
    const char* const bytes = gptr();
    if (size > static_cast<std::uint64_t>(egptr() - gptr()))
    {
        setg(eback(), egptr(), egptr());
        return nullptr;
    }
    setg(eback(), gptr() + size, egptr());
    return bytes;
}

MemoryBuffer::pos_type MemoryBuffer::seekoff(off_type offset, std::ios_base::seekdir from,
                                             std::ios_base::openmode which)
{
    const off_type size = egptr() - eback();
    const off_type base = from == std::ios_base::beg ? 0 : from == std::ios_base::end ? size : gptr() - eback();
    const bool inside = offset >= -base && offset <= size - base;
    if ((which & std::ios_base::in) == 0 || !inside)
    {
        return {off_type(-1)};
    }
    setg(eback(), eback() + base + offset, egptr());
    return {base + offset};
}

MemoryBuffer::pos_type MemoryBuffer::seekpos(pos_type position, std::ios_base::openmode which)
{
    return seekoff(off_type(position), std::ios_base::beg, which);
}

MemoryStream::MemoryStream(const char* data, std::size_t size)
    : std::istream(nullptr)
    , _buffer(data, size)
{
    rdbuf(&_buffer);
}

} // namespace sdb::detail
