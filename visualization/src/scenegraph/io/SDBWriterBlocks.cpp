// The data operations of a writer: each dataset becomes a binary data tag with its payload, or a tag that refers to the
// payload that an earlier record of the session stored.

#include "scenegraph/io/SDBWriter.h"

#include "core/Error.h"
#include "scenegraph/io/SDBPolyDataWriter.h"
#include "scenegraph/io/detail/AppendStream.h"
#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/FileIndex.h"
#include "scenegraph/io/detail/NarrowToFloat.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/StoredComparison.h"
#include "scenegraph/io/detail/StoredPolyData.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/WriteProgress.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <utility>

#include <vtkDataArray.h>
#include <vtkFloatArray.h>
#include <vtkNew.h>
#include <vtkPolyData.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBWriter";

constexpr Invariant SUPPORTED_DATA_TAG{"Unsupported flag in SDBWriter::writeBinaryNodeData.", "false", SOURCE, 552};
constexpr Invariant NO_PROPERTY_DATA{"SDBWriter::writePropNodeData: not supported", "false", SOURCE, 562};
constexpr Invariant ARRAY_EXISTS{"Can't be null if exporting binary data", "data", SOURCE, 571};
constexpr Invariant ARRAY_HAS_NAME{"The array's name must be specified", "data->GetName()", SOURCE, 572};

namespace field = sdb::detail::field;
namespace key = sdb::detail::key;

/// Gives the positions their place in the tag; a pending tag fills them in.
void addPositions(Properties& tag)
{
    tag.set(key::FILE_POS, "");
    tag.set(key::LENGTH, "");
}

void copyPositions(Properties& tag, const Properties& stored)
{
    tag.set(key::FILE_POS, stored.getString(key::FILE_POS));
    tag.set(key::LENGTH, stored.getString(key::LENGTH));
}

/// What an array's tag says of its values.
struct ArrayShape
{
    explicit ArrayShape(vtkDataArray& array)
        : components(array.GetNumberOfComponents())
        , tuples(std::max<std::int64_t>(array.GetNumberOfTuples(), 0))
        , type(array.GetDataType())
    {
    }

    void describe(Properties& tag) const
    {
        tag.set(key::NUMBER_OF_COMPONENTS, components);
        tag.set(key::NUMBER_OF_TUPLES, tuples);
    }

    bool isThatOf(const Properties& tag) const
    {
        return tag.getLong(key::NUMBER_OF_COMPONENTS) == components && tag.getLong(key::NUMBER_OF_TUPLES) == tuples &&
               tag.getLong(key::DATA_TYPE) == type;
    }

    std::int64_t components;
    std::int64_t tuples;
    int type;
};

} // namespace

/// Whose data it is, and in which state: what decides about using a stored payload again.
struct SDBWriter::BlockKey
{
    BlockKey(const SDBWriter& writer, const std::string& ownerKey, const char* arrayName, sdb::SDBTags tag,
             unsigned long long mtime)
        : objectKey(ownerKey)
        , name(arrayName)
        , kind(tag)
        , stamp(mtime)
        , checksum(sdb::getChecksum(writer._sessionId, objectKey, name, kind))
    {
    }

    /// The beginning of its tag.
    Properties tag() const
    {
        Properties res;
        res.set(key::DATA_FIELD, field::BINARY_DATA);
        res.set(key::OBJECT_KEY, objectKey);
        res.set(key::TAG, static_cast<int>(kind));
        res.set(key::MTIME, static_cast<std::int64_t>(stamp));
        return res;
    }

    const std::string& objectKey;
    std::string name; ///< empty for polydata
    sdb::SDBTags kind;
    unsigned long long stamp;
    unsigned int checksum;
};

void SDBWriter::writeTag(const Properties& tag)
{
    if (isAdding())
    {
        const std::string text = sdb::detail::tagText(tag);
        _fileStream->write(text.data(), static_cast<std::streamsize>(text.size()));
    }
}

