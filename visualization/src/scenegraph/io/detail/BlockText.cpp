#include "scenegraph/io/detail/BlockText.h"

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/Limits.h"

#include <cstring>
#include <ostream>
#include <utility>

#include <vtkWriter.h>

namespace tsg::detail
{

namespace
{

constexpr std::size_t ESCAPE_BYTES = 3; ///< a percent sign and two hexadecimal digits

} // namespace

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

std::string cutToToken(std::string name)
{
    std::size_t end = sdb::detail::MAX_NAME_BYTES;
    if (name.size() > end)
    {
        const std::size_t escape = name.find('%', end + 1 - ESCAPE_BYTES);
        end = escape < end && escape + ESCAPE_BYTES > end ? escape : end;
        name.resize(end);
    }
    return name;
}

std::string encodedName(vtkWriter& writer, const char* name)
{
    std::string text(name != nullptr ? ESCAPE_BYTES * std::strlen(name) + 1 : 1, '\0');
    writer.EncodeString(text.data(), name, false);
    text.resize(std::strlen(text.c_str()));
    return cutToToken(std::move(text));
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

std::string headerText(const char* title, int fileType)
{
    std::string text(IDENTIFICATION);
    text += '\n';
    text += firstNonEmpty({title});
    text += '\n';
    text += fileType == VTK_ASCII ? ASCII_WORD : BINARY_WORD;
    text += '\n';
    return text;
}

std::string fieldArrayTemplate(const std::string& name, int components, std::int64_t tuples)
{
    return escapedForTemplate(name) + ' ' + std::to_string(components) + ' ' + std::to_string(tuples) + " %s\n";
}

std::string scalarsTemplate(const std::string& name, int components, const std::string& table)
{
    return escapedForTemplate(name) + " %s" + (components == 1 ? "" : ' ' + std::to_string(components)) + '\n' +
           std::string(LOOKUP_TABLE_WORD) + ' ' + escapedForTemplate(table) + '\n';
}

void writeText(std::ostream& out, std::string_view text)
{
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace tsg::detail
