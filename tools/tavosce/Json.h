#pragma once

#include "core/Properties.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

namespace tavosce
{

/// Writes one JSON document. A string that is no UTF-8 becomes {"base64": "..."}; so does, by its text, a record with
/// such a key.
class Json
{
public:
    /// Begins the document, an object with "schema" 1. The stream stays with the caller.
    explicit Json(std::ostream& out);
    ~Json();
    Json(const Json&) = delete;
    Json& operator=(const Json&) = delete;

    // Members of the object that is open. `key` is one of our own, UTF-8.
    void member(const char* key, const std::string& value);
    void member(const char* key, const char* value);
    void member(const char* key, bool value);
    void member(const char* key, int value);
    void member(const char* key, std::uint64_t value);
    void member(const char* key, const Properties& value);
    /// A number as text; what JSON has no number for, infinities and what is no number, becomes a string.
    void number(const char* key, const std::string& text);
    void nullMember(const char* key);

    void beginArray(const char* key);
    void endArray();
    /// An object in the array that is open.
    void beginObject();
    /// An object under a key of the object that is open.
    void beginObject(const char* key);
    void endObject();

    /// Ends the document and its line.
    void finish();

private:
    struct Writer;
    void write(const std::string& text);
    void write(const Properties& record);

    std::ostream& _out;
    std::unique_ptr<Writer> _writer;
};

} // namespace tavosce
