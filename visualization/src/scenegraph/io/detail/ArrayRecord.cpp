#include "scenegraph/io/detail/ArrayRecord.h"

#include "scenegraph/io/detail/NarrowToFloat.h"

#include <algorithm>

#include <vtkFloatArray.h>

namespace tsg::detail
{

namespace
{

/// Negative ids pass and are stored as their low 16 bits: the comparison of the format is signed.
bool isShortId(vtkIdType id)
{
    return id >= INT32_MIN && id <= UINT16_MAX;
}

const TypeWord* shortIdWord()
{
    return std::find_if(std::begin(TYPE_WORDS), std::end(TYPE_WORDS),
                        [](const TypeWord& row) { return row.vtkType == VTK_ID_TYPE && row.width == SHORT_ID_WIDTH; });
}

} // namespace

ArrayRecord::ArrayRecord(vtkDataArray& array, std::int64_t tuples, std::int64_t components, int shift,
                         vtkFloatArray& buffer)
    : _type(typeWordOf(array.GetDataType()))
    , _refusal(recordRefusal(array, tuples, components))
{
    if (_type == nullptr || !_refusal.empty())
    {
        return;
    }
    _array = contiguous(array);
    if (_type->vtkType == VTK_BIT)
    {
        _bitCount = tuples * components;
        _bitBytes = _bitCount > 0 ? (tuples - 1) / 8 + 1 : 0;
        _bits = _bitCount > 0 ? static_cast<const unsigned char*>(_array->GetVoidPointer(0)) : nullptr;
        return;
    }
    if (_type->vtkType == VTK_ID_TYPE && packShortIds(*_array))
    {
        return;
    }
    if (_type->vtkType == VTK_DOUBLE)
    {
        _array = narrowToFloat(_array, &buffer, shift);
        _type = typeWordOf(_array->GetDataType());
    }
    _values.emplace(*_array, tuples * components);
}

bool ArrayRecord::packShortIds(vtkDataArray& ids)
{
    const std::int64_t count = ids.GetNumberOfTuples() * ids.GetNumberOfComponents();
    const vtkIdType* const begin = count > 0 ? static_cast<const vtkIdType*>(ids.GetVoidPointer(0)) : nullptr;
    if (!std::all_of(begin, begin + count, isShortId))
    {
        return false;
    }
    _shortIds.resize(static_cast<std::size_t>(count));
    std::transform(begin, begin + count, _shortIds.begin(),
                   [](vtkIdType id) { return static_cast<std::uint16_t>(id); });
    _type = shortIdWord();
    return true;
}

const char* ArrayRecord::data() const
{
    return _values ? _values->data() : reinterpret_cast<const char*>(_shortIds.data());
}

std::uint64_t ArrayRecord::size() const
{
    return _values ? _values->size() : _shortIds.size() * sizeof(std::uint16_t);
}

std::string recordRefusal(vtkDataArray& array, std::int64_t tuples, std::int64_t components)
{
    const bool stored = typeWordOf(array.GetDataType()) != nullptr;
    return stored ? storingRefusal(array, tuples * components) : std::string();
}

} // namespace tsg::detail
