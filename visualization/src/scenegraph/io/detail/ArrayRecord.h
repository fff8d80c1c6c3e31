#pragma once

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <vtkSmartPointer.h>

class vtkDataArray;
class vtkFloatArray;

namespace tsg::detail
{

/// An array made ready to be stored in a dataset block, so that a refusal is known before its keyword is written: the
/// type word of its header line and the bytes behind it.
class ArrayRecord
{
public:
    /// Makes `tuples` × `components` values of the array ready. Doubles become floats in `buffer` if narrowToFloat
    /// narrows them with `shift`; the buffer's contents belong to this object while it is in use. The array stays
    /// unchanged meanwhile.
    ArrayRecord(vtkDataArray& array, std::int64_t tuples, std::int64_t components, int shift, vtkFloatArray& buffer);

    /// Null for a type code that dataset blocks do not store.
    const TypeWord* type() const { return _type; }

    /// Empty if the values can be stored; otherwise why not, as storingRefusal tells.
    const std::string& refusal() const { return _refusal; }

    /// The bytes of the block; none for bits and for empty arrays.
    const char* data() const;
    std::uint64_t size() const;

    /// The packed bits of a bit array, the first value in the highest bit, and the number of values.
    const unsigned char* bits() const { return _bits; }

    std::int64_t bitCount() const { return _bitCount; }

    /// How many bytes of them are stored: enough for one bit a tuple, whatever the components.
    std::int64_t bitBytes() const { return _bitBytes; }

private:
    bool packShortIds(vtkDataArray& ids);

    const TypeWord* _type;
    std::string _refusal;
    vtkSmartPointer<vtkDataArray> _array; ///< the array, or a contiguous copy
    std::optional<StoredValues> _values;  ///< empty where one of the following holds the bytes
    std::vector<std::uint16_t> _shortIds;
    const unsigned char* _bits = nullptr;
    std::int64_t _bitCount = 0;
    std::int64_t _bitBytes = 0;
};

/// Why an array of a stored type is not written as `tuples` × `components` values; empty if it is, or if its type is
/// not one that dataset blocks store.
std::string recordRefusal(vtkDataArray& array, std::int64_t tuples, std::int64_t components);

} // namespace tsg::detail
