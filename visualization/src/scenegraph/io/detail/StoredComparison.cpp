#include "scenegraph/io/detail/StoredComparison.h"

#include "core/Error.h"
#include "scenegraph/io/SDBPolyDataWriter.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <istream>
#include <streambuf>

#include <vtkCallbackCommand.h>
#include <vtkDataArray.h>
#include <vtkNew.h>
#include <vtkPolyData.h>

namespace tsg::detail
{

namespace
{

constexpr std::uint64_t WINDOW_BYTES = 65536;

/// True if a source gives exactly these bytes next.
template <class Source>
bool givesBytes(const char* data, std::uint64_t size, const Source& source)
{
    char window[WINDOW_BYTES];
    while (size > 0)
    {
        const std::uint64_t piece = std::min(size, WINDOW_BYTES);
        if (source(window, piece) != piece || std::memcmp(window, data, piece) != 0)
        {
            return false;
        }
        data += piece;
        size -= piece;
    }
    return true;
}

bool isBlockOf(std::istream& in, const char* data, std::uint64_t size, const sdb::detail::Pulse& pulse)
{
    sdb::detail::BlockReader block(in, size, pulse);
    return givesBytes(data, size, [&](char* window, std::uint64_t piece) { return block.read(window, piece); }) &&
           block.finish() == sdb::detail::BlockResult::Whole;
}

/// Takes what is written, and compares it with what is stored. From the first difference on it takes nothing.
class Comparison : public std::streambuf, public sdb::detail::BlockSink
{
public:
    Comparison(std::istream& in, const sdb::detail::Pulse& pulse)
        : _in(in)
        , _pulse(pulse)
    {
    }

    bool takeBlock(const char* data, std::uint64_t size) override
    {
        _differs = !isBlockOf(_in, data, size, _pulse);
        return !_differs;
    }

    /// True if a block of values is another one; the writer raises an InternalError then.
    bool differs() const { return _differs; }

protected:
    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        const auto source = [this](char* window, std::uint64_t piece)
        {
            _in.read(window, static_cast<std::streamsize>(piece));
            return static_cast<std::uint64_t>(_in.gcount());
        };
        return givesBytes(text, static_cast<std::uint64_t>(size), source) ? size : 0;
    }

    int_type overflow(int_type character) override
    {
        const char c = traits_type::to_char_type(character);
        return xsputn(&c, 1) == 1 ? character : traits_type::eof();
    }

private:
    std::istream& _in;
    const sdb::detail::Pulse& _pulse;
    bool _differs = false;
};

} // namespace

bool holdsValues(std::istream& in, vtkDataArray& array, std::int64_t valueCount, const sdb::detail::Pulse& pulse)
{
    const StoredValues values(array, valueCount);
    return values.refusal().empty() && (values.size() == 0 || isBlockOf(in, values.data(), values.size(), pulse));
}

bool holdsPolyData(std::istream& in, std::uint64_t length, vtkPolyData& polys, std::set<std::string>& arrayNames,
                   const sdb::detail::Pulse& pulse)
{
    const std::uint64_t end = sdb::detail::readPosition(in) + length;
    Comparison comparison(in, pulse);
    std::ofstream out;
    static_cast<std::ios&>(out).rdbuf(&comparison); // which also clears its state
    const vtkNew<vtkCallbackCommand> silence;       // a difference looks like a full disk
    silence->SetCallback([](vtkObject*, unsigned long, void*, void*) {});
    const vtkNew<SDBPolyDataWriter> writer;
    writer->AddObserver(vtkCommand::ErrorEvent, silence);
    writer->SetInclusiveArray(&arrayNames);
    writer->SetOStream(&out, VTK_BINARY);
    writer->SetInputData(&polys);
    try
    {
        writer->Write();
    }
    catch (const InternalError&)
    {
        if (!comparison.differs())
        {
            throw; // somebody wants to stop
        }
        return false;
    }
    return out.good() && sdb::detail::readPosition(in) == end;
}

} // namespace tsg::detail
