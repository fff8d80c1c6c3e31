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
constexpr VtkReport DAMAGED_BLOCK{"Damaged block of values: ", SOURCE, 91};
constexpr VtkReport UNSUPPORTED_TYPE{"Unsupported data type: ", SOURCE, 569};

/// Reads text values of the type T, as which they are stored, up to the first that cannot be read; how many bytes they
/// take.
template <class T>
std::uint64_t readTextValues(std::istream& in, char* data, std::uint64_t bytes)
{
    NumberReader numbers(in);
    std::uint64_t at = 0;
    for (T value{}; at < bytes && numbers.read(value); at += sizeof(T))
    {
        std::memcpy(data + at, &value, sizeof(T));
    }
    return at;
}

struct TextValues
{
    int vtkType;
    std::uint64_t (*read)(std::istream& in, char* data, std::uint64_t bytes);
};

constexpr TextValues TEXT_VALUES[] = {
    {VTK_CHAR, &readTextValues<char>},         {VTK_UNSIGNED_CHAR, &readTextValues<unsigned char>},
    {VTK_SHORT, &readTextValues<short>},       {VTK_UNSIGNED_SHORT, &readTextValues<unsigned short>},
    {VTK_INT, &readTextValues<int>},           {VTK_UNSIGNED_INT, &readTextValues<unsigned int>},
    {VTK_LONG, &readTextValues<std::int32_t>}, {VTK_UNSIGNED_LONG, &readTextValues<std::uint32_t>},
    {VTK_FLOAT, &readTextValues<float>},       {VTK_DOUBLE, &readTextValues<double>},
};

std::uint64_t readText(int vtkType, std::istream& in, char* data, std::uint64_t bytes)
{
    const auto* const row = std::find_if(std::begin(TEXT_VALUES), std::end(TEXT_VALUES),
                                         [=](const TextValues& values) { return values.vtkType == vtkType; });
    return row == std::end(TEXT_VALUES) ? 0 : row->read(in, data, bytes);
}

} // namespace

bool ArrayReader::readBlock(std::uint64_t bytes, const TakeContent& take)
{
    skipRestOfLine(_in);
    sdb::detail::BlockReader block(_in, bytes, _run.pulse);
    if (!take([&](char* data, std::uint64_t size) { return block.read(data, size); }))
    {
        return false;
    }
    const sdb::detail::BlockResult result = block.finish();
    if (_in.eof())
    {
        reportGenericWarning(FAILED_BLOCK);
        return false;
    }
    if (result != sdb::detail::BlockResult::Whole)
    {
        reportError(_reporter, DAMAGED_BLOCK, _subject);
    }
    _run.countUnchecked(block);
    heedSeparator();
    return true;
}

/// Nobody needs the line end behind binary values, but its absence tells of a wrong number of them.
void ArrayReader::heedSeparator()
{
    _run.isSeparated = _run.isSeparated && _in.rdbuf()->sgetc() == '\n';
}

vtkSmartPointer<vtkDataArray> ArrayReader::readBlocked(const TypeWord& type, int components, std::int64_t values)
{
    vtkSmartPointer<vtkDataArray> array;
    const auto take = [&](const ValueSource& content)
    {
        array = makeStoredArray(type.vtkType, type.width, components, values, _run.budget, content);
        return array != nullptr;
    };
    // No array is made of a count whose bytes wrap.
    (void)readBlock(static_cast<std::uint64_t>(values) * static_cast<std::uint64_t>(type.width), take);
    return array;
}

vtkSmartPointer<vtkDataArray> ArrayReader::readTexts(const TypeWord& type, int components, std::int64_t values)
{
    bool complete = true;
    const auto source = [&](char* data, std::uint64_t bytes)
    {
        const std::uint64_t got = complete ? readText(type.vtkType, _in, data, bytes) : 0;
        complete = complete && got == bytes;
        return got;
    };
    auto array = makeStoredArray(type.vtkType, type.width, components, values, _run.budget, source);
    if (!complete)
    {
        reportGenericWarning(FAILED_TEXT);
    }
    return array;
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
    _run.uncheckedBytes += static_cast<std::uint64_t>(array.GetNumberOfValues() + 7) / 8;
    heedSeparator();
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
    const std::int64_t values = std::int64_t{tuples} * components;
    const bool isBlock = type->width > 0 && values > 0 && (!_text || type->vtkType == VTK_ID_TYPE);
    vtkSmartPointer<vtkDataArray> array;
    if (tuples >= 0)
    {
        array = isBlock ? readBlocked(*type, components, values) : readTexts(*type, components, values);
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

PayloadArray readPayload(std::istream& in, int vtkType, std::int64_t components, std::int64_t valueCount, CodecRun& run)
{
    const int width = storedWidth(vtkType);
    if (width == 0 || valueCount <= 0)
    {
        return {makeStoredArray(vtkType, width, components, valueCount, run.budget, {})};
    }
    sdb::detail::BlockReader block(in, static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(valueCount),
                                   run.pulse);
    const auto content = [&](char* data, std::uint64_t size) { return block.read(data, size); };
    PayloadArray res{makeStoredArray(vtkType, width, components, valueCount, run.budget, content)};
    if (res.array != nullptr)
    {
        res.result = block.finish();
        run.countUnchecked(block);
    }
    return res;
}

} // namespace tsg::detail
