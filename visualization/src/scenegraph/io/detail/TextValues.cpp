#include "scenegraph/io/detail/TextValues.h"

#include "scenegraph/io/detail/TextChunks.h"

#include <cstring>
#include <ostream>

#include <vtkByteSwap.h>
#include <vtkType.h>

namespace tsg::detail
{

namespace
{

constexpr int VALUES_PER_LINE = 9;
constexpr int BITS_PER_BYTE = 8;

template <class T>
void writeValues(std::ostream& out, const char* values, std::int64_t count)
{
    TextChunks text(out);
    int inLine = 0;
    for (const char* const end = values + count * static_cast<std::int64_t>(sizeof(T)); values != end;
         values += sizeof(T))
    {
        T value;
        std::memcpy(&value, values, sizeof(T));
        text.addNumber(value);
        text.add(' ');
        if (++inLine == VALUES_PER_LINE)
        {
            text.add('\n');
            inLine = 0;
        }
    }
    text.finish();
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

void writeBitsAsText(std::ostream& out, const unsigned char* bits, std::int64_t count)
{
    TextChunks text(out);
    for (std::int64_t i = 0; i < count; ++i)
    {
        const int shift = BITS_PER_BYTE - 1 - static_cast<int>(i % BITS_PER_BYTE);
        text.add((bits[i / BITS_PER_BYTE] >> shift & 1) != 0 ? '1' : '0');
        text.add(shift == 0 ? '\n' : ' ');
    }
    text.finish();
}

void writeBits(std::ostream& out, const unsigned char* bits, std::int64_t count)
{
    const std::int64_t whole = count / BITS_PER_BYTE;
    const int rest = static_cast<int>(count % BITS_PER_BYTE);
    out.write(reinterpret_cast<const char*>(bits), whole);
    if (rest != 0)
    {
        out.put(static_cast<char>(bits[whole] & ~(UINT8_MAX >> rest)));
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
