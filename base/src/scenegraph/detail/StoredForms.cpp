#include "scenegraph/detail/StoredForms.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <system_error>

namespace tsg::detail
{

namespace
{

constexpr int COLOUR_BYTES = 4;

/// Copies values one by one into a new array of another type.
template <class Target, class Source, class Convert>
vtkSmartPointer<Target> converted(Source& source, const Convert& convert)
{
    auto res = vtkSmartPointer<Target>::New();
    res->SetName(source.GetName());
    res->SetNumberOfComponents(source.GetNumberOfComponents());
    res->SetNumberOfTuples(source.GetNumberOfTuples());
    const vtkIdType count = source.GetNumberOfTuples() * source.GetNumberOfComponents();
    for (vtkIdType i = 0; i < count; ++i)
    {
        res->SetValue(i, convert(source.GetValue(i)));
    }
    return res;
}

bool sameName(vtkUnsignedCharArray& a, const char* name)
{
    return a.GetName() && name && std::strcmp(a.GetName(), name) == 0;
}

bool sameColours(vtkUnsignedCharArray& a, vtkUnsignedCharArray& b)
{
    const vtkIdType count = a.GetNumberOfValues();
    return count == b.GetNumberOfValues() &&
           std::memcmp(a.GetPointer(0), b.GetPointer(0), static_cast<std::size_t>(count)) == 0;
}

bool sameBits(vtkBitArray& bits, vtkUnsignedCharArray& bytes)
{
    bool res = bits.GetNumberOfComponents() == bytes.GetNumberOfComponents() &&
               bits.GetNumberOfTuples() == bytes.GetNumberOfTuples();
    const vtkIdType count = bits.GetNumberOfTuples() * bits.GetNumberOfComponents();
    for (vtkIdType i = 0; res && i < count; ++i)
    {
        res = (bits.GetValue(i) != 0) == (bytes.GetValue(i) != 0);
    }
    return res;
}

void appendNumber(std::string& text, double value)
{
    std::array<char, 32> digits{}; // the shortest form of a double has at most 24 characters
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    text.append(static_cast<const char*>(digits.data()), end);
}

/// Reads one number; the position after it, or null.
const char* readNumber(const char* begin, const char* end, double& value)
{
    const auto [after, error] = std::from_chars(begin, end, value);
    return error == std::errc() ? after : nullptr;
}

} // namespace

vtkSmartPointer<vtkUnsignedCharArray> bytesOfBits(vtkBitArray& bits, vtkUnsignedCharArray* previous)
{
    if (previous && sameName(*previous, bits.GetName()) && sameBits(bits, *previous))
    {
        return previous;
    }
    return converted<vtkUnsignedCharArray>(bits, [](int bit) { return static_cast<unsigned char>(bit); });
}

vtkSmartPointer<vtkBitArray> bitsOfBytes(vtkUnsignedCharArray& bytes)
{
    return converted<vtkBitArray>(bytes, [](unsigned char byte) { return byte != 0 ? 1 : 0; });
}

vtkSmartPointer<vtkUnsignedCharArray> coloursOf(vtkLookupTable& table, const std::string& name,
                                                vtkUnsignedCharArray* previous)
{
    if (table.GetTable()->GetNumberOfTuples() < table.GetNumberOfColors())
    {
        table.Build();
    }
    vtkUnsignedCharArray& colours = *table.GetTable();
    if (!holdsColours(colours))
    {
        return nullptr;
    }
    if (previous && sameName(*previous, name.c_str()) && sameColours(colours, *previous))
    {
        return previous;
    }
    auto res = vtkSmartPointer<vtkUnsignedCharArray>::New();
    res->DeepCopy(&colours);
    res->SetName(name.c_str());
    return res;
}

bool holdsColours(vtkUnsignedCharArray& array)
{
    return array.GetNumberOfComponents() == COLOUR_BYTES && array.GetNumberOfTuples() > 0;
}

vtkSmartPointer<vtkLookupTable> tableOf(vtkUnsignedCharArray& colours, const Range& range)
{
    auto res = vtkSmartPointer<vtkLookupTable>::New();
    const vtkIdType count = colours.GetNumberOfTuples();
    res->SetNumberOfTableValues(count);
    for (vtkIdType i = 0; i < count; ++i)
    {
        // Only colours that come through this pointer survive the table's next Build.
        std::memcpy(res->WritePointer(i, 1), colours.GetPointer(i * COLOUR_BYTES), COLOUR_BYTES);
    }
    res->SetTableRange(range[0], range[1]);
    return res;
}

std::string rangeText(const Range& range)
{
    std::string res;
    appendNumber(res, range[0]);
    res += ' ';
    appendNumber(res, range[1]);
    return res;
}

std::optional<Range> rangeOfText(const std::string& text)
{
    const char* end = text.data() + text.size();
    Range res{};
    const char* gap = readNumber(text.data(), end, res[0]);
    if (!gap || gap == end || *gap != ' ' || readNumber(gap + 1, end, res[1]) != end || res[1] < res[0])
    {
        return std::nullopt;
    }
    return res;
}

} // namespace tsg::detail
