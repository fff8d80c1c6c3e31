#include "scenegraph/io/SceneGraphWriter.h"

#include "core/ClassVersions.h"
#include "core/Error.h"
#include "platform/FileStreams.h"
#include "platform/FileSystem.h"
#include "platform/Folder.h"
#include "platform/NewFile.h"
#include "platform/Platform.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/SceneGraphPolyDataWriter.h"
#include "scenegraph/io/detail/NodeCollection.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <list>
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

    /// True if sizes are numbers that the header can hold.
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

/// The stream into a new file, never null; not open if that could not be made.
std::unique_ptr<std::ofstream> openForWriting(const OS::NewFile& file, OS::LineEnds lineEnds)
{
    return file.isOpen() ? OS::openForWriting(file.path(), lineEnds) : std::make_unique<std::ofstream>();
}

/// Lets go of a scene file and the folder of its data, whichever way a save ends.
class OpenScene
{
public:
    /// `member` refers to the stream meanwhile, and copies of its owner may.
    OpenScene(std::shared_ptr<std::ofstream>& member, std::shared_ptr<std::ofstream> stream,
              std::shared_ptr<OS::Folder> folder)
        : _member(member)
        , _stream(std::move(stream))
        , _folder(std::move(folder))
    {
        _member = _stream;
    }

    ~OpenScene()
    {
        _stream->close();
        _member.reset();
        _folder->close(); // of copies, too
    }

    OpenScene(const OpenScene&) = delete;
    OpenScene& operator=(const OpenScene&) = delete;

private:
    std::shared_ptr<std::ofstream>& _member;
    std::shared_ptr<std::ofstream> _stream;
    std::shared_ptr<OS::Folder> _folder;
};

/// What the name of an array's file gets if another array has it.
std::string kindSuffix(int tag)
{
    return "." + std::to_string(tag);
}

/// The name of an array's file without the extension; empty for other files.
std::string nameOfArrayFile(const std::string& file)
{
    const std::string extension = detail::DATA_ARRAY_EXTENSION;
    const bool isArrayFile = file.size() > extension.size() &&
                             file.compare(file.size() - extension.size(), extension.size(), extension) == 0;
    return isArrayFile ? file.substr(0, file.size() - extension.size()) : "";
}

/// True if a name is one of `names` with suffixes for kinds.
bool mayBeOfOneOf(const std::set<std::string>& names, std::string name)
{
    constexpr std::size_t SUFFIX_BYTES = 2;
    for (; names.count(name) == 0; name.resize(name.size() - SUFFIX_BYTES))
    {
        const std::size_t dot = name.size() < SUFFIX_BYTES ? std::string::npos : name.size() - SUFFIX_BYTES;
        if (dot == std::string::npos || name[dot] != '.' || name[dot + 1] < '0' || name[dot + 1] > '7')
        {
            return false;
        }
    }
    return true;
}

/// Which data a file says that it is of: kind, object key, name of the array.
std::tuple<int, std::string, std::string> ownerOf(const std::wstring& path)
{
    const auto in = OS::openForReading(path);
    Properties header;
    if (!in->is_open() || !sdb::getNextProperty(*in, header))
    {
        return {-1, "", ""};
    }
    return {header.getInt(key::TAG), header.getString(key::OBJECT_KEY), header.getString(key::NAME)};
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
        _dataFolder = other._dataFolder;
        _sceneStream = other._sceneStream; // whoever is writing a scene goes on
        _nodes = std::exchange(other._nodes, {});
        _arrayFiles = std::move(other._arrayFiles);
        _written = std::move(other._written);
        _failed = other._failed;
    }
    return *this;
}

