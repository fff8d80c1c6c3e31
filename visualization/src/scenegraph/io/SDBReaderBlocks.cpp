// The loading of binary blocks: the payload that a tag points to becomes a VTK object and goes to the node stream.

#include "scenegraph/io/SDBReader.h"

#include "scenegraph/NodeStream.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/detail/ArrayReader.h"
#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Load.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <vtkDataArray.h>
#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace tsg
{

namespace
{

namespace key = sdb::detail::key;

/// Which node data a tag of the file stands for.
struct NodeDataKind
{
    sdb::SDBTags tag;
    NodeStream::DataTag dataTag;
};

constexpr NodeDataKind NODE_DATA_KINDS[] = {
    {sdb::NodeDataA, NodeStream::DataTag7}, {sdb::NodeDataB, NodeStream::DataTag1},
    {sdb::NodeDataC, NodeStream::DataTag2}, {sdb::NodeDataD, NodeStream::DataTag3},
    {sdb::NodeDataE, NodeStream::DataTag4},
};

bool deliverArray(NodeStream& stream, const std::string& objectKey, int tag, vtkDataArray* array)
{
    if (tag == sdb::PointData)
    {
        stream.writePointData(objectKey, nullptr, array);
        return true;
    }
    if (tag == sdb::CellData)
    {
        stream.writeCellData(objectKey, nullptr, array);
        return true;
    }
    for (const NodeDataKind& kind : NODE_DATA_KINDS)
    {
        if (kind.tag == tag)
        {
            stream.writeBinaryNodeData(objectKey, array, kind.dataTag);
            return true;
        }
    }
    return false;
}

/// Where the payload of a tag lies, and where the scan of the record goes on after it.
class Payload
{
public:
    /// The stream is just after the tag.
    Payload(std::ifstream& in, const Properties& tag, const sdb::detail::Load& load)
        : _in(in)
        , _begin(sdb::hexFromProp(tag, key::FILE_POS))
        , _length(sdb::hexFromProp(tag, key::LENGTH))
        , _end(sdb::detail::extentEnd(tag))
        , _fileSize(load.fileSize)
        , _afterTag(sdb::detail::readPosition(in))
    {
    }

    std::uint64_t length() const { return _length; }

    /// How many of the payload's bytes the file has.
    std::uint64_t available() const { return _begin < _fileSize ? std::min(_length, _fileSize - _begin) : 0; }

    void seekToBegin() { sdb::detail::seekTo(_in, _begin); }

    /// A payload in front of its tag is shared: the scan goes on after the tag. After one that follows its tag it goes
    /// on where the tag says that the payload ends, which also passes over the method byte that is all there is of an
    /// empty array.
    void seekBehind()
    {
        if (_begin < _afterTag)
        {
            sdb::detail::seekTo(_in, _afterTag);
        }
        else if (_in.good() && _end && *_end <= _fileSize && *_end >= sdb::detail::readPosition(_in))
        {
            sdb::detail::seekTo(_in, _end);
        }
    }

private:
    std::ifstream& _in;    ///< borrowed
    std::uint64_t _begin;  ///< first byte, as the tag says
    std::uint64_t _length; ///< in bytes, as the tag says
    std::optional<std::uint64_t> _end;
    std::uint64_t _fileSize;
    std::uint64_t _afterTag; ///< where the stream was
};

} // namespace

bool SDBReader::loadDataArrayFromInputStream(std::ifstream& in, const Properties& tag, NodeStream& stream,
                                             sdb::detail::Load& load)
{
    const int type = tag.getInt(key::DATA_TYPE);
    const int components = tag.getInt(key::NUMBER_OF_COMPONENTS);
    const std::int32_t count = detail::wrappedProduct(tag.getInt(key::NUMBER_OF_TUPLES), components);
    const std::int32_t size = detail::wrappedProduct(detail::storedWidth(type), count);
    if (std::int64_t{detail::storedWidth(type)} * count != size)
    {
        return false; // the product wrapped: the buffer would hold fewer values than the array
    }
    Payload payload(in, tag, load);
    payload.seekToBegin();
    detail::CodecRun run(load.budget);
    run.pulse = load.pulse;
    const auto [array, result] = detail::readPayload(in, type, components, count, run);
    if (array == nullptr || !isSound(result))
    {
        return false;
    }
    payload.seekBehind();
    array->SetName(tag.getString(key::NAME).c_str());
    return deliverArray(stream, tag.getString(key::OBJECT_KEY), tag.getInt(key::TAG), array);
}

bool SDBReader::loadPolyDataFromInputStream(std::ifstream& in, const Properties& tag, NodeStream& stream,
                                            sdb::detail::Load& load)
{
    Payload payload(in, tag, load);
    if (payload.length() > sdb::detail::MAX_POSITION)
    {
        throw std::length_error("vector too long");
    }
    payload.seekToBegin();
    // A payload that the file cuts short is read as if zeros followed, a few of which are enough to end any token.
    const std::uint64_t available = payload.available();
    const std::uint64_t padded = std::min(payload.length(), available + sdb::detail::MAX_PADDING_BYTES);
    const sdb::detail::Charge charge(load.budget, padded);
    const std::uint64_t taken = charge.granted() ? padded : 0;
    const std::unique_ptr<char[]> block(new char[taken]);
    std::uint64_t filled = 0;
    if (charge.granted() && payload.length() > 0)
    {
        in.read(block.get(), static_cast<std::streamsize>(available));
        filled = static_cast<std::uint64_t>(in.gcount());
        if (available < payload.length())
        {
            in.setstate(std::ios::eofbit | std::ios::failbit);
        }
    }
    if (in.bad() || !charge.granted())
    {
        std::cerr << "SDBReader: Failed to read " << std::to_string(payload.length()) << " bytes from input stream!\n";
        return false;
    }
    payload.seekBehind();

    std::fill(block.get() + filled, block.get() + taken, '\0');
    sdb::detail::MemoryStream memory(block.get(), taken);
    vtkNew<SDBPolyDataReader> reader;
    detail::CodecRun run(load.budget);
    run.pulse = load.pulse;
    reader->SetIStream(&memory);
    detail::lend(*reader, &run);
    reader->Update();
    detail::lend(*reader, nullptr);
    vtkPolyData* const output = reader->GetOutput();
    if (output == nullptr || output->GetPoints() == nullptr)
    {
        return false;
    }
    stream.writePolys(tag.getString(key::OBJECT_KEY), output, TimeStamp(output->GetMTime()));
    return true;
}

} // namespace tsg
