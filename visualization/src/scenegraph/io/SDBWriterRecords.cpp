// The writing of records and thumbnails: one forward sweep, and the record header rewritten in place at its end.

#include "scenegraph/io/SDBWriter.h"

#include "core/ClassVersions.h"
#include "core/Error.h"
#include "filtering/StreamArrayNames.h"
#include "platform/FileSystem.h"
#include "scenegraph/Attributes.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/detail/AppendStream.h"
#include "scenegraph/io/detail/FileIndex.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/WriteProgress.h"

#include <iostream>
#include <utility>

namespace tsg
{

namespace
{

constexpr Invariant ROOT_HOLDS_A_SCENE{
    "Node must be either a SceneNode or a ChartCanvasCollection",
    "(dynamic_cast<SceneNode*>(&root) || dynamic_cast<tsg::ChartCanvasCollection*>(&root))",
    "visualization/src/scenegraph/io/SDBWriter", 177};

/// Version of the record layout; stored in every record header.
constexpr int RECORD_VERSION = 2;

using sdb::detail::hexPosition;
namespace field = sdb::detail::field;
namespace key = sdb::detail::key;

unsigned long long asNumber(std::streampos position)
{
    return static_cast<unsigned long long>(std::streamoff(position));
}

/// Adds the names of the arrays that geometry may carry for the sake of this node.
void addArrayNames(const Node& node, std::set<std::string>& names)
{
    if (const auto* dataArray = dynamic_cast<const DataArrayAttributes*>(&node))
    {
        if (!dataArray->getDataArrayName().empty())
        {
            names.insert(dataArray->getDataArrayName());
        }
    }
    else if (const auto* ribbon = dynamic_cast<const RibbonAttributes*>(&node))
    {
        if (ribbon->getRibbonOrientation() == 0)
        {
            names.insert(StreamArrayNames::_normalsName);
        }
        else if (ribbon->getRibbonOrientation() == 1)
        {
            names.insert(StreamArrayNames::_vorticityName);
        }
    }
    else if (dynamic_cast<const TubeAttributes*>(&node) != nullptr)
    {
        names.insert(StreamArrayNames::_unTwistedNormalsName);
    }
    else if (dynamic_cast<const LineMarkerAttributes*>(&node) != nullptr)
    {
        names.insert({StreamArrayNames::_arcLengthName, StreamArrayNames::_endPointStatusName});
    }
    else if (dynamic_cast<const StreamlineDrawable*>(&node) != nullptr)
    {
        names.insert({StreamArrayNames::_integrationTimeName, StreamArrayNames::_pseudoTimeName});
    }
    else if (const auto* surface = dynamic_cast<const SurfaceAttributes*>(&node))
    {
        if (!surface->getSmoothShaded()) // smooth shading computes its own normals
        {
            names.insert("Normal");
        }
    }
}

} // namespace

/// One addition to the file, from its first byte to the check that all of it was taken. What is left before that, by an
/// exception or a failed write, is undone: the writer forgets the payloads of the addition, and its bytes are no part
/// of the file any more.
class SDBWriter::Addition
{
public:
    explicit Addition(SDBWriter& writer)
        : _writer(writer)
        , _stream(writer._fileStream)
        , _fileName(writer._fileName)
    {
        _writer._progress->reset();
        if (_stream->beginItem())
        {
            (void)secured(); // else the device might mix what is cut off with what takes its place
        }
    }

    ~Addition()
    {
        if (_complete)
        {
            return;
        }
        // Also for copies made meanwhile: what the addition stored is no part of the file that they share.
        _writer._index->undoBinaries();
        const bool isGood = isWritable() && _stream->good();
        const bool isStopped = _writer._progress->wasStopped();
        if (isGood && !isStopped)
        {
            _stream->leaveItem();
        }
        else if (!isGood || !_stream->takeItemBack())
        {
            _writer._failed = true;
            if (_writer._allOrNothing)
            {
                _stream->abandonAll();
            }
            else
            {
                _stream->abandon();
            }
            std::cerr << "SDBWriter: writing to " << OS::toNarrow(_fileName) << " failed; the file was cut back to "
                      << (_writer._allOrNothing ? "what it held before" : "its last whole item") << " and closed\n";
        }
    }