bool SceneGraphWriter::save(const std::string& directory, SceneNode& root)
{
    collectAllNodes(root);
    _arrayFiles.clear();
    _written.clear();
    _failed = false;
    _dataDirectory = directory + detail::DATA_DIRECTORY;
    (void)Platform::filesystem().createDirectory(OS::toWide(_dataDirectory)); // a failure shows in its files
    _directory = directory;
    OS::NewFile file(OS::toWide(directory + detail::SCENE_FILE));
    // A node may do anything to this writer while it is asked for its data.
    const std::shared_ptr<std::ofstream> stream = openForWriting(file, OS::LineEnds::OfThePlatform);
    if (!stream->is_open())
    {
        _failed = true;
        return false;
    }
    _dataFolder =
        std::make_shared<OS::Folder>(OS::Folder(OS::toWide(directory + "/")).inner(detail::DATA_DIRECTORY + 1));
    const OpenScene scene(_sceneStream, stream, _dataFolder);
    writeScene(*stream);
    stream->close();
    _failed = !stream->good() || !file.replace() || _failed;
    removeEarlierFiles();
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
    const bool isComplete = writer->Write() != 0 && !writer->HasLeftOut();
    writer->Update();
    if (!isComplete)
    {
        reportLoss("the polydata of " + name + " cannot be stored as a whole");
    }
    const auto write = [&](std::ostream& out)
    {
        Properties header;
        header.set(key::OBJECT_KEY, name);
        header.set(key::TAG, static_cast<int>(TagPolyData));
        writeLine(out, header);
        out.write(writer->GetOutputString(), writer->GetOutputStringLength());
    };
    (void)writeDataFile(Owner(TagPolyData, name, ""), name + detail::POLY_DATA_EXTENSION, OS::LineEnds::OfThePlatform,
                        write);
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
    const std::string arrayName = array->GetName() != nullptr ? array->GetName() : "";
    const std::string subject = "array \"" + arrayName + "\" of " + name;
    if (!refusal.empty())
    {
        reportLoss(subject + " cannot be stored: " + refusal);
        return false;
    }
    if (shape.width == 0 && shape.used() > 0)
    {
        reportLoss("the values of " + subject + " cannot be stored: there is no room for bits");
    }
    const auto write = [&](std::ostream& out)
    {
        writeLine(out, arrayHeader(name, *array, shape, tag));
        out.write(values.data(), static_cast<std::streamsize>(values.size()));
        writeZeros(out, shape.capacity * shape.width - static_cast<std::int64_t>(values.size()));
    };
    const Owner owner(tag, name, arrayName);
    return writeDataFile(owner, arrayFileName(owner), OS::LineEnds::AsWritten, write);
}

/// Object keys and array names may be such that the files of different data would have one name: point and cell data
/// of the same name, or "a" with "b.c" and "a.b" with "c". The later one gets its kind into its name.
std::string SceneGraphWriter::arrayFileName(const Owner& owner)
{
    const auto& [tag, objectKey, arrayName] = owner;
    std::string name = objectKey + "." + arrayName;
    while (_arrayFiles.emplace(name, owner).first->second != owner)
    {
        name += kindSuffix(tag);
    }
    return name + detail::DATA_ARRAY_EXTENSION;
}

/// Writes a data file, which takes its name when it is complete. False for a name that no file in the data directory
/// can have, or if the file cannot be opened.
template <class Write>
bool SceneGraphWriter::writeDataFile(const Owner& owner, const std::string& fileName, OS::LineEnds lineEnds,
                                     const Write& write)
{
    const std::shared_ptr<OS::Folder> folder = _dataFolder;
    if (folder == nullptr || !folder->isOpen() || !Platform::filesystem().isFileName(OS::toWide(fileName)))
    {
        _failed = true;
        return false;
    }
    OS::NewFile file(folder->path() + L'/' + OS::toWide(fileName));
    const auto stream = openForWriting(file, lineEnds);
    if (!stream->is_open())
    {
        _failed = true;
        return false;
    }
    write(*stream);
    stream->close();
    if (!stream->good() || !file.replace())
    {
        _failed = true;
    }
    else if (!_written.insert(owner).second)
    {
        reportLoss(fileName + " holds the last of several data of one kind, key and name");
    }
    return true;
}

void SceneGraphWriter::reportLoss(const std::string& what)
{
    std::cerr << "SceneGraphWriter: " << what << '\n';
    _failed = true;
}

/// Data that an earlier save has put under another name, since there was more that asked for the same one, would be
/// loaded beside the new.
void SceneGraphWriter::removeEarlierFiles()
{
    if (_dataFolder == nullptr || !_dataFolder->isOpen())
    {
        return;
    }
    std::set<std::string> names;
    for (const auto& entry : _arrayFiles)
    {
        names.insert(std::get<1>(entry.second) + "." + std::get<2>(entry.second));
    }
    std::list<std::wstring> directories;
    std::list<std::wstring> files;
    (void)Platform::filesystem().listDirectory(directories, files, _dataFolder->path());
    for (const std::wstring& file : files)
    {
        const std::string name = nameOfArrayFile(OS::toNarrow(file));
        const std::wstring path = _dataFolder->path() + L'/' + file;
        if (_arrayFiles.count(name) == 0 && mayBeOfOneOf(names, name) && _written.count(ownerOf(path)) != 0)
        {
            (void)Platform::filesystem().markForDeletion(path);
        }
    }
}

} // namespace tsg
