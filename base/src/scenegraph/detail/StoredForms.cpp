#include "scenegraph/detail/StoredForms.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <system_error>
#include <utility>
#include <vector>

namespace tsg::detail
{

namespace
{

constexpr int COLOUR_BYTES = 4;
constexpr const char* PLACE = "Place";
constexpr const char* COMPONENTS = "Components";
constexpr const char* VALUES = "Values";

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

/// True if VTK, which ends its names at a zero byte, can have such a name.
bool isName(const std::string& text)
{
    return text.find('\0') == std::string::npos;
}

/// True if the keys are "0", "1" and so on.
bool isNumbered(const std::vector<std::string>& keys)
{
    bool res = true;
    for (std::size_t i = 0; res && i < keys.size(); ++i)
    {
        res = keys[i] == std::to_string(i);
    }
    return res;
}

bool isStringsEntry(const std::string& name, const Properties& entry)
{
    const std::int64_t components = entry.getLong(COMPONENTS);
    return isName(name) && entry.size() == 3 && entry.kind(PLACE) == Properties::Kind::Integer &&
           entry.getLong(PLACE) >= 0 && components > 0 && entry.kind(VALUES) == Properties::Kind::Record &&
           components <= ArrayList::maxComponents(static_cast<std::int64_t>(entry.getProperties(VALUES).size()));
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

Properties componentNamesOf(vtkAbstractArray& array)
{
    int end = array.HasAComponentName() ? array.GetNumberOfComponents() : 0;
    while (end > 0 && !array.GetComponentName(end - 1))
    {
        --end;
    }
    Properties res;
    for (int i = 0; i < end; ++i)
    {
        const char* name = array.GetComponentName(i);
        name ? res.set(std::to_string(i), name) : res.set(std::to_string(i), 0);
    }
    return res;
}

bool nameComponents(vtkAbstractArray& array, const Properties& names)
{
    const std::vector<std::string> keys = names.names();
    const auto isOurs = [&](const std::string& key)
    {
        return names.kind(key) == Properties::Kind::String
                   ? isName(names.getString(key))
                   : names.kind(key) == Properties::Kind::Integer && names.getLong(key) == 0;
    };
    if (keys.empty() || keys.size() > static_cast<std::size_t>(array.GetNumberOfComponents()) || !isNumbered(keys) ||
        !std::all_of(keys.begin(), keys.end(), isOurs) || names.kind(keys.back()) != Properties::Kind::String)
    {
        return false;
    }
    for (std::size_t i = 0; i < keys.size(); ++i)
    {
        if (names.kind(keys[i]) == Properties::Kind::String)
        {
            array.SetComponentName(static_cast<vtkIdType>(i), names.getString(keys[i]).c_str());
        }
    }
    return true;
}

Properties stringsEntry(vtkStringArray& array, std::size_t place)
{
    Properties values;
    for (vtkIdType i = 0; i < array.GetNumberOfValues(); ++i)
    {
        values.set(std::to_string(i), array.GetValue(i));
    }
    Properties res;
    res.set(PLACE, static_cast<long long>(place));
    res.set(COMPONENTS, array.GetNumberOfComponents());
    res.set(VALUES, std::move(values));
    return res;
}

std::optional<ArrayList::Placed> stringsOfEntry(const std::string& name, const Properties& entry)
{
    const Properties& values = entry.getProperties(VALUES);
    const std::vector<std::string> keys = values.names();
    if (!isStringsEntry(name, entry) || !isNumbered(keys))
    {
        return std::nullopt;
    }
    auto res = vtkSmartPointer<vtkStringArray>::New();
    res->SetName(name.c_str());
    res->SetNumberOfComponents(entry.getInt(COMPONENTS));
    res->SetNumberOfValues(static_cast<vtkIdType>(keys.size()));
    for (std::size_t i = 0; i < keys.size(); ++i)
    {
        if (values.kind(keys[i]) != Properties::Kind::String)
        {
            return std::nullopt;
        }
        res->SetValue(static_cast<vtkIdType>(i), values.getString(keys[i]));
    }
    return ArrayList::Placed{entry.getLong(PLACE), res};
}

} // namespace tsg::detail
