#pragma once

#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

#include <vtkSmartPointer.h>

class vtkDataArray;
class vtkObject;

namespace tsg::detail
{

struct TypeWord;

/// Takes the content of a block from its source; false if it finds no room for that.
using TakeContent = std::function<bool(const ValueSource& content)>;

/// Reads the values of array records. The stream stands behind the type word and is left behind the last value.
class ArrayReader
{
public:
    /// `text`: whether values are read as text, which those of ids never are. What the arrays take is charged to the
    /// run; errors are those of `reporter`, and name what is read as `subject` says. All are borrowed.
    ArrayReader(std::istream& in, bool text, CodecRun& run, const std::string& subject, vtkObject& reporter)
        : _in(in)
        , _text(text)
        , _run(run)
        , _subject(subject)
        , _reporter(reporter)
    {
    }

    /// Reads an array of the type that the word denotes. Of values that end early or are damaged the rest is zero; a
    /// stream that ends in them is one generic warning, and a damaged block one error.
    /// Null, with one message, if the word denotes no type, a count is negative or beyond the limit, memory does not
    /// suffice, or bits end early.
    vtkSmartPointer<vtkDataArray> read(std::string_view typeWord, int tuples, int components);

    /// Reads one block of `bytes` bytes, more than 0, behind the rest of the current line. A damaged block is one
    /// error.
    ///   true  - `take` has taken all that there is; the stream is behind the block
    ///   false - it has found no room, or, with one generic warning, the stream has ended
    bool readBlock(std::uint64_t bytes, const TakeContent& take);

private:
    vtkSmartPointer<vtkDataArray> readBlocked(const TypeWord& type, int components, std::int64_t values);
    vtkSmartPointer<vtkDataArray> readTexts(const TypeWord& type, int components, std::int64_t values);
    bool readBits(vtkDataArray& array);
    void heedSeparator();
    bool readPackedBits(vtkDataArray& array);
    bool readTextBits(vtkDataArray& array);

    std::istream& _in;
    bool _text;
    CodecRun& _run;
    const std::string& _subject;
    vtkObject& _reporter;
};

/// An array that has a payload of its own.
struct PayloadArray
{
    vtkSmartPointer<vtkDataArray> array; ///< null if it was refused or found no memory
    sdb::detail::BlockResult result = sdb::detail::BlockResult::Whole;
};

/// Reads the payload at the position of the stream, which is left behind it, as an array of a VTK type code; values
/// that do not come are zero. An array without bytes has no block, and nothing is read. Null as with makeStoredArray.
PayloadArray readPayload(std::istream& in, int vtkType, std::int64_t components, std::int64_t valueCount,
                         CodecRun& run);

} // namespace tsg::detail
