#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// The words and numbers of a text in the VTK legacy format, found by a pass that costs little beside the reading of
/// the text. Every operation but `line` answers false, or an empty word, for a text that is not as it asks for; the
/// place is then anywhere.
namespace tsg::detail
{

/// True if two words are the same, ASCII letters compared in either case.
bool sameWord(std::string_view left, std::string_view right);

/// A value that the text spells with letters, since it has no digits.
struct ReplacedValue
{
    std::int64_t index; ///< in its array, components counted
    double value;       ///< not a number, or infinite
};

class LegacyTokens
{
public:
    /// The text is borrowed; values that are no numbers or infinite are overwritten by zeros of the same length.
    explicit LegacyTokens(std::string& text);

    /// How many bytes are left.
    std::int64_t left() const { return _end - _at; }

    /// True if the last line of the text ends: where it does not, its last number may have been cut.
    bool endsWithLine() const { return _at != _end && _end[-1] == '\n'; }

    /// True if nothing but white space is left.
    bool atEnd();

    /// The rest of the line without its line end; goes to the next line.
    std::string_view line();

    /// Goes to the next word, which has to be the first of its line.
    std::string_view firstWord();

    /// The next word of the line. Words have at most 255 bytes and no control characters.
    std::string_view word();

    /// Goes to the next line; there is nothing left in this one.
    bool endLine();

    /// The next number of the line, which is at least `least`.
    bool count(std::int64_t least, std::int64_t& number);

    /// Puts a smaller number, 0 or more, in the place of one that `count` has found, whose digits were these.
    void replaceCount(std::string_view digits, std::int64_t number);

    /// The next integer, on this line or a later one. It fits T, and nothing but white space follows it.
    template <class T>
    bool integer(T& value)
    {
        skipSpace();
        const auto [end, error] = std::from_chars(_at, _end, value);
        _at += end - _at;
        _lineBegins = false;
        return error == std::errc() && isSpaceOrEnd(*end);
    }

    /// The next decimal fraction, on this line or a later one; T is what it is read as, float or double.
    template <class T>
    bool real(std::int64_t index, std::vector<ReplacedValue>& replaced);

private:
    static bool isSpaceOrEnd(char c);

    void skipSpace();
    bool replace(char* begin, std::int64_t index, std::vector<ReplacedValue>& replaced);

    char* _at;
    char* _end;              ///< a zero stands here
    bool _lineBegins = true; ///< whether only white space stands before `_at` in its line
};

} // namespace tsg::detail
