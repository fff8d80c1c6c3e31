#include "scenegraph/io/detail/TokenReader.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <locale>
#include <string>
#include <type_traits>

namespace tsg::detail
{

namespace
{

using Characters = std::char_traits<char>;

bool isBlank(int character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Goes to the next byte that is no white space. False, with the stream failed, if there is none.
bool skipBlanks(std::istream& in)
{
    const std::istream::sentry ready(in, true);
    if (!ready)
    {
        return false;
    }
    std::streambuf& buffer = *in.rdbuf();
    int next = buffer.sgetc();
    while (isBlank(next))
    {
        next = buffer.snextc();
    }
    if (next == Characters::eof())
    {
        in.setstate(std::ios::eofbit | std::ios::failbit);
        return false;
    }
    return true;
}

/// The type that num_get parses for a T, with the range check left to be made where it is wider.
template <class T>
using Parsed = std::conditional_t<std::is_integral_v<T> && std::is_signed_v<T>, long, T>;

template <class T>
bool narrow(long parsed, T& value)
{
    using Limits = std::numeric_limits<T>;
    value = static_cast<T>(std::clamp<long>(parsed, Limits::min(), Limits::max()));
    return static_cast<long>(value) == parsed;
}

} // namespace

bool readLine(std::istream& in, char* line)
{
    in.getline(line, TOKEN_BYTES);
    if (!in.fail())
    {
        return true;
    }
    if (in.eof())
    {
        return false;
    }
    if (in.gcount() == TOKEN_BYTES - 1)
    {
        in.clear();
        in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return true;
}

bool readWord(std::istream& in, char* word)
{
    char* end = word;
    if (skipBlanks(in))
    {
        std::streambuf& buffer = *in.rdbuf();
        int next = buffer.sgetc();
        while (next != Characters::eof() && !isBlank(next) && end - word < TOKEN_BYTES - 1)
        {
            *end++ = Characters::to_char_type(next);
            next = buffer.snextc();
        }
        if (next == Characters::eof())
        {
            in.setstate(std::ios::eofbit);
        }
    }
    *end = '\0';
    return !in.fail();
}

void skipRestOfLine(std::istream& in)
{
    in.ignore(TOKEN_BYTES, '\n');
}

void lowerCase(char* text, std::size_t length)
{
    for (std::size_t i = 0; i < length && text[i] != '\0'; ++i)
    {
        if (text[i] >= 'A' && text[i] <= 'Z')
        {
            text[i] = static_cast<char>(text[i] - 'A' + 'a');
        }
    }
}

bool isWanted(const char* asked, const char* name)
{
    return asked == nullptr || std::strcmp(asked, name) == 0;
}

NumberReader::NumberReader(std::istream& in)
    : _in(in)
    , _format(nullptr)
{
    _format.imbue(std::locale::classic());
}

template <class T>
bool NumberReader::read(T& value)
{
    value = T();
    if (!skipBlanks(_in))
    {
        return false;
    }
    using Iterator = std::istreambuf_iterator<char>;
    std::ios_base::iostate state = std::ios_base::goodbit;
    Parsed<T> parsed{};
    std::use_facet<std::num_get<char>>(std::locale::classic()).get(Iterator(_in), Iterator(), _format, state, parsed);
    if constexpr (std::is_same_v<Parsed<T>, T>)
    {
        value = parsed;
    }
    else if (!narrow(parsed, value))
    {
        state |= std::ios_base::failbit;
    }
    _in.setstate(state);
    return !_in.fail();
}

template <>
bool NumberReader::read(char& value)
{
    int number = 0;
    const bool found = read(number);
    value = static_cast<char>(static_cast<unsigned>(number));
    return found;
}

template <>
bool NumberReader::read(unsigned char& value)
{
    char low = 0;
    const bool found = read(low);
    value = static_cast<unsigned char>(low);
    return found;
}

template bool NumberReader::read(short&);
template bool NumberReader::read(unsigned short&);
template bool NumberReader::read(int&);
template bool NumberReader::read(unsigned int&);
template bool NumberReader::read(long&);
template bool NumberReader::read(unsigned long&);
template bool NumberReader::read(float&);
template bool NumberReader::read(double&);

} // namespace tsg::detail
