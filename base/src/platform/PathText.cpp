#include "platform/FileSystem.h"

#include <cstdint>
#include <iterator>

#include <utf8cpp/utf8.h>

namespace OS
{

namespace
{

/// A byte that belongs to no UTF-8 sequence is at least 0x80 and becomes this code point plus the byte.
constexpr std::uint32_t ESCAPE_BASE = 0xdc00;
constexpr std::uint32_t REPLACEMENT = 0xfffd;

bool isEscapedByte(std::uint32_t codePoint)
{
    return codePoint >= ESCAPE_BASE + 0x80 && codePoint <= ESCAPE_BASE + 0xff;
}

bool isCharacter(std::uint32_t codePoint)
{
    const bool isSurrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
    return codePoint <= 0x10ffff && !isSurrogate;
}

} // namespace

std::string toNarrow(const std::wstring& text)
{
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar_t character : text)
    {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wide character has 32 bits here
        const auto codePoint = static_cast<std::uint32_t>(character);
        if (isEscapedByte(codePoint))
        {
            narrow += static_cast<char>(codePoint - ESCAPE_BASE);
        }
        else
        {
            utf8::unchecked::append(isCharacter(codePoint) ? codePoint : REPLACEMENT, std::back_inserter(narrow));
        }
    }
    return narrow;
}

std::wstring toWide(const std::string& text)
{
    std::wstring wide;
    wide.reserve(text.size());
    auto next = text.begin();
    while (next != text.end())
    {
        const auto valid = utf8::find_invalid(next, text.end());
        utf8::unchecked::utf8to32(next, valid, std::back_inserter(wide));
        next = valid;
        if (next != text.end())
        {
            wide += static_cast<wchar_t>(ESCAPE_BASE + static_cast<unsigned char>(*next));
            ++next;
        }
    }
    return wide;
}

} // namespace OS
