#include "scenegraph/io/detail/StoredArray.h"

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/Limits.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include <vtkDataArray.h>

namespace tsg::detail
{

namespace
{

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "values are stored as they lie in memory");

/// Counts and lengths of 2 GiB and more do not fit the 32-bit numbers of the formats.
constexpr std::int64_t MAX_STORED = INT32_MAX;

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
    std::string (*refusal)(const void* values, std::int64_t count);
    void (*pack)(const void* values, char* stored, std::int64_t count);
    void (*widen)(const char* stored, void* values, std::int64_t count);
};

template <class Memory, class Stored>
constexpr Conversion conversion(int vtkType)
{
    return {vtkType, &refusalOf<Memory, Stored>, &packValues<Memory, Stored>, &widenValues<Memory, Stored>};
}

constexpr Conversion CONVERSIONS[] = {
    conversion<long, std::int32_t>(VTK_LONG),
    conversion<unsigned long, std::uint32_t>(VTK_UNSIGNED_LONG),
    conversion<vtkIdType, std::int32_t>(VTK_ID_TYPE),
};

/// Null where the layouts agree.
const Conversion* conversionOf(int vtkType)
{
    for (const Conversion& row : CONVERSIONS)
    {
        if (row.vtkType == vtkType && vtkAbstractArray::GetDataTypeSize(vtkType) != storedWidth(vtkType))
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
    const Conversion* const conversion = conversionOf(array.GetDataType());
    return conversion != nullptr && valueCount > 0 ? conversion->refusal(array.GetVoidPointer(0), valueCount) : "";
}

/// Memory without values yet that a VTK array may adopt. Memory and its charge are given back unless they are handed
/// over.
class ChargedMemory
{
public:
    ChargedMemory(std::uint64_t bytes, sdb::detail::MemoryBudget& budget)
        : _budget(budget)
        , _bytes(budget.charge(bytes) ? bytes : 0)
        , _memory(_bytes == bytes && bytes > 0 ? std::malloc(bytes) : nullptr)
        , _taken(_bytes == bytes && (bytes == 0 || _memory != nullptr))
    {
    }

    ~ChargedMemory()
    {
        _budget.release(_bytes);
        std::free(_memory);
    }

    ChargedMemory(const ChargedMemory&) = delete;
    ChargedMemory& operator=(const ChargedMemory&) = delete;

    bool taken() const { return _taken; }

    /// Null for no bytes.
    char* get() const { return static_cast<char*>(_memory); }

    void* handOver()
    {
        _bytes = 0;
        return std::exchange(_memory, nullptr);
    }

private:
    sdb::detail::MemoryBudget& _budget;
    std::uint64_t _bytes;
    void* _memory;
    bool _taken;
};

/// Bytes that an array of `valueCount` values takes in memory. VTK writes the last byte of adopted bits in any case.
std::uint64_t memorySize(int vtkType, std::int64_t valueCount)
{
    const auto count = static_cast<std::uint64_t>(valueCount);
    return vtkType == VTK_BIT ? count / 8 + 2
                              : count * static_cast<std::uint64_t>(vtkAbstractArray::GetDataTypeSize(vtkType));
}

/// Has the values at `memory` filled in their stored form.
bool fillMemory(int vtkType, std::int64_t valueCount, char* memory, sdb::detail::MemoryBudget& budget,
                const FillValues& fill)
{
    const std::uint64_t bytes =
        static_cast<std::uint64_t>(valueCount) * static_cast<std::uint64_t>(storedWidth(vtkType));
    if (vtkType == VTK_BIT && memory != nullptr)
    {
        std::memset(memory, 0, memorySize(vtkType, valueCount));
    }
    const Conversion* const conversion = conversionOf(vtkType);
    if (conversion == nullptr || bytes == 0)
    {
        return fill(memory, bytes);
    }
    const ChargedMemory stored(bytes, budget);
    if (!stored.taken() || !fill(stored.get(), bytes))
    {
        return false;
    }
    conversion->widen(stored.get(), memory, valueCount);
    return true;
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
    if (const Conversion* const conversion = conversionOf(array.GetDataType()))
    {
        _packed.resize(size);
        conversion->pack(_data, _packed.data(), valueCount);
        _data = _packed.data();
    }
}

vtkSmartPointer<vtkDataArray> makeStoredArray(int vtkType, std::int64_t components, std::int64_t valueCount,
                                              sdb::detail::MemoryBudget& budget, const FillValues& fill)
{
    if (!isStorable(vtkType) || components < 0 || components > sdb::detail::MAX_COMPONENTS || valueCount < 0 ||
        valueCount > INT64_MAX / 16)
    {
        return nullptr;
    }
    // VTK keeps one double a component for each array, however few values it holds.
    const std::uint64_t overhead = static_cast<std::uint64_t>(components) * sizeof(double);
    if (!budget.charge(overhead))
    {
        return nullptr;
    }
    ChargedMemory memory(valueCount == 0 ? 0 : memorySize(vtkType, valueCount), budget);
    if (!memory.taken() || !fillMemory(vtkType, valueCount, memory.get(), budget, fill))
    {
        budget.release(overhead);
        return nullptr;
    }
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(vtkType));
    array->SetNumberOfComponents(static_cast<int>(components));
    if (valueCount > 0)
    {
        array->SetVoidArray(memory.handOver(), valueCount, 0, vtkAbstractArray::VTK_DATA_ARRAY_FREE);
    }
    return array;
}

} // namespace tsg::detail
