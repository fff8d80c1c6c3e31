// The life cycle of a writer: opening, creating and replacing files, closing, finding and moving the write position.

#include "scenegraph/io/SDBWriter.h"

#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/io/detail/AppendStream.h"
#include "scenegraph/io/detail/FileIndex.h"
#include "scenegraph/io/detail/Index.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/NewFile.h"
#include "scenegraph/io/detail/TagKeys.h"

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
{
}

SDBWriter::SDBWriter(const SDBWriter&) = default;
SDBWriter& SDBWriter::operator=(const SDBWriter&) = default;
SDBWriter::~SDBWriter() = default; // the file closes with the last writer that shares it

const std::string& SDBWriter::getExt()
{
    static const std::string EXTENSION = "sce";
    return EXTENSION;
}

io::FileIoStatus SDBWriter::open(const std::wstring& path, bool append, bool compress)
{
    OS::FileSystem& files = Platform::filesystem();
    const std::wstring normalised = files.getFilePath(path);
    _compress = compress;
    const bool exists = files.fileExists(normalised);
    if (!append && exists && !sdb::detail::replaceByNewFile(normalised))
    {
        return io::FileIoStatus::OpenFailed;
    }
    if (!exists)
    {
        (void)sdb::detail::createNewFile(normalised); // a failure shows when the file is opened
    }
    _fileName = normalised;
    const auto in = OS::openForReading(normalised);
    if (!in->is_open())
    {
        _fileStream.reset();
        return io::FileIoStatus::OpenFailed;
    }
    if (!sdb::checkFormat(*in, std::cerr))
    {
        return io::FileIoStatus::WrongFormat;
    }
    std::uint64_t nextItem = 0;
    if (!indexRecords(*in, nextItem))
    {
        return io::FileIoStatus::OpenFailed;
    }
    in->close();
    _failed = false;
    _fileStream = std::make_shared<sdb::detail::AppendStream>(normalised, nextItem);
    if (!_fileStream->is_open() || _fileStream->fail())
    {
        _fileStream.reset();
        return io::FileIoStatus::OpenFailed;
    }
    return io::FileIoStatus::Success;
}

/// Indexes the file and finds out where the next item starts. False, with a line on standard error, if what would be
/// added could not be found again; the writer's own index is replaced only on success.
bool SDBWriter::indexRecords(std::istream& in, std::uint64_t& nextItem)
{
    using sdb::detail::WalkEnd;
    const auto index = std::make_shared<sdb::detail::FileIndex>();
    const std::uint64_t mostBlocks = sdb::detail::storedBlocks(sdb::detail::streamSize(in));
    const auto registerBlock = [&](unsigned int checksum, const Properties& tag)
    {
        if (index->blockCount() < mostBlocks)
        {
            index->registerBinaries(checksum, tag, static_cast<unsigned long long>(tag.getLong(key::MTIME)));
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

void SDBWriter::close()
{
    if (_fileStream)
    {
        _fileStream->close();
        _fileStream.reset();
    }
    _index = std::make_shared<sdb::detail::FileIndex>();
}

bool SDBWriter::isOpen() const
{
    return _fileStream && _fileStream->is_open();
}

/// Whether an addition is under way. A node that opens another file in the middle of one writes nothing there: what
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
