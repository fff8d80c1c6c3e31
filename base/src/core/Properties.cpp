#include "core/Properties.h"

#include "core/Error.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <unordered_map>
#include <utility>
#include <variant>

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

namespace
{

using Value = std::variant<std::string, std::int64_t, Properties>;

struct Entry
{
    std::string key;
    Value value;
};

constexpr Invariant TOO_DEEP{"Properties nested too deep", "depth < MAX_DEPTH", "base/src/core/Properties", 28};

/// From this many keys on they are found through an index.
constexpr std::size_t INDEXED_SIZE = 16;

const std::string NO_STRING;
const Properties NO_PROPERTIES;

} // namespace

struct Properties::Content
{
    std::vector<Entry> entries;
    std::unordered_map<std::string, std::size_t> index; ///< places of all keys, once there are INDEXED_SIZE of them
    int depth = 1;                                      ///< nesting of this record, itself included; never too small

    std::size_t find(const std::string& key) const
    {
        if (index.empty())
        {
            const auto found =
                std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.key == key; });
            return static_cast<std::size_t>(found - entries.begin());
        }
        const auto found = index.find(key);
        return found == index.end() ? entries.size() : found->second;
    }

    /// The value under a key, or null.
    const Value* value(const std::string& key) const
    {
        const std::size_t place = find(key);
        return place == entries.size() ? nullptr : &entries[place].value;
    }

    void set(const std::string& key, Value&& value, bool overwrite)
    {
        const std::size_t place = find(key);
        if (place == entries.size())
        {
            entries.push_back({key, std::move(value)});
            addToIndex(place);
        }
        else if (overwrite)
        {
            entries[place].value = std::move(value);
        }
    }

    void rebuildIndex()
    {
        index.clear();
        if (entries.size() >= INDEXED_SIZE)
        {
            for (std::size_t i = 0; i < entries.size(); ++i)
            {
                index.emplace(entries[i].key, i);
            }
        }
    }

    static void render(const Properties& record, void* target);

private:
    void addToIndex(std::size_t place)
    {
        if (entries.size() == INDEXED_SIZE)
        {
            rebuildIndex();
        }
        else if (entries.size() > INDEXED_SIZE)
        {
            index.emplace(entries[place].key, place);
        }
    }
};

namespace
{

/// Builds records from the parser's events; any event that is not part of such a record stops the parser.
class RecordBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RecordBuilder>
{
public:
    bool Default() { return false; }
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
        if (_open.size() == Properties::MAX_DEPTH || (_open.empty() && _done))
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
        _done = true;
        return true;
    }

    Properties takeRoot() { return std::move(_root); }

private:
    struct Level
    {
        Properties record;
        std::string key;
    };

    template <class T>
    bool put(T value)
    {
        if (_open.empty())
        {
            return false;
        }
        _open.back().record.set(_open.back().key, std::move(value), Properties::Overwrite);
        return true;
    }

    std::vector<Level> _open;
    Properties _root;
    bool _done = false;
};

/// Output stream of the JSON writer. Braces that the writer puts out itself are structure; those of strings are written
/// by `escapeBraces` beforehand.
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
    void PutUnsafe(char c) { Put(c); }
    void Flush() {}

    void setInString(bool inString) { _inString = inString; }

private:
    std::string& _text;
    bool _inString = false;
};

/// Renders strings and numbers. The JSON writer takes care of the escapes, the stream of the braces inside strings.
class Renderer
{
public:
    explicit Renderer(std::string& text)
        : _stream(text)
        , _writer(_stream)
    {
    }

    void string(const std::string& value)
    {
        _stream.setInString(true);
        _writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
        _stream.setInString(false);
    }
    void integer(std::int64_t value) { _writer.Int64(value); }
    void beginRecord() { _writer.StartObject(); }
    void endRecord() { _writer.EndObject(); }

private:
    TextStream _stream;
    rapidjson::Writer<TextStream> _writer;
};

} // namespace

/// Walks a record into a renderer. The depth of records is bounded, and so is this recursion.
void Properties::Content::render(const Properties& record, void* target)
{
    Renderer& renderer = *static_cast<Renderer*>(target);
    renderer.beginRecord();
    if (record._content)
    {
        for (const Entry& entry : record._content->entries)
        {
            renderer.string(entry.key);
            if (const auto* text = std::get_if<std::string>(&entry.value))
            {
                renderer.string(*text);
            }
            else if (const auto* number = std::get_if<std::int64_t>(&entry.value))
            {
                renderer.integer(*number);
            }
            else
            {
                render(std::get<Properties>(entry.value), target);
            }
        }
    }
    renderer.endRecord();
}

Properties::Properties() = default;
Properties::Properties(Properties&& other) noexcept = default;
Properties& Properties::operator=(Properties&& other) noexcept = default;
Properties::~Properties() = default;

