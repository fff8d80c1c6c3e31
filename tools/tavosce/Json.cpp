#include "Json.h"

#include "Text.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace tavosce
{

namespace
{

/// True if JSON has the number.
bool isNumber(const std::string& text)
{
    return text.find_first_of("0123456789") != std::string::npos;
}

} // namespace

struct Json::Writer
{
    explicit Writer(std::ostream& out)
        : stream(out)
        , writer(stream)
    {
        writer.SetIndent(' ', 2);
    }

    void string(const std::string& text)
    {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> plain(buffer);
        plain.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
        const std::string escaped = escapedJson({buffer.GetString(), buffer.GetSize()});
        writer.RawValue(escaped.data(), escaped.size(), rapidjson::kStringType);
    }

    rapidjson::OStreamWrapper stream;
    rapidjson::PrettyWriter<rapidjson::OStreamWrapper> writer;
};

Json::Json(std::ostream& out)
    : _out(out)
    , _writer(std::make_unique<Writer>(out))
{
    _writer->writer.StartObject();
    member("schema", 1);
}

Json::~Json() = default;

void Json::member(const char* key, const std::string& value)
{
    _writer->writer.Key(key);
    write(value);
}

void Json::member(const char* key, const char* value)
{
    member(key, std::string(value));
}

void Json::member(const char* key, bool value)
{
    _writer->writer.Key(key);
    _writer->writer.Bool(value);
}

void Json::member(const char* key, int value)
{
    _writer->writer.Key(key);
    _writer->writer.Int(value);
}

void Json::member(const char* key, std::uint64_t value)
{
    _writer->writer.Key(key);
    _writer->writer.Uint64(value);
}

void Json::member(const char* key, const Properties& value)
{
    _writer->writer.Key(key);
    write(value);
}

void Json::element(const std::string& value)
{
    write(value);
}

void Json::tuple(const std::vector<std::string>& numbers)
{
    std::string text;
    for (const std::string& number : numbers)
    {
        text += text.empty() ? "[" : ", ";
        text += isNumber(number) ? number : '"' + number + '"';
    }
    text += text.empty() ? "[]" : "]";
    _writer->writer.RawValue(text.data(), text.size(), rapidjson::kArrayType);
}

void Json::number(const char* key, const std::string& text)
{
    _writer->writer.Key(key);
    if (!isNumber(text))
    {
        _writer->string(text);
        return;
    }
    _writer->writer.RawValue(text.data(), text.size(), rapidjson::kNumberType);
}

void Json::nullMember(const char* key)
{
    _writer->writer.Key(key);
    _writer->writer.Null();
}

void Json::beginArray(const char* key)
{
    _writer->writer.Key(key);
    _writer->writer.StartArray();
}

void Json::endArray()
{
    _writer->writer.EndArray();
}

void Json::beginObject()
{
    _writer->writer.StartObject();
}

void Json::beginObject(const char* key)
{
    _writer->writer.Key(key);
    _writer->writer.StartObject();
}

void Json::endObject()
{
    _writer->writer.EndObject();
}

void Json::finish()
{
    _writer->writer.EndObject();
    _out << '\n';
}

void Json::write(const std::string& text)
{
    if (isUtf8(text))
    {
        _writer->string(text);
        return;
    }
    _writer->writer.StartObject();
    _writer->writer.Key("base64");
    _writer->string(base64(text));
    _writer->writer.EndObject();
}

void Json::write(const Properties& record)
{
    const std::vector<std::string> names = record.names();
    if (!std::all_of(names.begin(), names.end(), &isUtf8))
    {
        _writer->writer.StartObject();
        _writer->writer.Key("base64");
        _writer->string(base64(record.toString()));
        _writer->writer.EndObject();
        return;
    }
    _writer->writer.StartObject();
    for (const std::string& name : names)
    {
        _writer->string(name);
        switch (record.kind(name))
        {
        case Properties::Kind::Record:
            write(record.getProperties(name)); // records nest at most Properties::MAX_DEPTH deep
            break;
        case Properties::Kind::Integer:
            _writer->writer.Int64(record.getLong(name));
            break;
        default:
            write(record.getString(name));
            break;
        }
    }
    _writer->writer.EndObject();
}

} // namespace tavosce
