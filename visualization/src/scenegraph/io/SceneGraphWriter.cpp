#include "scenegraph/io/SceneGraphWriter.h"

#include "core/ClassVersions.h"
#include "core/Error.h"
#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SceneGraphPolyDataWriter.h"
#include "scenegraph/io/detail/NodeCollection.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <utility>
#include <vector>

#include <vtkDataArray.h>
#include <vtkNew.h>
#include <vtkPolyData.h>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SceneGraphWriter";

constexpr Invariant SUPPORTED_DATA_TAG{"Unsupported flag in SceneGraphWriter::writeBinaryNodeData.", "false", SOURCE,
                                       171};
constexpr Invariant NO_PROPERTY_DATA{"SceneGraphWriter::writePropNodeData: not supported", "false", SOURCE, 180};

namespace field = sdb::detail::field;
namespace key = sdb::detail::key;

/// What an array's file says of its values: those that are used, and the room for more that the array has.
struct ArrayShape
{
    explicit ArrayShape(vtkDataArray& array)
        : components(array.GetNumberOfComponents())
        , tuples(std::max<std::int64_t>(array.GetNumberOfTuples(), 0))
        , capacity(std::max<std::int64_t>(array.GetSize(), components * tuples))
        , width(detail::storedWidth(array.GetDataType()))
    {
    }

    std::int64_t used() const { return components * tuples; }

    /// Whether sizes are numbers that the header can hold.
    bool fits() const { return capacity <= detail::MAX_STORED / std::max(width, 1); }

    std::int64_t components;
    std::int64_t tuples;
    std::int64_t capacity; ///< in values
    int width;             ///< bytes of a stored value
};

/// Why an array has no file, if that depends on no value; empty otherwise.
std::string refusalOf(vtkDataArray& array, const ArrayShape& shape)
{
    if (array.GetName() == nullptr)
    {
        return "it has no name";
    }
    return shape.fits() ? "" : "its room for " + std::to_string(shape.capacity) + " values takes 2 GiB or more";
}

Properties arrayHeader(const std::string& objectKey, vtkDataArray& array, const ArrayShape& shape,
                       SceneGraphWriterTags tag)
{
    Properties header;
    header.set(key::OBJECT_KEY, objectKey);
    header.set(key::NAME, array.GetName());
    header.set(key::DATA_TYPE, array.GetDataType());
    header.set(key::NUMBER_OF_COMPONENTS, static_cast<int>(shape.components));
    header.set(key::NUMBER_OF_TUPLES, static_cast<int>(shape.tuples));
    header.set(key::SIZE, static_cast<int>(shape.capacity));
    header.set(key::TAG, static_cast<int>(tag));
    return header;
}

void writeLine(std::ostream& out, const Properties& record)
{
    const std::string text = sdb::detail::tagText(record) + '\n';
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

/// Room that an array has but does not use may hold anything: what was in memory before is nobody's business.
void writeZeros(std::ostream& out, std::int64_t count)
{
    constexpr std::int64_t MOST_AT_ONCE = 65536;
    const std::vector<char> zeros(static_cast<std::size_t>(std::min(count, MOST_AT_ONCE)));
    for (; count > 0 && out.good(); count -= MOST_AT_ONCE)
    {
        out.write(zeros.data(), std::min(count, MOST_AT_ONCE));
    }
}

} // namespace

SceneGraphWriter::SceneGraphWriter() = default;
SceneGraphWriter::SceneGraphWriter(const SceneGraphWriter&) = default;
SceneGraphWriter& SceneGraphWriter::operator=(const SceneGraphWriter&) = default;
SceneGraphWriter::~SceneGraphWriter() = default;

SceneGraphWriter::SceneGraphWriter(SceneGraphWriter&& other) noexcept
{
    *this = std::move(other);
}

SceneGraphWriter& SceneGraphWriter::operator=(SceneGraphWriter&& other) noexcept
{
    if (this != &other)
    {
        _directory = std::move(other._directory);
        _dataDirectory = std::move(other._dataDirectory);
        _sceneStream = other._sceneStream; // whoever is writing a scene goes on
        _nodes = std::exchange(other._nodes, {});
        _arrayFiles = other._arrayFiles;
        _failed = other._failed;
    }
    return *this;
}

bool SceneGraphWriter::save(const std::string& directory, SceneNode& root)
{
    collectAllNodes(root);
    _arrayFiles.clear();
    _failed = false;
    _dataDirectory = directory + detail::DATA_DIRECTORY;
    (void)Platform::filesystem().createDirectory(OS::toWide(_dataDirectory)); // a failure shows in its files
    _directory = directory;
    // A node may do anything to this writer while it is asked for its data.
    const std::shared_ptr<std::ofstream> stream =
        OS::openForWriting(OS::toWide(directory + detail::SCENE_FILE), OS::LineEnds::OfThePlatform);
    _sceneStream = stream;
    if (!stream->good())
    {
        _failed = true;
        return false;
    }
    writeScene(*stream);
    closeFile(*stream);
    _sceneStream.reset();
    return true;
}

