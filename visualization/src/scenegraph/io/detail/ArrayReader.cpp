#include "scenegraph/io/detail/ArrayReader.h"

#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TokenReader.h"
#include "scenegraph/io/detail/VtkReport.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <string>

#include <vtkDataArray.h>

namespace tsg::detail
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBDataReader";

constexpr VtkReport FAILED_TEXT{"Error reading ascii data!", SOURCE, 58};
constexpr VtkReport FAILED_BLOCK{"Error reading binary data!", SOURCE, 84};
constexpr VtkReport FAILED_PACKED_BITS{"Error reading binary bit array!", SOURCE, 431};
constexpr VtkReport FAILED_TEXT_BITS{"Error reading ascii bit array! tuple: ", SOURCE, 447};
constexpr VtkReport UNSUPPORTED_TYPE{"Unsupported data type: ", SOURCE, 569};

/// Reads text values of the type T, as which they are stored; false at the first that cannot be read, from which on all
/// are zero.
template <class T>
bool readTextValues(std::istream& in, char* data, std::uint64_t bytes)
{
    NumberReader numbers(in);
    for (std::uint64_t at = 0; at < bytes; at += sizeof(T))
    {
        T value{};
        if (!numbers.read(value))
        {
            std::fill(data + at, data + bytes, '\0');
            return false;
        }
        std::memcpy(data + at, &value, sizeof(T));
    }
    return true;
}

struct TextValues
{
    int vtkType;
    bool (*read)(std::istream& in, char* data, std::uint64_t bytes);
};

constexpr TextValues TEXT_VALUES[] = {
    {VTK_CHAR, &readTextValues<char>},         {VTK_UNSIGNED_CHAR, &readTextValues<unsigned char>},
    {VTK_SHORT, &readTextValues<short>},       {VTK_UNSIGNED_SHORT, &readTextValues<unsigned short>},
    {VTK_INT, &readTextValues<int>},           {VTK_UNSIGNED_INT, &readTextValues<unsigned int>},
    {VTK_LONG, &readTextValues<std::int32_t>}, {VTK_UNSIGNED_LONG, &readTextValues<std::uint32_t>},
    {VTK_FLOAT, &readTextValues<float>},       {VTK_DOUBLE, &readTextValues<double>},
};

bool readText(int vtkType, std::istream& in, char* data, std::uint64_t bytes)
{
    for (const TextValues& row : TEXT_VALUES)
    {
        if (row.vtkType == vtkType)
        {
            return row.read(in, data, bytes);
        }
    }
    std::fill_n(data, bytes, '\0');
    return false;
}

} // namespace

bool ArrayReader::readBlock(char* data, std::uint64_t bytes)
{
    if (bytes == 0)
    {
        return true;
    }
    skipRestOfLine(_in);
    (void)sdb::detail::readBlock(_in, data, bytes, _budget); // only the end of the stream counts
    if (_in.eof())
    {
        reportGenericWarning(FAILED_BLOCK);
        return false;
    }
    return true;
}

void ArrayReader::fillShortIds(char* data, std::uint64_t bytes)
{
    // The short form is read into the upper half of the values' own memory and widened from the lowest on, so that no
    // value is overwritten before it was read.
    const std::uint64_t half = bytes / 2;
    (void)readBlock(data + half, half); // warned of already
    for (std::uint64_t at = 0; at < half; at += SHORT_ID_WIDTH)
    {
        std::uint16_t narrow = 0;
        std::memcpy(&narrow, data + half + at, sizeof(narrow));
        const std::uint32_t wide = narrow;
        std::memcpy(data + 2 * at, &wide, sizeof(wide));
    }
}

void ArrayReader::fill(const TypeWord& type, char* data, std::uint64_t bytes)
{
    if (bytes == 0)
    {
        return;
    }
    if (type.vtkType == VTK_ID_TYPE && type.width == SHORT_ID_WIDTH)
    {
        fillShortIds(data, bytes);
    }
    else if (!_text || type.vtkType == VTK_ID_TYPE)
    {
        (void)readBlock(data, bytes); // warned of already
    }
    else if (!readText(type.vtkType, _in, data, bytes))
    {
        reportGenericWarning(FAILED_TEXT);
    }
}

bool ArrayReader::readPackedBits(vtkDataArray& array)
{
    skipRestOfLine(_in);
    if (const vtkIdType bytes = (array.GetNumberOfValues() + 7) / 8; bytes > 0)
    {
        _in.read(static_cast<char*>(array.GetVoidPointer(0)), bytes);
    }
    if (_in.eof())
    {
        reportError(_reporter, FAILED_PACKED_BITS);
        return false;
    }
    return true;
}

bool ArrayReader::readTextBits(vtkDataArray& array)
{
    NumberReader numbers(_in);
    const int components = array.GetNumberOfComponents();
    for (vtkIdType i = 0; i < array.GetNumberOfValues(); ++i)
    {
        int value = 0;
        if (!numbers.read(value))
        {
            reportError(_reporter, FAILED_TEXT_BITS,
                        std::to_string(i / components) + ", component: " + std::to_string(i % components));
            return false;
        }
        array.SetComponent(i / components, static_cast<int>(i % components), value != 0 ? 1 : 0);
    }
    return true;
}

bool ArrayReader::readBits(vtkDataArray& array)
{
    return _text ? readTextBits(array) : readPackedBits(array);
}

vtkSmartPointer<vtkDataArray> ArrayReader::read(std::string_view typeWord, int tuples, int components)
{
    const TypeWord* const type = findTypeWord(typeWord);
    if (type == nullptr)
    {
        reportError(_reporter, UNSUPPORTED_TYPE, typeWord);
        return nullptr;
    }
    vtkSmartPointer<vtkDataArray> array;
    if (tuples >= 0)
    {
        array = makeStoredArray(type->vtkType, components, std::int64_t{tuples} * components, _budget,
                                [&](char* data, std::uint64_t bytes)
                                {
                                    fill(*type, data, bytes);
                                    return true;
                                });
    }
    if (array == nullptr)
    {
        reportGenericWarning(_text ? FAILED_TEXT : FAILED_BLOCK);
        return nullptr;
    }
    if (type->vtkType == VTK_BIT && !readBits(*array))
    {
        return nullptr;
    }
    return array;
}

} // namespace tsg::detail
