#include "scenegraph/io/detail/StoredArray.h"

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/Limits.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <vtkDataArray.h>

namespace tsg::detail
{

namespace
{

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "values are stored as they lie in memory");

template <class Memory, class Stored>
std::string refusalOf(const void* values, std::int64_t count)
{
    const auto* const begin = static_cast<const Memory*>(values);
    const auto fits = [](Memory value) { return static_cast<Memory>(static_cast<Stored>(value)) == value; };
    const Memory* const bad = std::find_if_not(begin, begin + count, fits);
    if (bad == begin + count)
    {
        return {};
    }
    return "value " + std::to_string(*bad) + " does not fit " + std::to_string(sizeof(Stored)) + " bytes";
}

template <class Memory, class Stored>
void packValues(const void* values, char* stored, std::int64_t count)
{
    const auto* const from = static_cast<const Memory*>(values);
    for (std::int64_t i = 0; i < count; ++i)
    {
        const auto value = static_cast<Stored>(from[i]);
        std::memcpy(stored + i * static_cast<std::int64_t>(sizeof value), &value, sizeof value);
    }
}

template <class Memory, class Stored>
void widenValues(const char* stored, void* values, std::int64_t count)
{
    auto* const to = static_cast<Memory*>(values);
    for (std::int64_t i = 0; i < count; ++i)
    {
        Stored value = 0;
        std::memcpy(&value, stored + i * static_cast<std::int64_t>(sizeof value), sizeof value);
        to[i] = value;
    }
}

/// How values whose width in memory differs from the stored one go there and back.
struct Conversion
{
    int vtkType;
    int width; ///< of a stored value
    std::string (*refusal)(const void* values, std::int64_t count);
    void (*pack)(const void* values, char* stored, std::int64_t count);
    void (*widen)(const char* stored, void* values, std::int64_t count);
};

template <class Memory, class Stored>
constexpr Conversion conversion(int vtkType)
{
    return {vtkType, sizeof(Stored), &refusalOf<Memory, Stored>, &packValues<Memory, Stored>,
            &widenValues<Memory, Stored>};
}

constexpr Conversion CONVERSIONS[] = {
    conversion<long, std::int32_t>(VTK_LONG),
    conversion<unsigned long, std::uint32_t>(VTK_UNSIGNED_LONG),
    conversion<vtkIdType, std::int32_t>(VTK_ID_TYPE),
    conversion<vtkIdType, std::uint16_t>(VTK_ID_TYPE),
};

/// Null where the layouts agree.
const Conversion* conversionOf(int vtkType, int width)
{
    for (const Conversion& row : CONVERSIONS)
    {
        if (row.vtkType == vtkType && row.width == width && vtkAbstractArray::GetDataTypeSize(vtkType) != width)
        {
            return &row;
        }
    }
    return nullptr;
}

/// Why values of this kind and number are not stored whatever they are.
std::string countRefusal(vtkDataArray& array, std::int64_t valueCount)
{
    const int type = array.GetDataType();
    if (!isStorable(type))
    {
        return "values of type " + std::to_string(type) + " are not stored";
    }
    // The values of a last tuple that is not full do not count.
    const std::int64_t held = array.GetNumberOfTuples() * array.GetNumberOfComponents();
    if (valueCount < 0 || held < valueCount)
    {
        return "it holds " + std::to_string(held) + " values where " + std::to_string(valueCount) + " are expected";
    }
    if (valueCount > MAX_STORED / std::max(storedWidth(type), 1))
    {
        return std::to_string(valueCount) + " values take 2 GiB or more";
    }
    return {};
}

/// The same for the values of a contiguous array.
std::string valueRefusal(vtkDataArray& array, std::int64_t valueCount)
{
    const Conversion* const conversion = conversionOf(array.GetDataType(), storedWidth(array.GetDataType()));
    return conversion != nullptr && valueCount > 0 ? conversion->refusal(array.GetVoidPointer(0), valueCount) : "";
}

/// Bytes that an array of bits takes in memory. VTK writes the last byte of adopted bits in any case.
std::uint64_t bitMemory(std::int64_t valueCount)
{
    return static_cast<std::uint64_t>(valueCount) / 8 + 2;
}

/// Makes memory larger, with what it holds; false, and nothing has changed, if there is not so much.
bool grow(AdoptableMemory& memory, std::uint64_t bytes)
{
    char* const grown = static_cast<char*>(std::realloc(memory.get(), bytes));
    if (grown == nullptr)
    {
        return false;
    }
    (void)memory.release(); // it has moved
    memory.reset(grown);
    return true;
}

/// Widens values on their way into memory, through a window.
ValueSource widening(const Conversion& conversion, int memoryWidth, const ValueSource& source)
{
    return [&conversion, memoryWidth, &source](char* data, std::uint64_t bytes)
    {
        constexpr std::uint64_t WINDOW_VALUES = 16384;
        char window[WINDOW_VALUES * sizeof(std::int32_t)];
        const auto width = static_cast<std::uint64_t>(conversion.width);
        const auto wide = static_cast<std::uint64_t>(memoryWidth);
        std::uint64_t done = 0;
        for (std::uint64_t left = bytes / wide; left > 0;)
        {
            const std::uint64_t values = std::min(left, WINDOW_VALUES);
            const std::uint64_t got = source(window, values * width);
            std::fill(window + got, window + values * width, '\0'); // of a value that is cut off
            const std::uint64_t come = (got + width - 1) / width;
            conversion.widen(window, data + done, static_cast<std::int64_t>(come));
            done += come * wide;
            left = come < values ? 0 : left - values;
        }
        return done;
    };
}

/// The memory of an array's values, filled; null if there is none for them.
AdoptableMemory valueMemory(int vtkType, int width, std::int64_t valueCount, const sdb::detail::MemoryBudget& budget,
                            const ValueSource& source)
{
    if (vtkType == VTK_BIT)
    {
        return readMemory(bitMemory(valueCount), budget, [](char*, std::uint64_t) { return std::uint64_t{0}; });
    }
    const int memoryWidth = vtkAbstractArray::GetDataTypeSize(vtkType);
    const std::uint64_t bytes = static_cast<std::uint64_t>(valueCount) * static_cast<std::uint64_t>(memoryWidth);
    const Conversion* const conversion = conversionOf(vtkType, width);
    return readMemory(bytes, budget, conversion != nullptr ? widening(*conversion, memoryWidth, source) : source);
}

} // namespace