    Addition(const Addition&) = delete;
    Addition& operator=(const Addition&) = delete;

    /// True if the system has taken everything that was written up to now.
    bool taken() { return isWritable() && _stream->flushed(); }

    /// The same, and if the writer wants that, whether the device has it too.
    bool secured() { return isWritable() && _writer.secureFile(); }

    /// Makes the addition part of the file.
    void complete()
    {
        _writer._index->keepBinaries();
        _stream->endItem();
        _complete = true;
    }

private:
    /// True if no node has closed the file or opened another one.
    bool isWritable() const { return _writer._fileStream == _stream && _stream->is_open(); }

    SDBWriter& _writer;
    std::shared_ptr<sdb::detail::AppendStream> _stream; ///< kept alive whatever a node does with the writer
    std::wstring _fileName;
    bool _complete = false;
};

/// True if the system has taken everything that was written, and if that is wanted, whether the device has it, too.
bool SDBWriter::secureFile()
{
    if (_fileStream->flushed() && _synchronised && !_fileStream->synchronise())
    {
        _fileStream->setstate(std::ios::failbit);
    }
    return _fileStream->good();
}

bool SDBWriter::canBeginAddition() const
{
    return isOpen() && _fileStream && !isAdding();
}

io::FileIoStatus SDBWriter::addRecord(const std::string& title, const std::string& description,
                                      const std::string& sessionId, Node& root, int& recordIndex)
{
    if (dynamic_cast<SceneNode*>(&root) == nullptr && dynamic_cast<ChartCanvasCollection*>(&root) == nullptr)
    {
        raise(ROOT_HOLDS_A_SCENE);
    }
    if (!canBeginAddition())
    {
        return io::FileIoStatus::NotOpen;
    }
    sdb::collectAllNodes(root, _nodes);
    if (!canBeginAddition())
    {
        return io::FileIoStatus::NotOpen; // a node has closed the file
    }
    _sessionId = sessionId;
    collectDataArrays();

    recordIndex = -1;
    Addition addition(*this);
    _progress->begin();
    const unsigned long long recordPos = asNumber(getStreamPosition());
    // Has copies of the texts: nodes may change what they were taken from, but both headers have to be of one length.
    const auto writeRecordHeader =
        [=, rootNodeKey = root.getObjectKey()](unsigned long long length, unsigned long long binaryPos)
    { return writeHeader(rootNodeKey, title, description, sessionId, recordPos, length, binaryPos); };
    const Properties unfinished = writeRecordHeader(_synchronised ? sdb::detail::FAR_BEYOND : 0, 0);
    const unsigned long long headerEnd = asNumber(_fileStream ? _fileStream->tellp() : std::streampos(0));
    if (_synchronised && !addition.secured()) // without it nobody could tell what the rest is
    {
        return io::FileIoStatus::Success;
    }
    writeClassVersions();
    writePropertyTags();
    const unsigned long long binaryPos = asNumber(getStreamPosition());
    writeBinaryData();
    _progress->finish();
    const std::streampos end = getStreamPosition();
    if (!addition.taken())
    {
        return io::FileIoStatus::Success;
    }
    prepareHeader(unfinished, recordPos, headerEnd, asNumber(end) - recordPos, binaryPos);
    if (!addition.secured())
    {
        return io::FileIoStatus::Success;
    }
    // From here on the record is found: the header's length is what says that it is finished.
    moveFileStreamTo(static_cast<std::streamoff>(recordPos));
    const Properties header = writeRecordHeader(asNumber(end) - recordPos, binaryPos);
    moveFileStreamTo(end);
    flushFileStream();
    if (addition.secured())
    {
        _index->registerRecord(header);
        addition.complete();
        recordIndex = static_cast<int>(_index->records().size()) - 1;
    }
    return io::FileIoStatus::Success;
}

/// Gives the header everything but the byte that says that the record is finished. A header that a derived writer has
/// made in another way is left as it is.
void SDBWriter::prepareHeader(Properties header, unsigned long long recordPos, unsigned long long headerEnd,
                              unsigned long long length, unsigned long long binaryData)
{
    header.set(key::LENGTH, sdb::detail::beyondAnyFile(length), Properties::Overwrite);
    header.set(key::BINARY_DATA, hexPosition(binaryData), Properties::Overwrite);
    if (sdb::detail::tagText(header).size() == headerEnd - recordPos)
    {
        sdb::detail::rewriteTag(tagStream(), recordPos, headerEnd - recordPos, header);
    }
}

Properties SDBWriter::writeHeader(const std::string& rootNodeKey, const std::string& title,
                                  const std::string& description, const std::string& sessionId,
                                  unsigned long long recordPos, unsigned long long length,
                                  unsigned long long binaryData)
{
    Properties header;
    header.set(key::DATA_FIELD, field::HEADER);
    header.set(key::VERSION, RECORD_VERSION);
    header.set(key::SESSION_ID, sessionId);
    header.set(key::ROOT_NODE_KEY, rootNodeKey);
    header.set(key::TITLE, title);
    header.set(key::DESCRIPTION, description);
    header.set(key::FRAME, _index->nextFrame(sessionId, title));
    header.set(key::FILE_POS, hexPosition(recordPos));
    header.set(key::LENGTH, hexPosition(length));
    header.set(key::BINARY_DATA, hexPosition(binaryData));
    writeTag(header);
    return header;
}

void SDBWriter::writeClassVersions()
{
    ClassVersions versions;
    for (const Node* node : _nodes)
    {
        node->addClassVersion(versions);
    }
    Properties tag;
    tag.set(key::DATA_FIELD, field::CLASS_VERSIONS);
    tag.set(key::VERSIONS, versions.getVersions());
    writeTag(tag);
}

// Each pass clears the other's flag when it starts: an exception has left its flag set.
void SDBWriter::writePropertyTags()
{
    _binaryPass = false;
    _propertyPass = true;
    for (const Node* node : _nodes)
    {
        node->serialize(*this);
    }
    _propertyPass = false;
}

void SDBWriter::writeBinaryData()
{
    _propertyPass = false;
    _binaryPass = true;
    for (const Node* node : _nodes)
    {
        node->serialize(*this);
    }
    _binaryPass = false;
}

bool SDBWriter::write(const std::string& objectKey, Properties&& properties)
{
    if (_propertyPass && isAdding())
    {
        Properties tag;
        tag.set(key::DATA_FIELD, field::NODE);
        tag.set(key::OBJECT_KEY, objectKey);
        tag.set(key::PROPERTIES, std::move(properties));
        writeTag(tag);
    }
    return true;
}

void SDBWriter::collectDataArrays()
{
    for (const Node* node : _nodes)
    {
        addArrayNames(*node, _arrayNames);
    }
}

io::FileIoStatus SDBWriter::addThumbnail(int recordIndex, const Bitmap<3>& bitmap)
{
    if (!canBeginAddition())
    {
        return io::FileIoStatus::NotOpen;
    }
    Addition addition(*this);
    writeThumbnail(recordIndex, bitmap);
    if (addition.secured())
    {
        addition.complete();
    }
    return io::FileIoStatus::Success;
}

void SDBWriter::writeThumbnail(int recordIndex, const Bitmap<3>& bitmap)
{
    if (!_fileStream)
    {
        return;
    }
    Properties tag;
    tag.set(key::DATA_FIELD, field::THUMBNAIL);
    tag.set(key::RECORD_INDEX, recordIndex);
    tag.set(key::WIDTH, bitmap.getWidth());
    tag.set(key::HEIGHT, bitmap.getHeight());
    sdb::detail::PendingTag pending(tagStream(), std::move(tag), _synchronised ? sdb::detail::FAR_BEYOND : 0);
    secureFile();
    _fileStream->write(reinterpret_cast<const char*>(bitmap.getData()), static_cast<std::streamsize>(bitmap.getSize()));
    pending.prepare();
    secureFile();
    pending.commit();
}

} // namespace tsg
