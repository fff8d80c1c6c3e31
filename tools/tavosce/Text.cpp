#include "Text.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include <utf8.h>

namespace tavosce
{

namespace
{

constexpr char DIGITS[] = "0123456789abcdef";
constexpr char UPPER_DIGITS[] = "0123456789ABCDEF";

/// Ranges of characters that cannot be seen but do something to the text around them or to a terminal: controls, marks
/// of direction, separators of lines and paragraphs, and what Unicode calls no characters.
constexpr std::pair<std::uint32_t, std::uint32_t> HIDDEN[] = {
    {0, 0x1f}, {0x7f, 0x9f}, {0x61c, 0x61c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}, {0xfffe, 0xffff}};

bool isHidden(std::uint32_t codePoint)
{
    return std::any_of(std::begin(HIDDEN), std::end(HIDDEN),
                       [codePoint](const auto& range)
                       { return codePoint >= range.first && codePoint <= range.second; });
}

/// Hands a text out piece by piece: well-formed characters, and single bytes that belong to none.
template <class Character, class Byte>
void forEachPiece(const std::string& text, Character character, Byte byte)
{
    auto it = text.begin();
    while (it != text.end())
    {
        const auto invalid = utf8::find_invalid(it, text.end());
        while (it != invalid)
        {
            const auto start = it;
            const std::uint32_t codePoint = utf8::unchecked::next(it);
            character(codePoint, std::string_view(&*start, static_cast<std::size_t>(it - start)));
        }
        if (it != text.end())
        {
            byte(static_cast<unsigned char>(*it++));
        }
    }
}

std::string_view namePart(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return std::string_view(path).substr(slash == std::string::npos ? 0 : slash + 1);
}

/// Where the extension of a name begins; its size if it has none.
std::size_t dotOf(std::string_view name)
{
    const std::size_t dot = name.find_last_of('.');
    return dot == std::string_view::npos || dot == 0 ? name.size() : dot;
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Writes %XX for the bytes of unfit characters, for bytes that are no UTF-8, and for a "%" that could be taken for the
/// beginning of such a mark: different texts stay different.
template <class Unfit>
std::string marked(const std::string& text, Unfit unfit)
{
    std::string res;
    const auto mark = [&res](unsigned char byte)
    {
        res += '%';
        res += UPPER_DIGITS[byte >> 4];
        res += UPPER_DIGITS[byte & 15];
    };
    const auto character = [&](std::uint32_t codePoint, std::string_view bytes)
    {
        const char* const next = bytes.data() + bytes.size();
        const bool looksMarked =
            codePoint == '%' && text.c_str() + text.size() - next >= 2 && isHexDigit(next[0]) && isHexDigit(next[1]);
        if (unfit(codePoint) || looksMarked)
        {
            std::for_each(bytes.begin(), bytes.end(), mark);
        }
        else
        {
            res += bytes;
        }
    };
    forEachPiece(text, character, mark);
    return res;
}

enum class Backslashes
{
    Doubled,
    Kept
};

/// A text in which hidden characters and bytes that are no UTF-8 are visible.
std::string visible(const std::string& text, Backslashes backslashes)
{
    std::string res;
    const auto escape = [&res](unsigned char byte)
    {
        res += "\\x";
        res += DIGITS[byte >> 4];
        res += DIGITS[byte & 15];
    };
    const auto character = [&](std::uint32_t codePoint, std::string_view bytes)
    {
        if (codePoint == '\n' || codePoint == '\t')
        {
            res += codePoint == '\n' ? "\\n" : "\\t";
        }
        else if (isHidden(codePoint))
        {
            std::for_each(bytes.begin(), bytes.end(), escape);
        }
        else
        {
            res += bytes;
            res += codePoint == '\\' && backslashes == Backslashes::Doubled ? "\\" : "";
        }
    };
    forEachPiece(text, character, escape);
    return res;
}

} // namespace

bool isUtf8(const std::string& text)
{
    return utf8::is_valid(text.begin(), text.end());
}

std::string shown(const std::string& text)
{
    return visible(text, Backslashes::Doubled);
}

std::string shownJson(const std::string& json)
{
    return visible(json, Backslashes::Kept);
}

std::string shownJsonStart(const std::string& json)
{
    constexpr std::size_t MOST_BYTES = 1000;
    const std::size_t end = beginningOf(json, MOST_BYTES);
    return shownJson(json.substr(0, end)) + (end < json.size() ? "..." : "");
}

std::string escapedJson(const std::string& json)
{
    std::string res;
    const auto character = [&res](std::uint32_t codePoint, std::string_view bytes)
    {
        if (!isHidden(codePoint))
        {
            res += bytes;
            return;
        }
        res += "\\u";
        for (int shift = 12; shift >= 0; shift -= 4)
        {
            res += DIGITS[codePoint >> shift & 15];
        }
    };
    forEachPiece(json, character, [&res](unsigned char byte) { res += static_cast<char>(byte); });
    return res;
}

std::size_t beginningOf(const std::string& text, std::size_t most)
{
    std::size_t end = std::min(most, text.size());
    while (end > 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80)
    {
        --end;
    }
    return end;
}

std::string inQuotes(const std::string& text)
{
    std::string res = shown(text); // its backslashes are doubled already
    for (std::size_t at = res.find('"'); at != std::string::npos; at = res.find('"', at + 2))
    {
        res.insert(at, 1, '\\');
    }
    return '"' + res + '"';
}

std::string base64(const std::string& bytes)
{
    constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string res;
    for (std::size_t i = 0; i < bytes.size(); i += 3)
    {
        const std::size_t present = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
        {
            group = group << 8 | (k < present ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k)
        {
            res += k <= present ? ALPHABET[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return res;
}

std::string hexadecimal(std::uint64_t value)
{
    std::string digits;
    do
    {
        digits.insert(digits.begin(), DIGITS[value & 15]);
        value >>= 4;
    } while (value != 0);
    return "0x" + digits;
}

std::string counted(std::uint64_t number, const std::string& noun)
{
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : "s");
}

std::string padded(const std::string& text, std::size_t width)
{
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

std::string fileNameOf(const std::string& objectKey)
{
    return marked(objectKey, [](std::uint32_t codePoint) { return codePoint == '/' || isHidden(codePoint); });
}

std::string xmlNameOf(const std::string& name)
{
    if (name.empty())
    {
        return "%00"; // as if it were its end: VTK's reader refuses a file in which a name is empty
    }
    const auto unfit = [](std::uint32_t codePoint)
    {
        const bool blank = codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
        return (codePoint < 0x20 && !blank) || codePoint == 0xfffe || codePoint == 0xffff;
    };
    bool fits = true;
    forEachPiece(
        name, [&](std::uint32_t codePoint, std::string_view) { fits = fits && !unfit(codePoint); },
        [&](unsigned char) { fits = false; });
    return fits ? name : marked(name, unfit);
}

std::string xmlText(const std::string& text)
{
    std::string res;
    for (const char c : text)
    {
        switch (c)
        {
        case '&':
        case '<':
        case '>':
        case '"':
        case '\t':
        case '\n':
        case '\r':
            res += "&#" + std::to_string(static_cast<int>(c)) + ';';
            break;
        default:
            res += c;
            break;
        }
    }
    return res;
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::string nameOf(const std::string& path)
{
    return std::string(namePart(path));
}

std::string stemOf(const std::string& path)
{
    const std::string_view name = namePart(path);
    return std::string(name.substr(0, dotOf(name)));
}

std::string extensionOf(const std::string& path)
{
    const std::string_view name = namePart(path);
    std::string res(name.substr(dotOf(name)));
    std::transform(res.begin(), res.end(), res.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return res;
}

std::string systemReason()
{
    return errno == 0 ? "failed" : std::generic_category().message(errno);
}

} // namespace tavosce
