#include "TagText.h"

#include "core/Properties.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Positions.h"

namespace tavosce
{

namespace
{

constexpr const char* BLANKS = " \t";

/// Goes through the text of a tag, one token after another. The text is known to be well formed.
class Tokens
{
public:
    explicit Tokens(const std::string& text)
        : _text(text)
    {
    }

    /// Goes behind a single character and the blanks around it.
    void skip()
    {
        skipBlanks();
        ++_at;
        skipBlanks();
    }

    /// True if the object's last brace comes next.
    bool atEnd() const { return _at + 1 >= _text.size() || _text[_at] == '}'; }

    std::size_t position() const { return _at; }

    /// Goes behind a string, a number or an object.
    void skipValue()
    {
        std::size_t depth = 0;
        do
        {
            const char c = _text[_at];
            depth += c == '{' ? 1 : 0;
            depth -= c == '}' ? 1 : 0;
            c == '"' ? skipString() : skipCharacters(depth == 0 && c != '}');
        } while (depth > 0 && _at < _text.size());
    }

private:
    void skipBlanks()
    {
        const std::size_t next = _text.find_first_not_of(BLANKS, _at);
        _at = next == std::string::npos ? _text.size() : next;
    }

    void skipString()
    {
        for (++_at; _at < _text.size() && _text[_at] != '"'; ++_at)
        {
            _at += _text[_at] == '\\' ? 1 : 0;
        }
        ++_at;
    }

    /// A number, or else a single character.
    void skipCharacters(bool isNumber) { _at = isNumber ? _text.find_first_of(",} \t", _at) : _at + 1; }

    const std::string& _text;
    std::size_t _at = 0;
};

/// True if a string of the text, quotes included, is spelled or escaped like a key.
bool isKey(const std::string& quoted, const char* key)
{
    return quoted.find('\\') == std::string::npos ? quoted == '"' + std::string(key) + '"'
                                                  : Properties('{' + quoted + ":0}").hasName(key);
}

std::string inQuotes(const std::string& digits)
{
    return '"' + digits + '"';
}

} // namespace

TagText::TagText(std::string text)
    : _text(std::move(text))
{
}

void TagText::widenPosition(const char* key)
{
    const std::string wide = inQuotes(sdb::detail::hexPosition(sdb::hexFromProp(Properties(_text), key)));
    const auto found = find(key);
    if (!found || found->second - found->first != wide.size())
    {
        replace(key, wide);
    }
}

void TagText::setPosition(const char* key, std::uint64_t value)
{
    if (!find(key) || sdb::hexFromProp(Properties(_text), key) != value)
    {
        replace(key, inQuotes(sdb::detail::hexPosition(value)));
    }
}

void TagText::setNumber(const char* key, int value)
{
    replace(key, std::to_string(value));
}

/// Where the value of a key stands; of keys that come twice the last one counts.
std::optional<TagText::Span> TagText::find(const char* key) const
{
    std::optional<Span> res;
    Tokens tokens(_text);
    for (tokens.skip(); !tokens.atEnd(); tokens.skip())
    {
        const std::size_t name = tokens.position();
        tokens.skipValue();
        const bool isFound = isKey(_text.substr(name, tokens.position() - name), key);
        tokens.skip(); // the colon
        const std::size_t value = tokens.position();
        tokens.skipValue();
        res = isFound ? Span(value, tokens.position()) : res;
    }
    return res;
}

void TagText::replace(const char* key, const std::string& value)
{
    if (const auto found = find(key))
    {
        _text.replace(found->first, found->second - found->first, value);
    }
    else
    {
        _text.insert(_text.size() - 1, ',' + inQuotes(key) + ':' + value);
    }
}

} // namespace tavosce
