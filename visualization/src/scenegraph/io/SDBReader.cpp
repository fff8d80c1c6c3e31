#include "scenegraph/io/SDBReader.h"

#include "core/Error.h"
#include "platform/Platform.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/NodeRegistry.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Index.h"
#include "scenegraph/io/detail/Load.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraphcommon/Logger.h"

#include <cstdint>
#include <iostream>
#include <map>
#include <utility>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBReader";

constexpr Invariant KNOWN_BINARY_DATA{"Unknown BinaryData type", "false", SOURCE, 224};
constexpr Invariant STREAM_EXISTS{"File stream can't be NULL!", "_fileStream", SOURCE, 309};

LogSite unsupportedVersion(Logger::Failure, SOURCE, 148);
LogSite polyDataNotLoaded(Logger::Failure, SOURCE, 205);
LogSite arrayNotLoaded(Logger::Failure, SOURCE, 219);

/// Progress is reported each time the percentage passes a multiple of this.
constexpr int PROGRESS_STEP = 5;

constexpr int VERSION_WITHOUT_ROOT_KEY = 1;
constexpr int CURRENT_VERSION = 2;

namespace field = sdb::detail::field;
namespace key = sdb::detail::key;

} // namespace

SDBReader::SDBReader() = default;
SDBReader::~SDBReader() = default;

io::FileIoStatus SDBReader::open(const std::wstring& path)
{
    close();
    OS::FileSystem& files = Platform::filesystem();
    const std::wstring normalised = files.getFilePath(path);
    if (!files.fileExists(normalised))
    {
        return io::FileIoStatus::FileNotFound;
    }
    _fileStream = sdb::binaryIfstreamShareDelete(normalised);
    if (!_fileStream->is_open() || _fileStream->fail())
    {
        return io::FileIoStatus::OpenFailed;
    }
    if (!sdb::checkFormat(*_fileStream, std::cerr, _canvasInfo.releaseNumber))
    {
        _fileStream->close();
        return io::FileIoStatus::WrongFormat;
    }
    indexRecords(*_fileStream);
    return io::FileIoStatus::Success;
}

void SDBReader::close()
{
    ++_use;
    if (_fileStream)
    {
        _fileStream->close();
    }
}

bool SDBReader::isOpen() const
{
    return _fileStream && !_records.empty();
}

void SDBReader::getThumbnailData(const Properties& tag, Bitmap<3>& bitmap)
{
    if (!_fileStream)
    {
        raise(STREAM_EXISTS);
    }
    sdb::getThumbnailData(*_fileStream, tag, bitmap);
}

void SDBReader::indexRecords(std::istream& in)
{
    _records.clear();
    _thumbnails.clear();
    sdb::detail::indexRecords(
        in, [this](const Properties& header) { registerRecord(header); },
        [this](const Properties& tag) { registerThumbnail(tag); });
}

void SDBReader::registerRecord(const Properties& header)
{
    _records.push_back(header);
}

void SDBReader::registerThumbnail(const Properties& tag)
{
    _thumbnails.push_back(tag);
}

ISDBReader::CanvasType SDBReader::getCanvasTypeFromObjectKey(const std::string& objectKey)
{
    const std::string className = classNameOf(objectKey);
    if (className == SceneNode::getClassName())
    {
        return SceneCanvas;
    }
    return className == ChartCanvasCollection::getClassName() ? ChartCanvas : UnknownCanvas;
}

bool SDBReader::loadRecord(int index, NodeStream& stream)
{
    return index >= 0 && static_cast<std::size_t>(index) < _records.size() &&
           loadRecord(_records[static_cast<std::size_t>(index)], stream);
}

// What a callback may change, the header and the file stream among them, is not referred to across one: the header is
// read before the first, and the stream is looked up anew after each.
bool SDBReader::loadRecord(const Properties& header, NodeStream& stream)
{
    if (header.getString(key::DATA_FIELD) != field::HEADER || !_fileStream || !_fileStream->is_open())
    {
        return false;
    }
    const unsigned use = ++_use;
    const std::uint64_t begin = sdb::hexFromProp(header, key::FILE_POS);
    const std::uint64_t length = sdb::hexFromProp(header, key::LENGTH);
    const std::uint64_t end = sdb::detail::extentEnd(header).value_or(begin);
    _fileStream->clear();
    const auto stopCheck = [this](std::uint64_t) { checkStop(); };
    sdb::detail::Load load(sdb::detail::streamSize(*_fileStream).value_or(0), stopCheck);
    _canvasInfo.name.clear();
    _canvasInfo.rootNodeKey.clear();

    sdb::detail::seekTo(*_fileStream, begin);
    notifyLoadRecordProgress("Loading record", 0);
    int lastPercent = 0;
    while (_fileStream->good() && sdb::detail::readPosition(*_fileStream) < end)
    {
        Properties tag;
        if (sdb::getNextProperty(*_fileStream, tag) && !processProperties(tag, stream, load))
        {
            return false;
        }
        if (_use != use)
        {
            return false; // a callback has taken the file elsewhere
        }
        const std::uint64_t done = sdb::detail::readPosition(*_fileStream) - begin;
        const int percent = static_cast<int>(done * 100 / length);
        if (percent / PROGRESS_STEP - lastPercent / PROGRESS_STEP > 0)
        {
            notifyLoadRecordProgress("Loading record", percent);
            lastPercent = percent;
        }
    }
    stream.getNodeRegistry().postUpgradeNodeProperties(_classVersions);
    return true;
}

