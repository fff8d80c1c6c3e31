#pragma once

#include "support/Testing.h"

#include <cstddef>
#include <streambuf>

namespace test
{

/// An output file stream whose bytes stay in memory. It takes `capacity` bytes and then fails as a full disk does.
class FullDisk : public std::ofstream
{
public:
    explicit FullDisk(std::size_t capacity = std::string::npos)
        : _buffer(capacity)
    {
        static_cast<std::ios&>(*this).rdbuf(&_buffer);
    }

    const std::string& bytes() const { return _buffer.bytes; }

private:
    struct Buffer : std::streambuf
    {
        explicit Buffer(std::size_t limit)
            : capacity(limit)
        {
        }

        int_type overflow(int_type c) override
        {
            const char byte = traits_type::to_char_type(c);
            return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
        }

        std::streamsize xsputn(const char* data, std::streamsize size) override
        {
            const std::size_t before = bytes.size();
            bytes.append(data, std::min(static_cast<std::size_t>(size), capacity - before));
            return static_cast<std::streamsize>(bytes.size() - before);
        }

        std::size_t capacity;
        std::string bytes;
    };

    Buffer _buffer;
};

/// An input stream that cannot seek.
class OneWayStream : public std::istream
{
public:
    explicit OneWayStream(std::string bytes)
        : std::istream(&_buffer)
        , _buffer(std::move(bytes))
    {
    }

private:
    struct Buffer : std::streambuf
    {
        explicit Buffer(std::string content)
            : bytes(std::move(content))
        {
            setg(bytes.data(), bytes.data(), bytes.data() + bytes.size());
        }

        std::string bytes;
    };

    Buffer _buffer;
};

} // namespace test
