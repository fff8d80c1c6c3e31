#include "ImportTarget.h"

#include "Failure.h"
#include "LibraryLog.h"
#include "SceneFile.h"
#include "Text.h"

#include "core/Error.h"
#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/io/SDB.h"

#include <cerrno>
#include <random>

namespace tavosce
{

namespace
{

using tsg::io::FileIoStatus;

/// A random UUID.
std::string newSession()
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::random_device random;
    std::uniform_int_distribution<int> digit(0, 15);
    std::string res = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
    for (char& c : res)
    {
        if (c == 'x' || c == 'y')
        {
            const int value = digit(random);
            c = DIGITS[c == 'x' ? value : (value & 3) | 8];
        }
    }
    return res;
}

/// Why a file that is a scene database could not be opened for adding.
Failure refusal(const SceneFile& file, int reason)
{
    if (reason == EWOULDBLOCK)
    {
        return beingWritten(shown(file.path()));
    }
    if (!file.canBeAddedTo())
    {
        return {TooDamaged, shown(file.path()), "cannot be added to: what is added behind the damage could not be read",
                "`tavosce info` shows what can be read"};
    }
    errno = reason;
    return cannotWrite(shown(file.path()), systemReason());
}

} // namespace

GrowingFile::GrowingFile(const std::string& path, bool compress)
{
    _writer.setSynchronised(true);
    _writer.setAllOrNothing(true);
    _writer.setStopCheck(&throwIfInterrupted);
    const SceneFile before(path); // refuses foreign and newer files with a reason
    try
    {
        const LibraryLog log; // the reason is told here
        errno = 0;
        if (_writer.open(OS::toWide(path), true, compress) != FileIoStatus::Success)
        {
            throw refusal(before, errno);
        }
    }
    catch (const InternalError& error)
    {
        throw Failure(TooDamaged, shown(path), "cannot be added to: " + shown(error.message()),
                      "`tavosce info` shows what can be read");
    }
    _cutBack.emplace(OS::toWide(path), SceneFile(path).nextItem()); // it may have grown until it was locked
}

GrowingFile::~GrowingFile()
{
    (void)_writer.rollBack(); // a writer that has failed has done so
}

void GrowingFile::finish()
{
    stopOrCommit();
    _cutBack.reset();
    _writer.close();
}

ImportTarget::ImportTarget(const ImportTargetOptions& options)
    : _shown(shown(options.path))
    , _session(options.session.empty() ? newSession() : options.session)
{
    if (options.append && Platform::filesystem().fileExists(OS::toWide(options.path)))
    {
        _existing.emplace(options.path, !options.noCompress);
    }
    else
    {
        openNew(options);
    }
}

void ImportTarget::openNew(const ImportTargetOptions& options)
{
    _newFile.emplace(options.path, options.force);
    _writer.setStopCheck(&throwIfInterrupted);
    errno = 0;
    const auto out = OS::openForWriting(_newFile->path(), OS::LineEnds::AsWritten);
    sdb::writeHeader(*out);
    out->close();
    if (!*out || _writer.open(_newFile->path(), true, !options.noCompress) != FileIoStatus::Success)
    {
        throw cannotWrite(_shown, systemReason());
    }
}

void ImportTarget::addRecord(const std::string& title, const std::string& description, ImportGraph& graph)
{
    add(title, description, graph.graph());
}

// A writer repeats the nodes that it has seen. Those of the other records come back with the next of these.
void ImportTarget::addScene(const std::string& title, const std::string& description, tsg::SceneGraph& graph)
{
    writer().forgetNodes();
    add(title, description, graph);
    writer().forgetNodes();
}

void ImportTarget::add(const std::string& title, const std::string& description, tsg::SceneGraph& graph)
{
    int index = -1;
    bool added = false;
    errno = 0;
    try
    {
        added = writer().addRecord(title, description, _session, *graph.root(), index) == FileIoStatus::Success;
    }
    catch (const InternalError&)
    {
        if (!writer().hasFailed()) // a polydata that finds no room is one of its reasons
        {
            throw;
        }
    }
    if (!added || writer().hasFailed())
    {
        throw cannotWrite(_shown, systemReason());
    }
    _records.push_back(index);
}

void ImportTarget::finish()
{
    if (_existing)
    {
        _existing->finish();
        return;
    }
    _writer.close();
    _newFile->install();
}

} // namespace tavosce
