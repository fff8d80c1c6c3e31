#include "OutputFile.h"

#include "Failure.h"
#include "Text.h"

#include "platform/Platform.h"

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <list>
#include <map>
#include <sstream>
#include <system_error>

namespace tavosce
{

namespace
{

namespace fs = std::filesystem;

Failure exists(const std::string& place)
{
    return {CannotWrite, place, "exists already", "--force replaces it"};
}

/// The target in normal form; of a link what it leads to, as that is to be replaced and not the link.
std::wstring normalised(const std::string& target)
{
    errno = 0;
    std::wstring res = Platform::filesystem().getFilePath(OS::toWide(target));
    if (res.empty())
    {
        throw cannotWrite(shown(target), systemReason());
    }
    std::error_code noTarget; // which the system says again when it is written
    const fs::path file = fs::canonical(OS::toNarrow(res), noTarget);
    return noTarget ? res : OS::toWide(file.string());
}

bool isEmptyFolder(const std::string& path)
{
    std::error_code error;
    return fs::is_empty(path, error) && !error;
}

} // namespace

OutputFile::OutputFile(const std::string& target, bool force)
    : _shown(shown(target))
    , _target(normalised(target))
    , _force(force)
    , _file(_target)
{
    const int reason = errno;
    std::error_code error;
    const fs::file_status status = fs::status(OS::toNarrow(_target), error);
    if (fs::exists(status) && !fs::is_regular_file(status))
    {
        throw cannotWrite(_shown, fs::is_directory(status) ? "it is a directory" : "it is no regular file");
    }
    if (fs::exists(status) && !force)
    {
        throw exists(_shown);
    }
    if (!_file.isOpen())
    {
        errno = reason;
        throw cannotWrite(_shown, systemReason());
    }
    if (const std::wstring temporary = _file.temporaryPath(); !temporary.empty())
    {
        _halfMade.emplace(temporary);
    }
    if (fs::exists(status))
    {
        lockReplaced();
    }
}

/// Whoever may not write to a file may still replace it.
void OutputFile::lockReplaced()
{
    _replaced.emplace(_target);
    const bool isLocked =
        _replaced->is_open() ? _replaced->lock() == OS::LockResult::LockedByOther : OS::isLocked(_target);
    if (isLocked)
    {
        throw beingWritten(_shown);
    }
}

void OutputFile::install()
{
    errno = 0;
    if (!_file.synchronise())
    {
        throw cannotWrite(_shown, systemReason());
    }
    if (_force && (!_replaced || !_replaced->isAt(_target)) && Platform::filesystem().fileExists(_target))
    {
        lockReplaced(); // somebody has made or exchanged it since
    }
    stopOrCommit();
    if (!(_force ? _file.replace() : _file.install()) || !_file.synchroniseName())
    {
        throw cannotWrite(_shown, systemReason());
    }
}

OutputFolder::OutputFolder(const std::string& target, bool force)
    : _shown(shown(target))
    , _target(OS::toNarrow(normalised(target)))
    , _new(OS::toWide(_target))
    , _halfMade(_new.temporaryPath())
{
    std::error_code error;
    if (Platform::filesystem().directoryExists(OS::toWide(_target)))
    {
        _replaced.emplace(OS::toWide(_target));
        if (!_replaced->isOpen())
        {
            throw cannotWrite(_shown, systemReason());
        }
    }
    else if (fs::exists(_target, error))
    {
        throw cannotWrite(_shown, "it is no directory");
    }
    if (_replaced && !force && !isEmptyFolder(OS::toNarrow(_replaced->path())))
    {
        throw Failure(CannotWrite, _shown, "the directory is not empty",
                      "--force replaces the files in it that have the same names");
    }
    errno = 0;
    if (!_new.make())
    {
        throw cannotWrite(_shown, systemReason());
    }
    _path = OS::toNarrow(_new.folder().path());
    _folders.insert("");
}

std::string OutputFolder::fileFor(const std::string& name)
{
    const std::size_t slash = name.find('/');
    if (slash != std::string::npos)
    {
        folderFor(name.substr(0, slash));
    }
    _files.push_back(name);
    return _path + '/' + name;
}

std::string OutputFolder::folderFor(const std::string& name)
{
    errno = 0;
    if (_folders.insert(name).second && !Platform::filesystem().createDirectory(OS::toWide(_path + '/' + name)))
    {
        throw cannotWrite(_shown, systemReason());
    }
    return name.empty() ? _path : _path + '/' + name;
}

void OutputFolder::adopt(const std::string& name, IsEarlier isEarlier)
{
    const std::string outer = name.empty() ? "" : name + '/';
    std::vector<std::string> folders{outer};
    for (std::size_t i = 0; i < folders.size(); ++i)
    {
        const std::string folder = folders[i]; // the list grows
        std::list<std::wstring> inner, files;
        (void)Platform::filesystem().listDirectory(inner, files, OS::toWide(_path + '/' + folder));
        for (const std::wstring& entry : inner)
        {
            const std::string found = folder + OS::toNarrow(entry);
            _folders.insert(found);
            _adopted.push_back({found, isEarlier});
            folders.push_back(found + '/');
        }
        for (const std::wstring& entry : files)
        {
            _files.push_back(folder + OS::toNarrow(entry));
        }
    }
}

void OutputFolder::install(const std::string& input)
{
    synchronise(_path, _files);
    synchronise(_path, _folders);
    stopOrCommit();
    if (_replaced)
    {
        moveFiles(input);
        removeEarlier();
        synchronise(OS::toNarrow(_replaced->path()), _folders);
        return;
    }
    errno = 0;
    if (!_new.install())
    {
        throw cannotWrite(_shown, systemReason());
    }
    synchronise(_target, std::set<std::string>{".."});
}

/// Waits until the device has what is below a root.
template <class Names>
void OutputFolder::synchronise(const std::string& root, const Names& names)
{
    errno = 0;
    for (const std::string& name : names)
    {
        std::string path = root;
        path.append("/").append(name);
        if (!OS::synchronise(OS::toWide(path)))
        {
            throw cannotWrite(_shown, systemReason());
        }
    }
}

void OutputFolder::moveFiles(const std::string& input)
{
    const std::string target = OS::toNarrow(_replaced->path()) + '/';
    for (const std::string& name : _files)
    {
        if (isSameFile(target + name, input))
        {
            throw cannotWrite(_shown, shown(name) + " is the input");
        }
    }
    for (const std::string& folder : _folders)
    {
        makeReplaced(folder);
    }
    std::map<std::string, std::vector<std::string>> byFolder;
    for (const std::string& name : _files)
    {
        const std::size_t inner = name.rfind('/') + 1; // 0 in the folder itself
        byFolder[name.substr(0, inner)].push_back(name.substr(inner));
    }
    for (const auto& [folder, names] : byFolder)
    {
        const OS::Folder from = reach(_new.folder(), folder), to = reach(*_replaced, folder);
        for (const std::string& name : names)
        {
            if (!from.moveFile(name, to))
            {
                throw cannotWrite(_shown, shown(folder + name) + ": " + systemReason());
            }
        }
    }
}

/// Makes a folder in what is at the target; one that is there already may stay.
void OutputFolder::makeReplaced(const std::string& path)
{
    errno = 0;
    const std::size_t name = path.rfind('/') + 1;
    if (!path.empty() && !reach(*_replaced, path.substr(0, name)).makeInner(path.substr(name)))
    {
        throw cannotWrite(_shown, shown(path) + ": " + systemReason());
    }
    (void)reach(*_replaced, path);
}

void OutputFolder::removeEarlier()
{
    const std::set<std::string> kept(_files.begin(), _files.end());
    for (const auto& [name, isEarlier] : _adopted)
    {
        const OS::Folder folder = reach(*_replaced, name);
        std::list<std::wstring> inner, present;
        (void)Platform::filesystem().listDirectory(inner, present, folder.path());
        for (const std::wstring& wide : present)
        {
            const std::string entry = OS::toNarrow(wide), path = std::string(name).append(1, '/').append(entry);
            if (kept.count(path) == 0 && isEarlier(OS::toNarrow(folder.path()), entry) && !folder.removeFile(entry))
            {
                throw cannotWrite(_shown, shown(path) + " of an earlier scene cannot be removed: " + systemReason());
            }
        }
    }
}

/// A folder below another one, to which no link leads.
OS::Folder OutputFolder::reach(const OS::Folder& root, const std::string& path) const
{
    OS::Folder res(root.path());
    std::istringstream names(path);
    for (std::string name; res.isOpen() && std::getline(names, name, '/');)
    {
        res = res.inner(name);
    }
    if (!res.isOpen())
    {
        throw cannotWrite(_shown, shown(path) + ": " + (errno == ELOOP ? "it is a link" : systemReason()));
    }
    return res;
}

bool isSameFile(const std::string& left, const std::string& right)
{
    std::error_code error;
    return fs::equivalent(left, right, error) && !error;
}

} // namespace tavosce
