#include "scenegraph/io/detail/BlockText.h"

#include "scenegraph/io/detail/Limits.h"

#include <cstring>
#include <ostream>

#include <vtkWriter.h>

namespace tsg::detail
{

const char* firstNonEmpty(std::initializer_list<const char*> texts)
{
    for (const char* const text : texts)
    {
        if (text != nullptr && *text != '\0')
        {
            return text;
        }
    }
    return "";
}

std::string encodedName(vtkWriter& writer, const char* name)
{
    constexpr std::size_t ESCAPE_BYTES = 3;
    std::string text(name != nullptr ? ESCAPE_BYTES * std::strlen(name) + 1 : 1, '\0');
    writer.EncodeString(text.data(), name, false);
    text.resize(std::strlen(text.c_str()));
    std::size_t end = sdb::detail::MAX_NAME_BYTES;
    if (text.size() > end)
    {
        const std::size_t escape = text.find('%', end + 1 - ESCAPE_BYTES);
        end = escape < end && escape + ESCAPE_BYTES > end ? escape : end;
        text.resize(end);
    }
    return text;
}

std::string escapedForTemplate(std::string_view text)
{
    std::string escaped;
    for (const char c : text)
    {
        escaped.append(c == '%' ? 2 : 1, c);
    }
    return escaped;
}

std::string fillTemplate(std::string_view lineTemplate, std::string_view typeWord)
{
    std::string line;
    for (std::size_t i = 0; i < lineTemplate.size(); ++i)
    {
        const char next = i + 1 < lineTemplate.size() ? lineTemplate[i + 1] : '\0';
        if (lineTemplate[i] == '%' && next == 's')
        {
            line += typeWord;
            ++i;
        }
        else
        {
            line += lineTemplate[i];
            i += lineTemplate[i] == '%' && next == '%' ? 1 : 0;
        }
    }
    return line;
}

void writeText(std::ostream& out, std::string_view text)
{
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace tsg::detail
