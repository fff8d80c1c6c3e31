#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <vtkSmartPointer.h>

class vtkDataArray;

/// The one place that knows how the values of VTK arrays lie in the files: little-endian, with 4 bytes for `long`,
/// `unsigned long` and ids whatever their width in memory.
namespace tsg::detail
{

/// Bytes of one stored value of a VTK type code: 0 for bits (stored without a payload of their own) and for codes that
/// are not stored at all; see isStorable.
int storedWidth(int vtkType);

/// True if arrays of this VTK type code are stored: 1 to 12 and 15 to 17.
bool isStorable(int vtkType);

/// A product as the 32-bit arithmetic of the formats gives it.
constexpr std::int32_t wrappedProduct(std::int32_t left, std::int32_t right)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) * static_cast<std::uint32_t>(right));
}

/// Counts and lengths of 2 GiB and more do not fit the 32-bit numbers of the formats.
constexpr std::int64_t MAX_STORED = INT32_MAX;

/// Why the first `valueCount` values (components counted) of an array cannot be stored; empty if they can. Reasons: a
/// type code that is not stored, more components than are read, fewer values in the array, 2 GiB or more, or a value
/// that does not fit its stored width.
std::string storingRefusal(vtkDataArray& array, std::int64_t valueCount);

/// The bytes of an array's values in stored form.
std::uint64_t storedBytes(vtkDataArray& array);

/// The array itself if its values lie tuple by tuple in one piece of memory, or else a copy for which they do.
vtkSmartPointer<vtkDataArray> contiguous(vtkDataArray& array);

/// The first values of an array in stored form: the array's own memory where the layouts agree, a packed copy where
/// not.
class StoredValues
{
public:
    /// Looks at the first `valueCount` values (components counted) of the array, which has to stay unchanged while this
    /// object is in use.
    StoredValues(vtkDataArray& array, std::int64_t valueCount);

    /// Empty if the values can be stored; otherwise why not, as storingRefusal tells.
    const std::string& refusal() const { return _refusal; }

    /// The stored bytes; null when there are none or they are refused.
    const char* data() const { return _data; }

    std::uint64_t size() const { return _size; }

private:
    vtkSmartPointer<vtkDataArray> _array; ///< owns what `_data` points to unless that is `_packed`
    const char* _data = nullptr;
    std::uint64_t _size = 0;
    std::vector<char> _packed;
    std::string _refusal;
};

/// Gives the next bytes of what is stored, into `data`, which has room for `bytes`; how many there were. Fewer than
/// asked for are the last.
using ValueSource = std::function<std::uint64_t(char* data, std::uint64_t bytes)>;

struct FreeMemory
{
    void operator()(char* memory) const { std::free(memory); }
};

/// Memory that a VTK array may adopt; null for none.
using AdoptableMemory = std::unique_ptr<char, FreeMemory>;

/// Takes memory for `bytes` bytes and fills it; what does not come is zero. Nothing is charged. Null if memory does not
/// suffice; also, for a budget without end, if next to nothing of so much comes.
AdoptableMemory readMemory(std::uint64_t bytes, const sdb::detail::MemoryBudget& budget, const ValueSource& source);

/// Takes memory for `valueCount` values, fills it with what comes in stored form, `width` bytes each, and makes an
/// array of VTK type `vtkType` with `components` components of them; values that do not come are zero. `long` and ids
/// are widened by sign extension, `unsigned long` and ids of two bytes by zero extension, piece by piece. Null if the
/// code is not storable, a count is out of range, or the budget or the memory does not suffice; nothing stays charged
/// then. Otherwise the array owns its memory, and its stored form stays charged. Bit arrays come zeroed, with one byte
/// more than their bits need, and nothing is asked of the source.
vtkSmartPointer<vtkDataArray> makeStoredArray(int vtkType, int width, std::int64_t components, std::int64_t valueCount,
                                              sdb::detail::MemoryBudget& budget, const ValueSource& source);

} // namespace tsg::detail
