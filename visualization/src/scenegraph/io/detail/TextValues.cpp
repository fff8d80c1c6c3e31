#include "scenegraph/io/detail/TextValues.h"

#include <charconv>
#include <cstring>
#include <memory>
#include <ostream>
#include <type_traits>

#include <vtkByteSwap.h>
#include <vtkType.h>

namespace tsg::detail
{

namespace
{

constexpr int VALUES_PER_LINE = 9;
constexpr int SIGNIFICANT_DIGITS = 6;
constexpr std::size_t CHUNK_BYTES = 65536;
constexpr std::size_t LONGEST_VALUE = 32; ///< with blank and line break

/// Prints a value without any locale; where the text ends.
template <class T>
char* print(char* text, T value)
{
    if constexpr (std::is_floating_point_v<T>)
    {
        return std::to_chars(text, text + LONGEST_VALUE, static_cast<double>(value), std::chars_format::general,
                             SIGNIFICANT_DIGITS)
            .ptr;
    }
    else
    {
        return std::to_chars(text, text + LONGEST_VALUE, value).ptr;
    }
}

template <class T>
void writeValues(std::ostream& out, const char* values, std::int64_t count)
{
    const std::unique_ptr<char[]> chunk(new char[CHUNK_BYTES + LONGEST_VALUE]);
    char* at = chunk.get();
    int inLine = 0;
    for (const char* const end = values + count * static_cast<std::int64_t>(sizeof(T)); values != end;
         values += sizeof(T))
    {
        T value;
        std::memcpy(&value, values, sizeof(T));
        at = print(at, value);
        *at++ = ' ';
        if (++inLine == VALUES_PER_LINE)
        {
            *at++ = '\n';
            inLine = 0;
        }
        if (at >= chunk.get() + CHUNK_BYTES)
        {
            out.write(chunk.get(), at - chunk.get());
            at = chunk.get();
        }
    }
    out.write(chunk.get(), at - chunk.get());
}

struct TextType
{
    int vtkType;
    void (*write)(std::ostream& out, const char* values, std::int64_t count);
};

/// Characters are numbers here.
constexpr TextType TEXT_TYPES[] = {
    {VTK_CHAR, &writeValues<std::int8_t>},     {VTK_UNSIGNED_CHAR, &writeValues<std::uint8_t>},
    {VTK_SHORT, &writeValues<std::int16_t>},   {VTK_UNSIGNED_SHORT, &writeValues<std::uint16_t>},
    {VTK_INT, &writeValues<std::int32_t>},     {VTK_UNSIGNED_INT, &writeValues<std::uint32_t>},
    {VTK_LONG, &writeValues<std::int32_t>},    {VTK_UNSIGNED_LONG, &writeValues<std::uint32_t>},
    {VTK_FLOAT, &writeValues<float>},          {VTK_DOUBLE, &writeValues<double>},
    {VTK_ID_TYPE, &writeValues<std::int32_t>},
};

} // namespace

void writeAsText(std::ostream& out, int vtkType, const char* values, std::int64_t count)
{
    for (const TextType& row : TEXT_TYPES)
    {
        if (row.vtkType == vtkType)
        {
            row.write(out, values, count);
        }
    }
}

void writeBigEndian(std::ostream& out, int width, const char* values, std::int64_t count)
{
    const auto size = static_cast<std::size_t>(count);
    switch (width)
    {
    case 2:
        vtkByteSwap::SwapWrite2BERange(values, size, &out);
        break;
    case 4:
        vtkByteSwap::SwapWrite4BERange(values, size, &out);
        break;
    case 8:
        vtkByteSwap::SwapWrite8BERange(values, size, &out);
        break;
    default:
        out.write(values, count * width);
    }
}

} // namespace tsg::detail