Properties::Properties(const Properties& other)
    : _content(other._content ? std::make_unique<Content>(*other._content) : nullptr)
{
}

Properties& Properties::operator=(const Properties& other)
{
    if (this != &other)
    {
        *this = Properties(other);
    }
    return *this;
}

Properties::Properties(const std::string& text)
{
    RecordBuilder builder;
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::Reader reader;
    if (!reader.Parse<rapidjson::kParseIterativeFlag>(stream, builder).IsError())
    {
        *this = builder.takeRoot();
    }
}

Properties::Content& Properties::content()
{
    if (!_content)
    {
        _content = std::make_unique<Content>();
    }
    return *_content;
}

void Properties::set(const std::string& key, const std::string& value, int mode)
{
    content().set(key, value, mode == Overwrite);
}

void Properties::set(const std::string& key, const char* value, int mode)
{
    content().set(key, std::string(value), mode == Overwrite);
}

void Properties::set(const std::string& key, int value, int mode)
{
    set(key, std::int64_t{value}, mode);
}

void Properties::set(const std::string& key, std::int64_t value, int mode)
{
    content().set(key, value, mode == Overwrite);
}

void Properties::set(const std::string& key, Properties value, int mode)
{
    const int depth = 1 + (value._content ? value._content->depth : 1);
    if (depth > MAX_DEPTH)
    {
        raise(TOO_DEEP);
    }
    content().depth = std::max(content().depth, depth);
    content().set(key, std::move(value), mode == Overwrite);
}

void Properties::set(const std::string& key, const std::map<std::string, int>& value, int mode)
{
    Properties record;
    for (const auto& [name, number] : value)
    {
        record.set(name, number);
    }
    set(key, std::move(record), mode);
}

void Properties::remove(const std::string& key)
{
    if (hasName(key))
    {
        auto& entries = _content->entries;
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(_content->find(key)));
        _content->rebuildIndex();
    }
}

void Properties::rename(const std::string& from, const std::string& to)
{
    if (hasName(from) && !hasName(to))
    {
        _content->entries[_content->find(from)].key = to;
        _content->rebuildIndex();
    }
}

bool Properties::hasName(const std::string& key) const
{
    return kind(key) != Kind::None;
}

Properties::Kind Properties::kind(const std::string& key) const
{
    const Value* value = _content ? _content->value(key) : nullptr;
    constexpr Kind KINDS[] = {Kind::String, Kind::Integer, Kind::Record}; // in the order of Value's alternatives
    return value ? KINDS[value->index()] : Kind::None;
}

const std::string& Properties::getString(const std::string& key) const
{
    const Value* value = _content ? _content->value(key) : nullptr;
    const auto* text = value ? std::get_if<std::string>(value) : nullptr;
    return text ? *text : NO_STRING;
}

int Properties::getInt(const std::string& key) const
{
    const std::int64_t value = getLong(key);
    return value == static_cast<int>(value) ? static_cast<int>(value) : 0;
}

std::int64_t Properties::getLong(const std::string& key) const
{
    const Value* value = _content ? _content->value(key) : nullptr;
    const auto* number = value ? std::get_if<std::int64_t>(value) : nullptr;
    return number ? *number : 0;
}

const Properties& Properties::getProperties(const std::string& key) const
{
    const Value* value = _content ? _content->value(key) : nullptr;
    const auto* record = value ? std::get_if<Properties>(value) : nullptr;
    return record ? *record : NO_PROPERTIES;
}

void Properties::get(const std::string& key, std::map<std::string, int>& value) const
{
    value.clear();
    const Properties& record = getProperties(key);
    for (const std::string& name : record.names())
    {
        const std::int64_t number = record.getLong(name);
        if (record.kind(name) == Kind::Integer && number == static_cast<int>(number))
        {
            value.emplace(name, static_cast<int>(number));
        }
    }
}

std::vector<std::string> Properties::names() const
{
    std::vector<std::string> names;
    names.reserve(size());
    for (std::size_t i = 0; i < size(); ++i)
    {
        names.push_back(_content->entries[i].key);
    }
    return names;
}

std::size_t Properties::size() const
{
    return _content ? _content->entries.size() : 0;
}

std::string Properties::toString() const
{
    std::string text;
    Renderer renderer(text);
    Content::render(*this, &renderer);
    return text;
}

void Properties::toStream(std::ostream& out) const
{
    const std::string text = toString();
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

bool Properties::operator==(const Properties& other) const
{
    if (size() != other.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < size(); ++i)
    {
        const Entry& entry = _content->entries[i];
        const Value* theirs = other._content->value(entry.key);
        if (!theirs || !(entry.value == *theirs))
        {
            return false;
        }
    }
    return true;
}
