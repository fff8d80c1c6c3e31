#include "platform/Folder.h"

#include "platform/FileSystem.h"
#include "platform/detail/Posix.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OS
{

namespace
{

constexpr mode_t PRIVATE = 0700;
constexpr mode_t ALL_FOR_ALL = 0777;

int openFolder(const std::wstring& path)
{
    const auto name = posix::systemPath(path);
    return name ? posix::openFolder(AT_FDCWD, *name) : -1;
}

std::wstring pathTo(int descriptor, const std::wstring& otherwise)
{
    const std::string path = posix::pathOf(descriptor);
    return path.empty() ? otherwise : toWide(path);
}

} // namespace

Folder::Folder(const std::wstring& path)
    : Folder(openFolder(path), path)
{
}

Folder::Folder(int descriptor, const std::wstring& path)
    : _descriptor(descriptor)
    , _path(descriptor == -1 ? std::wstring() : pathTo(descriptor, path))
{
}

Folder::~Folder()
{
    close();
}

void Folder::close()
{
    if (isOpen())
    {
        posix::closeQuietly(std::exchange(_descriptor, -1));
        _path.clear();
    }
}

Folder::Folder(Folder&& other) noexcept
    : _descriptor(std::exchange(other._descriptor, -1))
    , _path(std::move(other._path))
{
}

Folder& Folder::operator=(Folder&& other) noexcept
{
    std::swap(_descriptor, other._descriptor);
    std::swap(_path, other._path);
    return *this;
}

Folder Folder::inner(const std::string& name) const
{
    const int descriptor = posix::openFolder(_descriptor, name, O_NOFOLLOW);
    struct stat status = {};
    if (descriptor == -1 && errno == ENOTDIR && fstatat(_descriptor, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISLNK(status.st_mode))
    {
        errno = ELOOP;
    }
    return {descriptor, _path + L'/' + toWide(name)};
}

bool Folder::makeInner(const std::string& name) const
{
    return mkdirat(_descriptor, name.c_str(), ALL_FOR_ALL) == 0 || errno == EEXIST;
}

bool Folder::moveFile(const std::string& name, const Folder& to) const
{
    struct stat replaced = {};
    if (fstatat(to._descriptor, name.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISLNK(replaced.st_mode))
    {
        if (!posix::checkRegular(replaced.st_mode))
        {
            return false;
        }
        const int moved = openat(_descriptor, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (moved == -1)
        {
            return false;
        }
        const bool isAlike = posix::takeOver(moved, replaced);
        posix::closeQuietly(moved);
        if (!isAlike)
        {
            return false;
        }
    }
    return renameat(_descriptor, name.c_str(), to._descriptor, name.c_str()) == 0;
}

bool Folder::removeFile(const std::string& name) const
{
    return unlinkat(_descriptor, name.c_str(), 0) == 0;
}

bool Folder::synchronise() const
{
    return posix::synchroniseFolder(_descriptor);
}

NewFolder::NewFolder(const std::wstring& path)
    : _path(path)
    , _folder(-1, {})
{
    if (const auto name = posix::systemPath(path))
    {
        _name = name->substr(name->rfind('/') + 1);
        _temporary = posix::temporaryName(_name);
        _temporaryPath = toWide(name->substr(0, name->size() - _name.size()) + _temporary);
    }
}

NewFolder::~NewFolder()
{
    if (_parent != -1)
    {
        posix::closeQuietly(_parent);
    }
}

bool NewFolder::make()
{
    const auto name = posix::systemPath(_path);
    _parent = name ? posix::openFolderOf(*name).first : -1;
    if (_parent == -1 || mkdirat(_parent, _temporary.c_str(), PRIVATE) != 0)
    {
        return false;
    }
    _folder = Folder(posix::openFolder(_parent, _temporary, O_NOFOLLOW), _temporaryPath);
    struct stat status = {};
    if (_folder.isOpen() && fstat(_folder._descriptor, &status) == 0 && status.st_uid != geteuid())
    {
        errno = EEXIST; // somebody else has put it in the place of ours
        _folder = Folder(-1, {});
    }
    return _folder.isOpen();
}

bool NewFolder::install()
{
    if (!_folder.isOpen() || fchmod(_folder._descriptor, posix::withoutMask(ALL_FOR_ALL)) != 0)
    {
        return false;
    }
    const char *const from = _temporary.c_str(), *const to = _name.c_str();
    if (renameat2(_parent, from, _parent, to, RENAME_NOREPLACE) == 0)
    {
        return true;
    }
    // Not every file system knows that; the other way replaces nothing but an empty folder.
    return (errno == EINVAL || errno == ENOSYS) && renameat(_parent, from, _parent, to) == 0;
}

} // namespace OS
