#pragma once

#include <cstddef>
#include <ios>
#include <istream>

/// Reading of the text parts of dataset blocks: lines, words and numbers. Neither the stream's locale nor its format
/// flags count; white space, letters and digits are those of ASCII.
namespace tsg::detail
{

/// Room of a line or word with its terminating zero.
constexpr int TOKEN_BYTES = 256;

/// Reads one line of at most 255 bytes, without its line feed. Of a longer line the rest is skipped.
/// False only at the end of the stream; a stream that had failed before gives an empty line.
bool readLine(std::istream& in, char* line);

/// Reads the next word of at most 255 bytes; what ends it stays in the stream. False, with an empty word and the fail
/// bit set, if there is none.
bool readWord(std::istream& in, char* word);

/// Skips up to 256 bytes up to and including the next line feed.
void skipRestOfLine(std::istream& in);

/// Lower-cases ASCII letters in place up to the terminating zero or `length`.
void lowerCase(char* text, std::size_t length);

/// True if a name is the one asked for; null asks for none in particular.
bool isWanted(const char* asked, const char* name);

/// Reads decimal numbers from a stream.
class NumberReader
{
public:
    explicit NumberReader(std::istream& in);

    /// Reads the next number; what ends it stays in the stream. Characters are read as the low byte of an int.
    /// False, with the fail bit set, if there is none or it does not fit; `value` is then 0 or the nearest limit.
    template <class T>
    bool read(T& value);

private:
    std::istream& _in;
    std::ios _format; ///< holds the classic locale and default flags, nothing else
};

} // namespace tsg::detail
