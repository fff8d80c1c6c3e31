#include "scenegraph/io/detail/WriterFile.h"

#include "platform/NewFile.h"
#include "platform/Platform.h"
#include "scenegraph/io/SDB.h"
#include "scenegraphcommon/Logger.h"

#include <cerrno>

namespace sdb::detail
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDBWriter";

LogSite noLocks(Logger::Warning, SOURCE, 98);

using Stream = std::shared_ptr<AppendStream>;

/// Locks an open file; false if another writer has it.
bool lock(AppendStream& stream, const std::wstring& path, const WriterFileOptions& options)
{
    if (options.mine != nullptr && stream.shareLock(*options.mine))
    {
        return true;
    }
    const OS::LockResult result = stream.lock();
    if (result == OS::LockResult::NoLocks)
    {
        noLocks.log("SDBWriter: " + OS::toNarrow(path) +
                    " cannot be locked; other writers have to be kept away from it");
    }
    if (result == OS::LockResult::LockedByOther)
    {
        errno = EWOULDBLOCK;
    }
    return result != OS::LockResult::LockedByOther;
}

/// A new file with its header, which is given its name by `name`.
Stream makeFile(const std::wstring& path, const WriterFileOptions& options, bool (OS::NewFile::*name)())
{
    OS::NewFile file(path);
    if (!file.isOpen())
    {
        return nullptr;
    }
    auto stream = std::make_shared<AppendStream>(file.path());
    writeHeader(*stream);
    const bool complete = stream->flushed() && lock(*stream, path, options);
    if (!complete || (options.synchronise && !file.synchronise()) || !(file.*name)())
    {
        return nullptr;
    }
    return options.synchronise && !file.synchroniseName() ? nullptr : stream;
}

/// An existing file, locked. Something else may have come to its path meanwhile.
Stream openExisting(const std::wstring& path, const WriterFileOptions& options)
{
    auto stream = std::make_shared<AppendStream>(path);
    if (!stream->is_open() || !lock(*stream, path, options))
    {
        return nullptr;
    }
    return stream;
}

/// Puts a new file in the place of an existing one, whose lock is held meanwhile. Whoever may not write to it can still
/// replace it, unless somebody else is writing.
Stream replaceExisting(const std::wstring& path, const WriterFileOptions& options, bool& changed)
{
    const Stream old = openExisting(path, options);
    changed = old != nullptr && !old->isAt(path);
    const bool isFree = old != nullptr || (errno == EACCES && !OS::isLocked(path));
    return isFree && !changed ? makeFile(path, options, &OS::NewFile::replace) : nullptr;
}

} // namespace

// Other writers may make, replace or remove the file at any moment: then it is looked at again.
std::shared_ptr<AppendStream> openWriterFile(const std::wstring& path, const WriterFileOptions& options)
{
    constexpr int MOST_TRIES = 100;
    for (int i = 0; i < MOST_TRIES; ++i)
    {
        Stream stream;
        bool changed = false;
        errno = 0;
        if (!Platform::filesystem().fileExists(path))
        {
            stream = makeFile(path, options, &OS::NewFile::install);
            changed = stream == nullptr && errno == EEXIST && Platform::filesystem().fileExists(path);
        }
        else if (options.append)
        {
            stream = openExisting(path, options);
            changed = stream != nullptr ? !stream->isAt(path) : errno == ENOENT;
        }
        else
        {
            stream = replaceExisting(path, options, changed);
        }
        if (!changed)
        {
            return stream;
        }
    }
    errno = EBUSY;
    return nullptr;
}

} // namespace sdb::detail
