#include "platform/NewFile.h"

#include "platform/FileSystem.h"
#include "platform/detail/Posix.h"

#include <cerrno>
#include <cstdio>
#include <tuple>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OS
{

namespace
{

constexpr mode_t PRIVATE = 0600;

} // namespace

NewFile::NewFile(const std::wstring& path)
{
    const auto name = posix::systemPath(path);
    if (!name)
    {
        return;
    }
    const std::string target = posix::followLinks(*name);
    _parent = target.substr(0, target.rfind('/') + 1);
    std::tie(_folder, _name) = posix::openFolderOf(target);
    if (_folder != -1 && isFreeOrRegular() && (openUnnamed() || openNamed()))
    {
        const std::string leading = posix::pathOf(_descriptor);
        _path = leading.empty() ? temporaryPath() : toWide(leading);
    }
}

NewFile::~NewFile()
{
    if (!_temporary.empty())
    {
        unlinkat(_folder, _temporary.c_str(), 0);
    }
    for (const int descriptor : {_descriptor, _folder})
    {
        if (descriptor != -1)
        {
            posix::closeQuietly(descriptor);
        }
    }
}

std::wstring NewFile::temporaryPath() const
{
    return _temporary.empty() ? std::wstring() : toWide(_parent + _temporary);
}

/// True if there is nothing at the name, or a regular file.
bool NewFile::isFreeOrRegular() const
{
    struct stat present = {};
    return fstatat(_folder, _name.c_str(), &present, AT_SYMLINK_NOFOLLOW) != 0 ? errno == ENOENT
                                                                               : posix::checkRegular(present.st_mode);
}

bool NewFile::openUnnamed()
{
    const int descriptor = openat(_folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, posix::READ_WRITE_FOR_ALL);
    if (descriptor != -1 && posix::pathOf(descriptor).empty())
    {
        posix::closeQuietly(descriptor); // it could never be given a name
        return false;
    }
    _descriptor = descriptor;
    return isOpen();
}

/// Only the way of the file system to say that it knows no files without a name leads here, or a failure that comes
/// again.
bool NewFile::openNamed()
{
    std::string temporary;
    do
    {
        temporary = posix::temporaryName(_name);
        _descriptor = openat(_folder, temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, PRIVATE);
    } while (!isOpen() && errno == EEXIST);
    if (isOpen())
    {
        _temporary = temporary;
    }
    return isOpen();
}

bool NewFile::install()
{
    if (!isOpen() || (!_temporary.empty() && fchmod(_descriptor, posix::withoutMask(posix::READ_WRITE_FOR_ALL)) != 0))
    {
        return false;
    }
    _installed = giveName(_name);
    return _installed;
}

/// Gives the file a name that nothing has.
bool NewFile::giveName(const std::string& name)
{
    if (_temporary.empty())
    {
        return linkat(AT_FDCWD, toNarrow(_path).c_str(), _folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    }
    // Not every file system knows a rename that replaces nothing; a second link does the same.
    if (renameat2(_folder, _temporary.c_str(), _folder, name.c_str(), RENAME_NOREPLACE) == 0)
    {
        _temporary.clear();
        return true;
    }
    return (errno == EINVAL || errno == ENOSYS) && linkat(_folder, _temporary.c_str(), _folder, name.c_str(), 0) == 0;
}

bool NewFile::replace()
{
    struct stat replaced = {};
    if (!isOpen())
    {
        return false;
    }
    if (fstatat(_folder, _name.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) != 0)
    {
        return errno == ENOENT && install();
    }
    if (!posix::checkRegular(replaced.st_mode))
    {
        return false;
    }
    if (!posix::takeOver(_descriptor, replaced))
    {
        return false;
    }
    const posix::BlockedSignals blocked; // for a moment there is one name too many
    _installed = takeTemporaryName() && exchange(replaced.st_ino);
    return _installed;
}

bool NewFile::takeTemporaryName()
{
    while (_temporary.empty())
    {
        const std::string temporary = posix::temporaryName(_name);
        if (giveName(temporary))
        {
            _temporary = temporary;
        }
        else if (errno != EEXIST)
        {
            return false;
        }
    }
    return true;
}

/// Exchanges the temporary name with that of the file that has the number `replaced`, and removes that.
bool NewFile::exchange(std::uint64_t replaced)
{
    const auto swap = [this](unsigned how)
    { return renameat2(_folder, _temporary.c_str(), _folder, _name.c_str(), how) == 0; };
    struct stat moved = {};
    if (!swap(RENAME_EXCHANGE))
    {
        if ((errno != EINVAL && errno != ENOSYS) || !swap(0))
        {
            return false;
        }
        _temporary.clear();
        return true;
    }
    if (fstatat(_folder, _temporary.c_str(), &moved, AT_SYMLINK_NOFOLLOW) == 0 && moved.st_ino != replaced)
    {
        (void)swap(RENAME_EXCHANGE); // somebody else's, which nobody has asked to replace
        errno = EBUSY;
        return false;
    }
    if (unlinkat(_folder, _temporary.c_str(), 0) == 0)
    {
        _temporary.clear(); // otherwise it is tried once more
    }
    return true;
}

bool NewFile::synchronise() const
{
    return fsync(_descriptor) == 0;
}

bool NewFile::synchroniseName() const
{
    return _installed && posix::synchroniseFolder(_folder);
}

} // namespace OS
