#include "ImportTarget.h"

#include "Failure.h"
#include "SceneFile.h"
#include "Text.h"

#include "core/Error.h"
#include "platform/Platform.h"

#include <array>
#include <cerrno>
#include <cstddef>
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

} // namespace

void openForAdding(tsg::SDBWriter& writer, const std::string& path, bool compress)
{
    constexpr const char* HINT = "`tavosce info` shows what can be read";
    const SceneFile file(path); // refuses foreign and newer files with a reason
    try
    {
        errno = 0;
        if (writer.open(OS::toWide(path), true, compress) == FileIoStatus::Success)
        {
            return;
        }
    }
    catch (const InternalError& error)
    {
        throw Failure(TooDamaged, shown(path), "cannot be added to: " + shown(error.message()), HINT);
    }
    if (!file.canBeAddedTo())
    {
        throw Failure(TooDamaged, shown(path), "cannot be added to: what is added behind the damage could not be read",
                      HINT);
    }
    throw cannotWrite(shown(path), systemReason());
}

ImportTarget::ImportTarget(const ImportTargetOptions& options)
    : _shown(shown(options.path))
    , _session(options.session.empty() ? newSession() : options.session)
    , _path(OS::toWide(options.path))
    , _compress(!options.noCompress)
{
    errno = 0;
    if (options.append && Platform::filesystem().fileExists(OS::toWide(options.path)))
    {
        openExisting(options);
    }
    else
    {
        openNew(options);
    }
}

void ImportTarget::openExisting(const ImportTargetOptions& options)
{
    openForAdding(_writer, options.path, _compress);
    _takenStamps = storedStamps(options.path, _session);
}

void ImportTarget::openNew(const ImportTargetOptions& options)
{
    _newFile.emplace(options.path, options.force);
    _path = _newFile->path();
    errno = 0;
    if (_writer.open(_path, false, _compress) != FileIoStatus::Success)
    {
        throw cannotWrite(_shown, systemReason());
    }
}

void ImportTarget::addRecord(const std::string& title, const std::string& description, ImportGraph& graph)
{
    add(_writer, title, description, graph.graph());
}

// A writer repeats the nodes that it has seen, so that a scene with nodes of its own needs a writer of its own.
void ImportTarget::addScene(const std::string& title, const std::string& description, tsg::SceneGraph& graph)
{
    _writer.close();
    tsg::SDBWriter writer;
    reopen(writer);
    add(writer, title, description, graph);
    writer.close();
    reopen(_writer);
}

void ImportTarget::reopen(tsg::SDBWriter& writer) const
{
    errno = 0;
    if (writer.open(_path, true, _compress) != FileIoStatus::Success)
    {
        throw cannotWrite(_shown, systemReason());
    }
}

void ImportTarget::add(tsg::SDBWriter& writer, const std::string& title, const std::string& description,
                       tsg::SceneGraph& graph)
{
    avoidStamps(graph, _takenStamps);
    int index = -1;
    bool added = false;
    errno = 0;
    try
    {
        added = writer.addRecord(title, description, _session, *graph.root(), index) == FileIoStatus::Success;
    }
    catch (const InternalError&)
    {
        if (!writer.hasFailed()) // a polydata that finds no room is one of its reasons
        {
            throw;
        }
    }
    if (!added || writer.hasFailed())
    {
        throw cannotWrite(_shown, systemReason());
    }
    _records.push_back(index);
}

void ImportTarget::finish()
{
    _writer.close();
    if (_newFile)
    {
        _newFile->install();
    }
}

} // namespace tavosce
