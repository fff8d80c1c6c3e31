#pragma once

#include "core/Export.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// A keyed record of strings, integers and nested records, which keeps its keys in the order in which they were first
/// set. Rendered as a one-line JSON object it is the property tag of the file formats.
///
/// Text form: no white space outside strings; double quotes and backslashes escaped with a backslash, bytes below 0x20
/// as JSON escapes, braces inside strings and keys as `\u007b` and `\u007d`, so that a raw one always opens or closes
/// an object. Strings are byte strings: bytes from 0x80 up pass through unchanged, valid UTF-8 or not.
///
/// Reading a key that is missing or holds another kind of value gives the empty string, 0, or an empty record; no
/// accessor throws on any text.
class TAVO_EXPORT Properties
{
public:
    /// Modes of `set`.
    enum SetMode
    {
        KeepExisting = 0, ///< a key that exists keeps its value
        Overwrite = 1     ///< a key that exists gets the new value in its old place
    };

    /// Kinds of value. A map from string to integer is a Record of Integers.
    enum class Kind
    {
        None, ///< no such key
        String,
        Integer,
        Record
    };

    /// Records nested deeper than this are not read, and cannot be built.
    static constexpr int MAX_DEPTH = 256;

    Properties();
    /// Parses a text. Anything but one JSON object of strings, 64-bit integers and such objects (malformed text,
    /// floats, lists, literals, nesting beyond MAX_DEPTH, text after the object) gives an empty record; nothing is
    /// thrown. Every JSON escape is accepted; of duplicate keys the last one wins.
    explicit Properties(const std::string& text);
    Properties(const Properties& other);
    Properties(Properties&& other) noexcept;
    Properties& operator=(const Properties& other);
    Properties& operator=(Properties&& other) noexcept;
    ~Properties();

    void set(const std::string& key, const std::string& value, int mode = KeepExisting);
    /// A null pointer is the empty string.
    void set(const std::string& key, const char* value, int mode = KeepExisting);
    void set(const std::string& key, int value, int mode = KeepExisting);
    void set(const std::string& key, long value, int mode = KeepExisting);
    void set(const std::string& key, long long value, int mode = KeepExisting);
    /// Raises InternalError when the result would nest deeper than MAX_DEPTH.
    void set(const std::string& key, Properties value, int mode = KeepExisting);
    void set(const std::string& key, const std::map<std::string, int>& value, int mode = KeepExisting);

    /// Removes a key; one that is missing is ignored.
    void remove(const std::string& key);
    /// Gives a key another name in its old place. Nothing happens when `from` is missing or `to` exists.
    void rename(const std::string& from, const std::string& to);

    bool hasName(const std::string& key) const;
    Kind kind(const std::string& key) const;
    const std::string& getString(const std::string& key) const;
    /// A number outside 32 bits reads as 0.
    int getInt(const std::string& key) const;
    std::int64_t getLong(const std::string& key) const;
    const Properties& getProperties(const std::string& key) const;
    /// Replaces `value` by the record's integers that fit 32 bits; empty when the key is missing or no record.
    void get(const std::string& key, std::map<std::string, int>& value) const;

    /// The keys in order.
    std::vector<std::string> names() const;
    std::size_t size() const;

    bool empty() const { return size() == 0; }

    std::string toString() const;
    void toStream(std::ostream& out) const;

    /// Same keys with same values, in any order, at every level.
    bool operator==(const Properties& other) const;

    bool operator!=(const Properties& other) const { return !(*this == other); }

private:
    struct Content;
    class Parser;
    class Renderer;

    Content& content();

    std::unique_ptr<Content> _content; ///< null while empty
};
