#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <functional>
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

/// Whether arrays of this VTK type code are stored: 1 to 12 and 15 to 17.
bool isStorable(int vtkType);

/// Why the first `valueCount` values (components counted) of an array cannot be stored; empty if they can. Reasons: a
/// type code that is not stored, fewer values in the array, 2 GiB or more, or a value that does not fit its stored
/// width.
std::string storingRefusal(vtkDataArray& array, std::int64_t valueCount);

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

/// Fills all of the `bytes` bytes of stored values at `data`, which is null when there are none; answers whether the
/// array is to be made of them.
using FillValues = std::function<bool(char* data, std::uint64_t bytes)>;

/// Takes memory for `valueCount` values in stored form, has `fill` fill it and makes an array of VTK type `vtkType`
/// with `components` components of them. `long` and ids are widened by sign extension, `unsigned long` by zero
/// extension. Null if the code is not storable, a count is out of range, the budget or the memory does not suffice, or
/// `fill` fails; nothing stays charged then. Otherwise the array owns its memory, which stays charged. Bit arrays come
/// zeroed, with one byte more than their bits need: `fill` is called with 0 bytes.
vtkSmartPointer<vtkDataArray> makeStoredArray(int vtkType, std::int64_t components, std::int64_t valueCount,
                                              sdb::detail::MemoryBudget& budget, const FillValues& fill);

} // namespace tsg::detail
