// The data operations of a writer: each dataset becomes a binary data tag with its payload, or a tag that refers to the
// payload that an earlier record of the session stored.

#include "scenegraph/io/SDBWriter.h"

#include "core/Error.h"
#include "scenegraph/io/SDBPolyDataWriter.h"
#include "scenegraph/io/detail/AppendStream.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/FileIndex.h"
#include "scenegraph/io/detail/NarrowToFloat.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

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

Properties binaryDataTag(const std::string& objectKey, sdb::SDBTags kind, std::uint64_t stamp)
{
    Properties tag;
    tag.set(key::DATA_FIELD, field::BINARY_DATA);
    tag.set(key::OBJECT_KEY, objectKey);
    tag.set(key::TAG, static_cast<int>(kind));
    tag.set(key::MTIME, static_cast<std::int64_t>(stamp));
    return tag;
}

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

void SDBWriter::writeTag(const Properties& tag)
{
    if (isAdding())
    {
        const std::string text = sdb::detail::tagText(tag);
        _fileStream->write(text.data(), static_cast<std::streamsize>(text.size()));
    }
}

/// The tag of a stored payload that serves for data of this stamp: the checksum may be that of another owner, and the
/// tag may come from a damaged file, so that owner, name, kind and extent are compared as well.
const Properties* SDBWriter::findReusableBlock(unsigned int checksum, const std::string& objectKey,
                                               const std::string& name, sdb::SDBTags kind, unsigned long long stamp)
{
    const Properties* const stored = _index->findIndexedBinaryData(checksum, stamp);
    if (stored == nullptr)
    {
        return nullptr;
    }
    const auto end = sdb::detail::extentEnd(*stored);
    const bool isWhole = sdb::hexFromProp(*stored, key::FILE_POS) > 0 && sdb::hexFromProp(*stored, key::LENGTH) > 0 &&
                         end && *end <= static_cast<std::uint64_t>(std::streamoff(_fileStream->tellp()));
    const bool isOwners = stored->getString(key::OBJECT_KEY) == objectKey && stored->getString(key::NAME) == name &&
                          stored->getLong(key::TAG) == kind;
    return isWhole && isOwners ? stored : nullptr;
}

bool SDBWriter::writePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp)
{
    if (polys == nullptr)
    {
        return false;
    }
    if (!_binaryPass || !isOpen() || !isAdding())
    {
        return true;
    }
    const unsigned int checksum = sdb::getChecksum(_sessionId, objectKey, "", sdb::PolyData);
    Properties tag = binaryDataTag(objectKey, sdb::PolyData, polys->GetMTime());
    if (const Properties* const stored = findReusableBlock(checksum, objectKey, "", sdb::PolyData, polys->GetMTime()))
    {
        tag.set(key::MTIME, static_cast<std::int64_t>(stamp.getValue()), Properties::Overwrite);
        copyPositions(tag, *stored);
        writeTag(tag);
        return true;
    }
    addPositions(tag);
    sdb::detail::PendingTag pending(*_fileStream, std::move(tag));
    writePolyDataBlock(*polys);
    sdb::detail::toChange(_index).registerBinaries(checksum, pending.commit(), polys->GetMTime());
    return true;
}

void SDBWriter::writePolyDataBlock(vtkPolyData& polys)
{
    vtkNew<SDBPolyDataWriter> writer;
    writer->SetInclusiveArray(&_arrayNames);
    writer->SetCompressBinaryData(_compress ? 1 : 0);
    writer->SetOStream(_fileStream.get(), VTK_BINARY);
    writer->SetInputData(&polys);
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
    if (!_binaryPass || !isOpen() || !isAdding())
    {
        return true;
    }
    if (array == nullptr)
    {
        raise(ARRAY_EXISTS);
    }
    if (array->GetName() == nullptr)
    {
        raise(ARRAY_HAS_NAME);
    }
    const unsigned long long stamp = array->GetMTime();
    const unsigned int checksum = sdb::getChecksum(_sessionId, objectKey, array->GetName(), kind);
    const ArrayShape shape(*array);
    Properties tag = binaryDataTag(objectKey, kind, stamp);
    const Properties* const stored = findReusableBlock(checksum, objectKey, array->GetName(), kind, stamp);
    if (stored != nullptr && shape.isThatOf(*stored))
    {
        copyPositions(tag, *stored);
        tag.set(key::NAME, array->GetName());
        tag.set(key::DATA_TYPE, stored->getInt(key::DATA_TYPE));
        shape.describe(tag);
        writeTag(tag);
        return true;
    }
    addPositions(tag);
    tag.set(key::NAME, array->GetName());
    shape.describe(tag);
    if (array->IsA("vtkDoubleArray"))
    {
        array = detail::narrowToFloat(array, _floatScratch, narrowingShift);
    }
    tag.set(key::DATA_TYPE, array->GetDataType());
    const auto method = forceCompression || _compress ? CompressionMethods::Zlib : CompressionMethods::None;
    if (!writeArrayPayload(tag, *array, shape.components * shape.tuples, method))
    {
        return false;
    }
    sdb::detail::toChange(_index).registerBinaries(checksum, tag, stamp);
    return true;
}

/// Writes a new payload with its tag, which is given its positions.
///   false - the values cannot be stored (nothing is written), or the payload could not be written (its tag stays
///           unfinished); a line on standard error says so
bool SDBWriter::writeArrayPayload(Properties& tag, vtkDataArray& array, std::int64_t valueCount,
                                  CompressionMethods method)
{
    const detail::StoredValues values(array, valueCount);
    if (!values.refusal().empty())
    {
        std::cerr << "SDBWriter: array \"" << tag.getString(key::NAME) << "\" of " << tag.getString(key::OBJECT_KEY)
                  << " cannot be stored: " << values.refusal() << '\n';
        return false;
    }
    sdb::detail::PendingTag pending(*_fileStream, std::move(tag));
    if (!sdb::writeCompressed(*_fileStream, values.data(), values.size(), method))
    {
        std::cerr << "Failed to write binary data: " << pending.properties().toString() << '\n';
        return false;
    }
    tag = pending.commit();
    return true;
}

} // namespace tsg