void SceneGraphWriter::writeScene(std::ostream& out)
{
    const std::vector<Node*> nodes(_nodes.begin(), _nodes.end());
    ClassVersions versions;
    for (const Node* const node : nodes)
    {
        node->addClassVersion(versions);
    }
    Properties record;
    record.set(key::DATA_FIELD, field::CLASS_VERSIONS);
    record.set(key::VERSIONS, versions.getVersions());
    writeLine(out, record);
    for (const Node* const node : nodes)
    {
        node->serialize(*this);
    }
}

void SceneGraphWriter::collectAllNodes(Node& node)
{
    sdb::detail::collectNodes(node, _nodes);
}

bool SceneGraphWriter::write(const std::string& name, Properties&& properties)
{
    if (!_sceneStream)
    {
        return false;
    }
    Properties record;
    record.set(key::OBJECT_KEY, name);
    record.set(key::PROPERTIES, std::move(properties));
    writeLine(*_sceneStream, record);
    return true;
}

bool SceneGraphWriter::writePolys(const std::string& name, vtkPolyData* polys, TimeStamp)
{
    if (polys == nullptr)
    {
        return false;
    }
    vtkNew<SceneGraphPolyDataWriter> writer;
    writer->WriteToOutputStringOn();
    writer->SetInputData(polys);
    _failed = writer->Write() == 0 || writer->HasLeftOut() || _failed;
    writer->Update();
    Properties header;
    header.set(key::OBJECT_KEY, name);
    header.set(key::TAG, static_cast<int>(TagPolyData));
    const auto file = openDataFile(name + detail::POLY_DATA_EXTENSION, OS::LineEnds::OfThePlatform);
    if (file->is_open())
    {
        writeLine(*file, header);
        file->write(writer->GetOutputString(), writer->GetOutputStringLength());
        closeFile(*file);
    }
    return true;
}

bool SceneGraphWriter::writePointData(const std::string& name, vtkPolyData*, vtkDataArray* array)
{
    return writeDataInternal(name, array, TagPointData);
}

bool SceneGraphWriter::writeCellData(const std::string& name, vtkPolyData*, vtkDataArray* array)
{
    return writeDataInternal(name, array, TagCellData);
}

bool SceneGraphWriter::writeBinaryNodeData(const std::string& name, vtkDataArray* array, DataTag tag, TimeStamp)
{
    if (tag != DataTag1 && tag != DataTag7)
    {
        raise(SUPPORTED_DATA_TAG);
    }
    return writeDataInternal(name, array, tag == DataTag1 ? TagNodeDataB : TagNodeDataA);
}

bool SceneGraphWriter::writePropNodeData(const std::string&, Properties&&, DataTag)
{
    raise(NO_PROPERTY_DATA);
}

bool SceneGraphWriter::writeDataInternal(const std::string& name, vtkDataArray* array, SceneGraphWriterTags tag)
{
    if (array == nullptr)
    {
        _failed = true;
        return false;
    }
    const ArrayShape shape(*array);
    std::string refusal = refusalOf(*array, shape);
    const detail::StoredValues values(*array, refusal.empty() ? shape.used() : 0);
    refusal = refusal.empty() ? values.refusal() : refusal;
    if (!refusal.empty())
    {
        const char* const arrayName = array->GetName() != nullptr ? array->GetName() : "";
        std::cerr << "SceneGraphWriter: array \"" << arrayName << "\" of " << name << " cannot be stored: " << refusal
                  << '\n';
        _failed = true;
        return false;
    }
    const auto file = openDataFile(arrayFileName(name, array->GetName(), tag), OS::LineEnds::AsWritten);
    if (!file->is_open())
    {
        return false;
    }
    writeLine(*file, arrayHeader(name, *array, shape, tag));
    file->write(values.data(), static_cast<std::streamsize>(values.size()));
    writeZeros(*file, shape.capacity * shape.width - static_cast<std::int64_t>(values.size()));
    closeFile(*file);
    return true;
}

/// Object keys and array names may be such that the files of different data would have one name: point and cell data
/// of the same name, or "a" with "b.c" and "a.b" with "c". The later one gets its kind into its name.
std::string SceneGraphWriter::arrayFileName(const std::string& objectKey, const std::string& arrayName,
                                            SceneGraphWriterTags tag)
{
    const Owner owner(tag, objectKey, arrayName);
    std::string name = objectKey + "." + arrayName;
    while (_arrayFiles.emplace(name, owner).first->second != owner)
    {
        name += "." + std::to_string(tag);
    }
    return name + detail::DATA_ARRAY_EXTENSION;
}

/// Never null; not open for a name that no file in the data directory can have, or if it cannot be opened.
std::unique_ptr<std::ofstream> SceneGraphWriter::openDataFile(const std::string& fileName, OS::LineEnds lineEnds)
{
    std::unique_ptr<std::ofstream> file =
        Platform::filesystem().isFileName(OS::toWide(fileName))
            ? OS::openForWriting(OS::toWide(_dataDirectory + "/" + fileName), lineEnds)
            : std::make_unique<std::ofstream>();
    _failed = _failed || !file->is_open();
    return file;
}

void SceneGraphWriter::closeFile(std::ofstream& file)
{
    file.close();
    _failed = _failed || !file.good();
}

} // namespace tsg