int storedWidth(int vtkType)
{
    if (const TypeWord* const row = typeWordOf(vtkType))
    {
        return row->width;
    }
    return isStorable(vtkType) ? vtkAbstractArray::GetDataTypeSize(vtkType) : 0;
}

bool isStorable(int vtkType)
{
    return (vtkType >= VTK_BIT && vtkType <= VTK_ID_TYPE) ||
           (vtkType >= VTK_SIGNED_CHAR && vtkType <= VTK_UNSIGNED_LONG_LONG);
}

std::string storingRefusal(vtkDataArray& array, std::int64_t valueCount)
{
    const std::string refusal = countRefusal(array, valueCount);
    return refusal.empty() ? valueRefusal(*contiguous(array), valueCount) : refusal;
}

std::uint64_t storedBytes(vtkDataArray& array)
{
    const std::int64_t values = array.GetNumberOfTuples() * array.GetNumberOfComponents();
    return static_cast<std::uint64_t>(std::max<std::int64_t>(values, 0) * storedWidth(array.GetDataType()));
}

vtkSmartPointer<vtkDataArray> contiguous(vtkDataArray& array)
{
    if (array.HasStandardMemoryLayout())
    {
        return &array;
    }
    auto copy = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(array.GetDataType()));
    copy->DeepCopy(&array);
    return copy;
}

StoredValues::StoredValues(vtkDataArray& array, std::int64_t valueCount)
    : _refusal(countRefusal(array, valueCount))
{
    if (!_refusal.empty() || valueCount == 0)
    {
        return;
    }
    _array = contiguous(array);
    _refusal = valueRefusal(*_array, valueCount);
    const std::uint64_t size =
        static_cast<std::uint64_t>(valueCount) * static_cast<std::uint64_t>(storedWidth(array.GetDataType()));
    if (!_refusal.empty() || size == 0)
    {
        return;
    }
    _size = size;
    _data = static_cast<const char*>(_array->GetVoidPointer(0));
    if (const Conversion* const conversion = conversionOf(array.GetDataType(), storedWidth(array.GetDataType())))
    {
        _packed.resize(size);
        conversion->pack(_data, _packed.data(), valueCount);
        _data = _packed.data();
    }
}

AdoptableMemory readMemory(std::uint64_t bytes, const sdb::detail::MemoryBudget& budget, const ValueSource& source)
{
    constexpr std::uint64_t FIRST_ROOM = std::uint64_t{1} << 20; // whole values fit, now and whenever it is doubled
    constexpr std::uint64_t ROOM_FOR_NOTHING = std::uint64_t{16} << 20;
    AdoptableMemory memory;
    std::uint64_t room = budget.hasEnd() ? bytes : std::min(bytes, FIRST_ROOM);
    std::uint64_t filled = 0;
    for (bool ended = false; !ended;)
    {
        if (!grow(memory, room))
        {
            return nullptr;
        }
        filled += source(memory.get() + filled, room - filled);
        ended = filled < room || room == bytes;
        room = ended ? room : std::min(bytes, 2 * room);
    }
    if (room < bytes && (bytes > std::max(ROOM_FOR_NOTHING, 2 * room) || !grow(memory, bytes)))
    {
        return nullptr;
    }
    std::fill(memory.get() + filled, memory.get() + bytes, '\0');
    return memory;
}

vtkSmartPointer<vtkDataArray> makeStoredArray(int vtkType, int width, std::int64_t components, std::int64_t valueCount,
                                              sdb::detail::MemoryBudget& budget, const ValueSource& source)
{
    if (!isStorable(vtkType) || components < 0 || components > sdb::detail::MAX_COMPONENTS || valueCount < 0 ||
        valueCount > INT64_MAX / 16)
    {
        return nullptr;
    }
    // VTK keeps one double a component for each array, however few values it holds.
    const std::uint64_t overhead = static_cast<std::uint64_t>(components) * sizeof(double) / sdb::detail::MEMORY_FACTOR;
    const std::uint64_t stored = vtkType == VTK_BIT
                                     ? bitMemory(valueCount)
                                     : static_cast<std::uint64_t>(valueCount) * static_cast<std::uint64_t>(width);
    if (!budget.charge(overhead + stored))
    {
        return nullptr;
    }
    AdoptableMemory memory;
    if (valueCount > 0)
    {
        memory = valueMemory(vtkType, width, valueCount, budget, source);
    }
    if (valueCount > 0 && memory == nullptr)
    {
        budget.release(overhead + stored);
        return nullptr;
    }
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(vtkType));
    array->SetNumberOfComponents(static_cast<int>(components));
    if (valueCount > 0)
    {
        array->SetVoidArray(memory.release(), valueCount, 0, vtkAbstractArray::VTK_DATA_ARRAY_FREE);
    }
    return array;
}

} // namespace tsg::detail
