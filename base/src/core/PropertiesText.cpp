#include "core/Properties.h"

#include "core/detail/PropertiesContent.h"

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <ostream>
#include <utility>

// Sizes of strings as wide as those of std::string.
#define RAPIDJSON_NO_SIZETYPEDEFINE

namespace rapidjson
{
using SizeType = std::size_t;
} // namespace rapidjson

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

namespace
{

using Utf8 = rapidjson::UTF8<>;

/// Memory for the JSON library, which does not look whether it got any.
class ThrowingAllocator
{
public:
    static void* Malloc(std::size_t size) { return Realloc(nullptr, 0, size); }

    static void* Realloc(void* memory, std::size_t, std::size_t size)
    {
        if (size == 0)
        {
            Free(memory);
            return nullptr;
        }
        void* moved = std::realloc(memory, size);
        if (!moved)
        {
            throw std::bad_alloc();
        }
        return moved;
    }

    static void Free(void* memory) { std::free(memory); }
};

/// Output stream of the JSON writer. Braces that the writer puts out itself are structure; those inside strings are
/// escaped.
class TextStream
{
public:
    using Ch = char;

    explicit TextStream(std::string& text)
        : _text(text)
    {
    }

    void Put(char c)
    {
        if (_inString && (c == '{' || c == '}'))
        {
            _text += c == '{' ? "\\u007b" : "\\u007d";
        }
        else
        {
            _text += c;
        }
    }

    void Flush() {}

    void setInString(bool inString) { _inString = inString; }

private:
    std::string& _text;
    bool _inString = false;
};

} // namespace

/// Renders records. The JSON writer takes care of the escapes, its stream of the braces inside strings.
class Properties::Renderer
{
public:
    explicit Renderer(std::string& text)
        : _stream(text)
        , _writer(_stream)
    {
    }

    /// Recursion ends after MAX_DEPTH levels: nothing builds deeper records.
    void put(const Properties& record)
    {
        _writer.StartObject();
        if (record._content)
        {
            for (const Content::Values::value_type* entry : record._content->order)
            {
                put(entry->first);
                std::visit([this](const auto& value) { put(value); }, entry->second);
            }
        }
        _writer.EndObject();
    }

private:
    void put(const std::string& text)
    {
        _stream.setInString(true);
        _writer.String(text.data(), text.size());
        _stream.setInString(false);
    }

    void put(std::int64_t number) { _writer.Int64(number); }

    TextStream _stream;
    rapidjson::Writer<TextStream, Utf8, Utf8, ThrowingAllocator> _writer;
};

/// Builds a record from the events of the JSON reader; any event that is not part of one stops the reader.
class Properties::Parser : public rapidjson::BaseReaderHandler<Utf8, Properties::Parser>
{
public:
    static bool Default() { return false; }

    bool Int(int value) { return put(std::int64_t{value}); }

    bool Uint(unsigned value) { return put(std::int64_t{value}); }

    bool Int64(std::int64_t value) { return put(value); }

    bool Uint64(std::uint64_t value)
    {
        return value <= std::uint64_t{std::numeric_limits<std::int64_t>::max()} &&
               put(static_cast<std::int64_t>(value));
    }

    bool String(const char* text, rapidjson::SizeType length, bool) { return put(std::string(text, length)); }

    bool StartObject()
    {
        if (_open.size() == MAX_DEPTH)
        {
            return false;
        }
        _open.emplace_back();
        return true;
    }

    bool Key(const char* text, rapidjson::SizeType length, bool)
    {
        _open.back().key.assign(text, length);
        return true;
    }

    bool EndObject(rapidjson::SizeType)
    {
        Properties finished = std::move(_open.back().record);
        _open.pop_back();
        if (!_open.empty())
        {
            return put(std::move(finished));
        }
        _root = std::move(finished);
        return true;
    }

    Properties takeRoot() { return std::move(_root); }

private:
    struct Level
    {
        Properties record;
        std::string key; ///< of the member whose value comes next
    };

    bool put(Content::Value value)
    {
        if (_open.empty())
        {
            return false; // a text that is a bare value
        }
        Level& level = _open.back();
        level.record.content().set(std::move(level.key), std::move(value), true);
        return true;
    }

    std::vector<Level> _open;
    Properties _root;
};

Properties::Properties(const std::string& text)
{
    Parser parser;
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::GenericReader<Utf8, Utf8, ThrowingAllocator> reader;
    const bool isRecord = !reader.Parse<rapidjson::kParseIterativeFlag>(stream, parser).IsError();
    if (isRecord && stream.Tell() == text.size()) // the reader takes a NUL for the end
    {
        *this = parser.takeRoot();
    }
}

std::string Properties::toString() const
{
    std::string text;
    Renderer(text).put(*this);
    return text;
}

void Properties::toStream(std::ostream& out) const
{
    const std::string text = toString();
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}