/// True if a stored payload can serve: the checksum may be that of another owner, and the tag may come from a damaged
/// file, so that owner, name, kind and extent are compared as well.
bool SDBWriter::isWholeBlockOf(const Properties& stored, const BlockKey& block) const
{
    const auto end = sdb::detail::extentEnd(stored);
    const bool isWhole = sdb::hexFromProp(stored, key::FILE_POS) > 0 && sdb::hexFromProp(stored, key::LENGTH) > 0 &&
                         end && *end <= static_cast<std::uint64_t>(std::streamoff(_fileStream->tellp()));
    return isWhole && stored.getString(key::OBJECT_KEY) == block.objectKey &&
           stored.getString(key::NAME) == block.name && stored.getLong(key::TAG) == block.kind;
}

/// The tag of a stored payload that serves for the data; null if there is none. What this process has not stored itself
/// is read and compared by `holdsData`, given its tag and a stream at its payload.
template <class Holds>
const Properties* SDBWriter::findReusableBlock(const BlockKey& block, const Holds& holdsData)
{
    const auto* const stored = _index->findIndexedBinaryData(block.checksum, block.stamp);
    if (stored == nullptr || !isWholeBlockOf(stored->tag, block))
    {
        return nullptr;
    }
    if (!stored->isKnown)
    {
        const std::streampos end = getStreamPosition();
        std::istream in(_fileStream->rdbuf());
        sdb::detail::seekTo(in, sdb::hexFromProp(stored->tag, key::FILE_POS));
        const bool holds = holdsData(in, stored->tag);
        moveFileStreamTo(end);
        if (!holds)
        {
            return nullptr;
        }
        _index->setKnown(block.checksum);
    }
    return &_index->findIndexedBinaryData(block.checksum, block.stamp)->tag;
}

/// Has data of `bytes` bytes written, or while the nodes are asked for their properties, expects it to come.
template <class Write>
bool SDBWriter::measured(std::uint64_t bytes, const Write& write)
{
    if (!isOpen() || !isAdding())
    {
        return true;
    }
    if (!_binaryPass)
    {
        _progress->expect(bytes);
        return true;
    }
    _progress->beginData(bytes);
    const bool result = write();
    _progress->endData();
    return result;
}

bool SDBWriter::writePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp)
{
    if (polys == nullptr)
    {
        return false;
    }
    return measured(detail::storedBytes(*polys),
                    [&]
                    {
                        const BlockKey block(*this, objectKey, "", sdb::PolyData, polys->GetMTime());
                        return writePolysBlock(block, *polys, stamp);
                    });
}

bool SDBWriter::writePolysBlock(const BlockKey& block, vtkPolyData& polys, TimeStamp stamp)
{
    const sdb::detail::Pulse pulse = [this](std::uint64_t bytes) { _progress->advance(bytes); };
    const auto holds = [&](std::istream& in, const Properties& stored)
    { return detail::holdsPolyData(in, sdb::hexFromProp(stored, key::LENGTH), polys, _arrayNames, pulse); };
    Properties tag = block.tag();
    if (const Properties* const stored = findReusableBlock(block, holds))
    {
        tag.set(key::MTIME, static_cast<std::int64_t>(stamp.getValue()), Properties::Overwrite);
        copyPositions(tag, *stored);
        writeTag(tag);
        return true;
    }
    const std::string refusal = detail::pointsRefusal(polys);
    if (!refusal.empty())
    {
        std::cerr << "SDBWriter: the points of " << block.objectKey << " cannot be stored: " << refusal << '\n';
        return false;
    }
    addPositions(tag);
    sdb::detail::PendingTag pending(tagStream(), std::move(tag));
    writePolyDataBlock(polys, pulse);
    _index->registerBinaries(block.checksum, {pending.commit(), polys.GetMTime(), true});
    return true;
}

void SDBWriter::writePolyDataBlock(vtkPolyData& polys, const sdb::detail::Pulse& pulse)
{
    vtkNew<SDBPolyDataWriter> writer;
    writer->SetInclusiveArray(&_arrayNames);
    writer->SetCompressBinaryData(_compress ? 1 : 0);
    writer->SetOStream(_fileStream.get(), VTK_BINARY);
    writer->SetInputData(&polys);
    detail::lend(*writer, &pulse);
    writer->Write();
    writer->Update();
}