/// A copy is called: it may exchange itself.
void SDBReader::checkStop() const
{
    if (const std::function<void()> check = _stopCheck)
    {
        check();
    }
}

void SDBReader::notifyLoadRecordProgress(const std::string& message, int percent)
{
    Properties event;
    event.set("Message", message);
    event.set("PercentComplete", percent);
    notify(event);
}

bool SDBReader::processProperties(const Properties& tag, NodeStream& stream, sdb::detail::Load& load)
{
    const std::string& kind = tag.getString(key::DATA_FIELD);
    if (kind == field::HEADER)
    {
        processHeader(tag);
    }
    else if (kind == field::CLASS_VERSIONS)
    {
        processClassVersions(tag);
    }
    else if (kind == field::NODE)
    {
        processNode(tag, stream);
    }
    else if (kind == field::BINARY_DATA)
    {
        return processBinaryData(tag, stream, load);
    }
    return true;
}

void SDBReader::processHeader(const Properties& header)
{
    const int version = header.getInt(key::VERSION);
    if (version == CURRENT_VERSION)
    {
        _canvasInfo.rootNodeKey = header.getString(key::ROOT_NODE_KEY);
        _canvasInfo.type = getCanvasTypeFromObjectKey(_canvasInfo.rootNodeKey);
    }
    else if (version != VERSION_WITHOUT_ROOT_KEY)
    {
        unsupportedVersion.log("Unsupported SDB::Writer version: " + std::to_string(version));
    }
}

void SDBReader::processClassVersions(const Properties& tag)
{
    std::map<std::string, int> versions;
    tag.get(key::VERSIONS, versions);
    for (const auto& [className, version] : versions)
    {
        _classVersions.setClassVersion(className, version);
    }
}

void SDBReader::processNode(const Properties& tag, NodeStream& stream)
{
    const std::string& objectKey = tag.getString(key::OBJECT_KEY);
    Properties properties = tag.getProperties(key::PROPERTIES);
    // Upgrade steps want to know which release produced the node.
    properties.set(Node::FlowProductReleaseTag, _canvasInfo.releaseNumber, Properties::Overwrite);
    stream.getNodeRegistry().upgradeNodeProperties(objectKey, properties, _classVersions);
    if (!_canvasInfo.rootNodeKey.empty())
    {
        if (objectKey == _canvasInfo.rootNodeKey)
        {
            _canvasInfo.name = properties.getString(key::NAME);
        }
    }
    else if (getCanvasTypeFromObjectKey(objectKey) == SceneCanvas)
    {
        _canvasInfo.type = SceneCanvas;
        _canvasInfo.name = properties.getString(key::NAME);
    }
    stream.write(objectKey, std::move(properties));
}

bool SDBReader::processBinaryData(const Properties& tag, NodeStream& stream, sdb::detail::Load& load)
{
    const int kind = tag.getInt(key::TAG);
    if (kind == sdb::PolyData)
    {
        if (!loadPolyDataFromInputStream(*_fileStream, tag, stream, load))
        {
            polyDataNotLoaded.log("Can't load polydata from input stream");
            return false;
        }
    }
    else if (kind >= sdb::PointData && kind <= sdb::NodeDataE)
    {
        if (!loadDataArrayFromInputStream(*_fileStream, tag, stream, load))
        {
            arrayNotLoaded.log("Can't load data array from input stream");
            return false;
        }
    }
    else
    {
        raise(KNOWN_BINARY_DATA);
    }
    return true;
}

} // namespace tsg

tsg::ISDBReader* NewSBDReader()
{
    try
    {
        return new tsg::SDBReader;
    }
    catch (...)
    {
        return nullptr;
    }
}

void DeleteSBDReader(tsg::ISDBReader* reader)
{
    delete reader;
}
