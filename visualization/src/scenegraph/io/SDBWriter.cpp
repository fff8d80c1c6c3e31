// The life cycle of a writer: opening, creating and replacing files, closing, finding and moving the write position.

#include "scenegraph/io/SDBWriter.h"

#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/io/detail/AppendStream.h"
#include "scenegraph/io/detail/FileIndex.h"
#include "scenegraph/io/detail/Index.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/PendingTag.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/WriteProgress.h"
#include "scenegraph/io/detail/WriterFile.h"
#include "scenegraph/io/detail/WrittenFiles.h"

#include <cerrno>
#include <iostream>
#include <memory>
#include <utility>

#include <vtkFloatArray.h>

namespace tsg
{

namespace key = sdb::detail::key;

SDBWriter::SDBWriter()
    : _index(std::make_shared<sdb::detail::FileIndex>())
    , _floatScratch(vtkSmartPointer<vtkFloatArray>::New())
    , _progress(std::make_shared<sdb::detail::WriteProgress>())
{
}

SDBWriter::SDBWriter(const SDBWriter&) = default;
SDBWriter& SDBWriter::operator=(const SDBWriter&) = default;

// The file closes with the last writer that shares it.
SDBWriter::~SDBWriter()
{
    if (_fileStream.use_count() == 1)
    {
        rememberFile();
    }
}

const std::string& SDBWriter::getExt()
{
    static const std::string EXTENSION = "sce";
    return EXTENSION;
}

io::FileIoStatus SDBWriter::open(const std::wstring& path, bool append, bool compress)
{
    const std::wstring normalised = Platform::filesystem().getFilePath(path);
    _compress = compress;
    const bool isSameFile = _fileStream && _fileStream->isAt(normalised);
    const auto stream = sdb::detail::openWriterFile(normalised, {append, _synchronised, _fileStream.get()});
    if (!stream)
    {
        return refuseFile(normalised, append);
    }
    _fileName = normalised;
    std::istream in(stream->rdbuf());
    in.seekg(0);
    if (!sdb::checkFormat(in, std::cerr))
    {
        return io::FileIoStatus::WrongFormat;
    }
    const auto known = stream->state() ? sdb::detail::recallWritten(*stream->state()) : sdb::detail::KnownBlocks();
    std::uint64_t nextItem = 0;
    if (!indexRecords(in, known, nextItem))
    {
        return io::FileIoStatus::OpenFailed;
    }
    _failed = false;
    stream->start(nextItem);
    if (isSameFile && !isAdding())
    {
        _fileStream->close(); // copies of this writer would not notice what is added from now on
    }
    _fileStream = stream;
    if (!isOpen() || _fileStream->fail())
    {
        _fileStream.reset();
        return io::FileIoStatus::OpenFailed;
    }
    return io::FileIoStatus::Success;
}

/// A file that cannot be opened: because another writer has it, or, as long as what is to be added to can be read,
/// because it is foreign, or else for the reason in `errno`. The writer is closed.
io::FileIoStatus SDBWriter::refuseFile(const std::wstring& path, bool append)
{
    const int reason = errno;
    _fileStream.reset();
    if (reason == EWOULDBLOCK)
    {
        std::cerr << "SDBWriter: another process is writing to " << OS::toNarrow(path) << '\n';
        errno = reason;
        return io::FileIoStatus::OpenFailed;
    }
    if (!append && Platform::filesystem().fileExists(path))
    {
        errno = reason;
        return io::FileIoStatus::OpenFailed; // it could not be replaced
    }
    _fileName = path;
    const auto in = OS::openForReading(path);
    std::uint64_t nextItem = 0;
    if (in->is_open() && !sdb::checkFormat(*in, std::cerr))
    {
        return io::FileIoStatus::WrongFormat;
    }
    if (in->is_open())
    {
        (void)indexRecords(*in, {}, nextItem); // for the lists alone
    }
    errno = reason;
    return io::FileIoStatus::OpenFailed;
}

/// Indexes the file and finds out where the next item starts. False, with a line on standard error, if what would be
/// added could not be found again; the writer's own index is replaced only on success.
bool SDBWriter::indexRecords(std::istream& in, const sdb::detail::KnownBlocks& known, std::uint64_t& nextItem)
{
    using sdb::detail::WalkEnd;
    const auto index = std::make_shared<sdb::detail::FileIndex>();
    const std::uint64_t mostBlocks = sdb::detail::storedBlocks(sdb::detail::streamSize(in).value_or(0));
    const auto registerBlock = [&](unsigned int checksum, const Properties& tag)
    {
        if (index->blockCount() < mostBlocks)
        {
            const auto place = known.find(checksum);
            const bool isKnown = place != known.end() && place->second == sdb::hexFromProp(tag, key::FILE_POS);
            index->registerBinaries(checksum, {tag, static_cast<unsigned long long>(tag.getLong(key::MTIME)), isKnown});
            index->keepBinaries(); // what the file holds is never taken back, and tags may come up many times
        }
    };
    const sdb::detail::WalkResult walk = sdb::detail::indexRecords(
        in, [&](const Properties& header) { index->registerRecord(header); }, registerBlock, [](const Properties&) {});
    if (walk.end != WalkEnd::EndOfFile && walk.end != WalkEnd::UnfinishedItem)
    {
        std::cerr << "SDBWriter: can't append to " << OS::toNarrow(_fileName) << ": the file is damaged at byte "
                  << std::to_string(walk.position) << ", and what is added behind that could not be found again\n";
        return false;
    }
    nextItem = walk.position;
    _index = index;
    return true;
}

/// What this process knows of the file as it leaves it.
void SDBWriter::rememberFile()
{
    const auto state = _fileStream && _fileStream->is_open() ? _fileStream->state() : std::nullopt;
    if (state)
    {
        sdb::detail::rememberWritten(*state, _index->knownBlocks());
    }
}

void SDBWriter::close()
{
    rememberFile();
    if (_fileStream)
    {
        _fileStream->close();
        _fileStream.reset();
    }
    _index = std::make_shared<sdb::detail::FileIndex>();
}

bool SDBWriter::rollBack()
{
    const auto stream = _fileStream;
    const bool done = isOpen() && stream->abandonAll();
    close();
    return done;
}

void SDBWriter::forgetNodes()
{
    _nodes.clear();
    _arrayNames.clear();
}

void SDBWriter::attach(Observer& observer)
{
    _progress->subject().attach(observer);
}

void SDBWriter::detach(Observer& observer)
{
    _progress->subject().detach(observer);
}

void SDBWriter::setStopCheck(std::function<void()> check)
{
    _progress->setStopCheck(std::move(check));
}

bool SDBWriter::isOpen() const
{
    return _fileStream && _fileStream->is_open();
}

/// True if an addition is under way. A node that opens another file in the middle of one writes nothing there: what
/// is no addition could not be found again.
bool SDBWriter::isAdding() const
{
    return _fileStream && _fileStream->isInItem();
}

void SDBWriter::flushFileStream()
{
    if (_fileStream)
    {
        _fileStream->flush();
    }
}

void SDBWriter::moveFileStreamTo(std::streampos position)
{
    if (_fileStream)
    {
        _fileStream->seekp(position);
    }
}

/// The open file as tags are written to it: through the steps that a derived writer may replace.
sdb::detail::TagStream SDBWriter::tagStream()
{
    const auto position = [this] { return static_cast<std::uint64_t>(std::streamoff(getStreamPosition())); };
    const auto moveTo = [this](std::uint64_t to) { moveFileStreamTo(static_cast<std::streamoff>(to)); };
    return {*_fileStream, position, moveTo};
}

/// The write position after a flush: -1 while the stream is failing, 0 without one.
std::streampos SDBWriter::getStreamPosition()
{
    flushFileStream();
    return _fileStream ? _fileStream->tellp() : std::streampos(0);
}

} // namespace tsg

tsg::ISDBWriter* NewSBDWriter()
{
    try
    {
        return new tsg::SDBWriter;
    }
    catch (...)
    {
        return nullptr;
    }
}

void DeleteSBDWriter(tsg::ISDBWriter* writer)
{
    delete writer;
}