bool SDBWriter::writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array)
{
    return writeDataInternal(objectKey, array, sdb::PointData, 0, false);
}

bool SDBWriter::writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array)
{
    return writeDataInternal(objectKey, array, sdb::CellData, 0, false);
}

bool SDBWriter::writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag, TimeStamp)
{
    if (tag != DataTag1 && tag != DataTag7)
    {
        raise(SUPPORTED_DATA_TAG);
    }
    return writeDataInternal(objectKey, array, tag == DataTag1 ? sdb::NodeDataB : sdb::NodeDataA, 0, true);
}

bool SDBWriter::writePropNodeData(const std::string&, Properties&&, DataTag)
{
    raise(NO_PROPERTY_DATA);
}

bool SDBWriter::writeDataInternal(const std::string& objectKey, vtkDataArray* array, sdb::SDBTags kind,
                                  int narrowingShift, bool forceCompression)
{
    return measured(array != nullptr ? detail::storedBytes(*array) : 0,
                    [&]
                    {
                        if (array == nullptr)
                        {
                            raise(ARRAY_EXISTS);
                        }
                        if (array->GetName() == nullptr)
                        {
                            raise(ARRAY_HAS_NAME);
                        }
                        const BlockKey block(*this, objectKey, array->GetName(), kind, array->GetMTime());
                        const bool compressed = forceCompression || _compress;
                        return writeArrayBlock(block, *array, narrowingShift,
                                               compressed ? CompressionMethods::Zlib : CompressionMethods::None);
                    });
}

bool SDBWriter::writeArrayBlock(const BlockKey& block, vtkDataArray& given, int narrowingShift,
                                CompressionMethods method)
{
    const ArrayShape shape(given);
    const sdb::detail::Pulse pulse = [this](std::uint64_t bytes) { _progress->advance(bytes); };
    const auto holds = [&](std::istream& in, const Properties& stored)
    { return shape.isThatOf(stored) && detail::holdsValues(in, given, shape.components * shape.tuples, pulse); };
    Properties tag = block.tag();
    const Properties* const stored = findReusableBlock(block, holds);
    if (stored != nullptr && shape.isThatOf(*stored))
    {
        copyPositions(tag, *stored);
        tag.set(key::NAME, block.name);
        tag.set(key::DATA_TYPE, stored->getInt(key::DATA_TYPE));
        shape.describe(tag);
        writeTag(tag);
        return true;
    }
    addPositions(tag);
    tag.set(key::NAME, block.name);
    shape.describe(tag);
    vtkDataArray* array = &given;
    if (array->IsA("vtkDoubleArray"))
    {
        array = detail::narrowToFloat(array, _floatScratch, narrowingShift);
    }
    tag.set(key::DATA_TYPE, array->GetDataType());
    if (!writeArrayPayload(tag, *array, shape.components * shape.tuples, method, pulse))
    {
        return false;
    }
    _index->registerBinaries(block.checksum, {tag, block.stamp, true});
    return true;
}

/// Writes a new payload with its tag, which is given its positions.
///   false - the values cannot be stored (nothing is written), or the payload could not be written (its tag stays
///           unfinished); a line on standard error says so
bool SDBWriter::writeArrayPayload(Properties& tag, vtkDataArray& array, std::int64_t valueCount,
                                  CompressionMethods method, const sdb::detail::Pulse& pulse)
{
    const detail::StoredValues values(array, valueCount);
    if (!values.refusal().empty())
    {
        std::cerr << "SDBWriter: array \"" << tag.getString(key::NAME) << "\" of " << tag.getString(key::OBJECT_KEY)
                  << " cannot be stored: " << values.refusal() << '\n';
        return false;
    }
    sdb::detail::PendingTag pending(tagStream(), std::move(tag));
    if (!sdb::detail::writeBlock(*_fileStream, values.data(), values.size(), method, pulse))
    {
        std::cerr << "Failed to write binary data: " << pending.properties().toString() << '\n';
        return false;
    }
    tag = pending.commit();
    return true;
}

} // namespace tsg
