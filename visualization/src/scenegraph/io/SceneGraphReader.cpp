#include "scenegraph/io/SceneGraphReader.h"

#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/SceneGraphWriter.h"
#include "scenegraph/io/detail/LegacyPolyData.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <list>
#include <map>
#include <utility>

#include <vtkDataArray.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace tsg
{

namespace
{

namespace field = sdb::detail::field;
namespace key = sdb::detail::key;

/// The name that a collection's geometry nodes had before the class was given versions, and the one they have now.
constexpr char OLD_COLLECTION_KEY[] = "PolyDataNodesCollection";
constexpr char COLLECTION_KEY[] = "PolyDataNodes";
constexpr char COLLECTION_CLASS[] = "PolyDataCollectionDrawable";

constexpr int CARRIAGE_RETURN = '\r';
constexpr int LINE_FEED = '\n';

/// Which node data a kind of file stands for.
struct NodeDataKind
{
    SceneGraphWriterTags tag;
    NodeStream::DataTag dataTag;
};

constexpr NodeDataKind NODE_DATA_KINDS[] = {
    {TagNodeDataA, NodeStream::DataTag7}, {TagNodeDataB, NodeStream::DataTag1}, {TagNodeDataC, NodeStream::DataTag2},
    {TagNodeDataD, NodeStream::DataTag3}, {TagNodeDataE, NodeStream::DataTag4},
};

bool deliverArray(NodeStream& target, const std::string& objectKey, int tag, vtkDataArray* array)
{
    if (tag == TagPointData)
    {
        target.writePointData(objectKey, nullptr, array);
        return true;
    }
    if (tag == TagCellData)
    {
        target.writeCellData(objectKey, nullptr, array);
        return true;
    }
    for (const NodeDataKind& kind : NODE_DATA_KINDS)
    {
        if (kind.tag == tag)
        {
            target.writeBinaryNodeData(objectKey, array, kind.dataTag);
            return true;
        }
    }
    std::cout << "Unknown array type\n";
    return false;
}

/// Prints what could not be done with a number of bytes; false.
bool reportBytes(const char* failure, std::int64_t bytes, const char* rest)
{
    std::cout << "SceneGraphReader: " << failure << std::to_string(bytes) << rest << std::flush;
    return false;
}

/// Reads what a stream has left, as far as the budget allows text that is taken for no longer than a call; false if
/// there is more, or more than a text can have.
bool readRest(std::istream& in, const sdb::detail::MemoryBudget& budget, std::string& text)
{
    constexpr std::size_t PIECE = 65536;
    const auto announced = sdb::detail::bytesLeft(in);
    const std::uint64_t most = std::min<std::uint64_t>(budget.left(), detail::MAX_STORED);
    if (announced && *announced > most)
    {
        return false;
    }
    text.reserve(announced.value_or(0));
    for (std::size_t size = 0; in.good() && size <= most; size = text.size())
    {
        text.resize(size + PIECE);
        in.read(&text[size], PIECE);
        text.resize(size + static_cast<std::size_t>(in.gcount()));
    }
    return text.size() <= most;
}

/// Prints a number with at least two digits in the base that standard error is in.
void printDigits(int number)
{
    const char fill = std::cerr.fill('0');
    std::cerr << std::setw(2) << number;
    std::cerr.fill(fill);
}

/// The character after a carriage return is not the line feed that belongs to it. Standard error stays hexadecimal.
void reportLoneCarriageReturn(int next)
{
    std::cerr << "SceneGraphReader::getNextProperty() expected Windows line feed 0x0d0a, got 0x" << std::hex;
    printDigits(CARRIAGE_RETURN);
    printDigits(next);
    std::cerr << '\n';
}

void reportNoLineEnd(int next)
{
    std::cerr << "SceneGraphReader::getNextProperty() found 0x";
    printDigits(next);
    std::cerr << ", expected line feed 0x0a or 0x0d0a.\n";
}

} // namespace

SceneGraphReader::SceneGraphReader(NodeStream& stream)
    : _target(stream)
{
}

SceneGraphReader::SceneGraphReader(const SceneGraphReader&) = default;
SceneGraphReader::SceneGraphReader(SceneGraphReader&&) noexcept = default;
SceneGraphReader::~SceneGraphReader() = default;

std::string SceneGraphReader::getSceneName() const
{
    return _sceneName;
}

bool SceneGraphReader::load(const std::wstring& directory)
{
    const std::wstring scenePath = directory + OS::toWide(detail::SCENE_FILE);
    if (!Platform::filesystem().fileExists(scenePath))
    {
        std::cout << OS::toNarrow(directory) << " does not contain scene.tsg!\n";
        return false;
    }
    const auto scene = OS::openForReading(scenePath);
    if (!scene->good())
    {
        std::cout << "Failed to load scene.tsg!\n";
        return false;
    }
    (void)loadSceneFileFromInputStream(*scene); // always true

    loadDataDirectory(directory + OS::toWide(detail::DATA_DIRECTORY));
    return true;
}

void SceneGraphReader::loadDataDirectory(const std::wstring& directory)
{
    std::list<std::wstring> directories;
    std::list<std::wstring> names;
    (void)Platform::filesystem().listDirectory(directories, names, directory); // no names where it cannot be read
    // All files together may take what one file of their size may.
    sdb::detail::MemoryBudget budget(sdb::detail::loadMemory(0));
    for (const std::wstring& name : names)
    {
        std::wstring path = directory;
        path.append(L"/").append(name);
        const auto file = OS::openForReading(path);
        if (!file->is_open())
        {
            continue;
        }
        budget.extend(sdb::detail::loadMemory(sdb::detail::streamSize(*file).value_or(0)) - sdb::detail::loadMemory(0));
        if (!loadVtkData(*file, budget))
        {
            std::cout << "Can't load vtk data!\n";
        }
    }
}

bool SceneGraphReader::loadSceneFileFromInputStream(std::istream& in)
{
    ClassVersions versions;
    Properties record;
    while (getNextProperty(in, record))
    {
        if (record.getString(key::DATA_FIELD) == field::CLASS_VERSIONS)
        {
            std::map<std::string, int> entries;
            record.get(key::VERSIONS, entries);
            for (const auto& [className, version] : entries)
            {
                versions.setClassVersion(className, version);
            }
            continue;
        }
        loadNode(record, versions);
        if (in.fail())
        {
            break;
        }
    }
    _target.getNodeRegistry().postUpgradeNodeProperties(versions);
    return true;
}

void SceneGraphReader::loadNode(const Properties& record, const ClassVersions& versions)
{
    const std::string& objectKey = record.getString(key::OBJECT_KEY);
    Properties properties = record.getProperties(key::PROPERTIES);
    if (properties.hasName(OLD_COLLECTION_KEY) && versions.getClassVersion(COLLECTION_CLASS) == 0)
    {
        properties.rename(OLD_COLLECTION_KEY, COLLECTION_KEY);
    }
    _target.getNodeRegistry().upgradeNodeProperties(objectKey, properties, versions);
    if (classNameOf(objectKey) == SceneNode::getClassName())
    {
        _sceneName = properties.getString(key::NAME);
    }
    _target.write(objectKey, std::move(properties));
}

bool SceneGraphReader::loadVtkDataFromInputStream(std::istream& in)
{
    auto budget = sdb::detail::MemoryBudget::forInput(sdb::detail::streamSize(in));
    return loadVtkData(in, budget);
}

bool SceneGraphReader::loadVtkData(std::istream& in, sdb::detail::MemoryBudget& budget)
{
    Properties header;
    if (!getNextProperty(in, header))
    {
        return false;
    }
    const int tag = header.getInt(key::TAG);
    if (tag == TagPolyData)
    {
        return loadVtkPolyDataFromInputStream(in, header, budget);
    }
    return tag >= TagPointData && tag <= TagNodeDataE && loadVtkDataArrayFromInputStream(in, header, budget);
}

bool SceneGraphReader::loadVtkDataArrayFromInputStream(std::istream& in, Properties& header,
                                                       sdb::detail::MemoryBudget& budget)
{
    const int type = header.getInt(key::DATA_TYPE);
    const int components = header.getInt(key::NUMBER_OF_COMPONENTS);
    const int size = header.getInt(key::SIZE);
    const std::int64_t byteCount = detail::wrappedProduct(detail::storedWidth(type), size);
    if (byteCount < 0)
    {
        return reportBytes("failed to allocate ", byteCount, " bytes!\n");
    }
    // A product that has wrapped is that of an array with more values than bytes for them.
    if (!detail::isStorable(type) || size < 0 || byteCount != std::int64_t{detail::storedWidth(type)} * size ||
        components < 0 || components > sdb::detail::MAX_COMPONENTS)
    {
        return false;
    }
    const auto source = [&in](char* data, std::uint64_t bytes)
    {
        in.read(data, static_cast<std::streamsize>(bytes));
        return static_cast<std::uint64_t>(in.gcount());
    };
    const vtkSmartPointer<vtkDataArray> array =
        detail::makeStoredArray(type, detail::storedWidth(type), components, size, budget, source);
    if (in.bad())
    {
        return reportBytes("failed to read ", byteCount, " bytes from input stream!\n");
    }
    if (!array)
    {
        return reportBytes("failed to allocate ", byteCount, " bytes!\n");
    }
    array->SetName(header.getString(key::NAME).c_str());
    return deliverArray(_target, header.getString(key::OBJECT_KEY), header.getInt(key::TAG), array);
}

bool SceneGraphReader::loadVtkPolyDataFromInputStream(std::istream& in, Properties& header,
                                                      sdb::detail::MemoryBudget& budget)
{
    std::string text;
    if (!readRest(in, budget, text))
    {
        return false;
    }
    const vtkSmartPointer<vtkPolyData> polys = detail::readLegacyPolyData(std::move(text), budget);
    if (!polys)
    {
        return false;
    }
    _target.writePolys(header.getString(key::OBJECT_KEY), polys, TimeStamp(polys->GetMTime()));
    return true;
}

/// Reads one record and the line end behind it. A wrong line end is reported and left in the stream.
bool SceneGraphReader::getNextProperty(std::istream& in, Properties& out)
{
    if (!sdb::getNextProperty(in, out))
    {
        return false;
    }
    if (!in.good())
    {
        return true;
    }
    const int end = in.peek();
    if (end == CARRIAGE_RETURN)
    {
        in.get();
        const int next = in.good() ? in.peek() : 0;
        if (next == LINE_FEED)
        {
            in.get();
        }
        else
        {
            reportLoneCarriageReturn(next);
        }
    }
    else if (end == LINE_FEED)
    {
        in.get();
    }
    else
    {
        reportNoLineEnd(end);
    }
    return true;
}

} // namespace tsg
