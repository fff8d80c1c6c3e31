#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <iosfwd>
#include <string_view>

#include <vtkSmartPointer.h>

class vtkDataArray;
class vtkObject;

namespace tsg::detail
{

struct TypeWord;

/// Reads the values of array records. The stream stands behind the type word and is left behind the last value.
class ArrayReader
{
public:
    /// `text`: whether values are read as text, which those of ids never are. What the arrays take is charged to the
    /// budget; errors are those of `reporter`. All are borrowed.
    ArrayReader(std::istream& in, bool text, sdb::detail::MemoryBudget& budget, vtkObject& reporter)
        : _in(in)
        , _text(text)
        , _budget(budget)
        , _reporter(reporter)
    {
    }

    /// Reads an array of the type that the word denotes. Of values that end early or are damaged the rest is zero, and
    /// a stream that ends in them is one generic warning.
    /// Null, with one message, if the word denotes no type, a count is negative or beyond the limit, memory does not
    /// suffice, or bits end early.
    vtkSmartPointer<vtkDataArray> read(std::string_view typeWord, int tuples, int components);

    /// Reads one block of exactly `bytes` bytes behind the rest of the current line; without bytes nothing at all is
    /// read. What a damaged block does not fill is left as it was.
    /// False, with one generic warning, if the stream is at its end afterwards.
    bool readBlock(char* data, std::uint64_t bytes);

private:
    void fill(const TypeWord& type, char* data, std::uint64_t bytes);
    void fillShortIds(char* data, std::uint64_t bytes);
    bool readBits(vtkDataArray& array);
    bool readPackedBits(vtkDataArray& array);
    bool readTextBits(vtkDataArray& array);

    std::istream& _in;
    bool _text;
    sdb::detail::MemoryBudget& _budget;
    vtkObject& _reporter;
};

} // namespace tsg::detail
