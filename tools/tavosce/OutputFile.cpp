#include "OutputFile.h"

#include "Failure.h"
#include "Text.h"

#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <list>
#include <set>
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
    , _path(OS::toNarrow(Platform::filesystem().getTemporaryPath(OS::toWide(_target))))
    , _halfMade(OS::toWide(_path))
    , _targetExists(Platform::filesystem().directoryExists(OS::toWide(_target)))
{
    std::error_code error;
    if (!_targetExists && fs::exists(_target, error))
    {
        throw cannotWrite(_shown, "it is no directory");
    }
    if (_targetExists && !force && !isEmptyFolder(_target))
    {
        throw Failure(CannotWrite, _shown, "the directory is not empty",
                      "--force replaces the files in it that have the same names");
    }
    makeFolder("");
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
    if (std::find(_folders.begin(), _folders.end(), name) == _folders.end())
    {
        makeFolder(name);
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
            _folders.push_back(folder + OS::toNarrow(entry));
            _adopted.push_back({_folders.back(), isEarlier});
            folders.push_back(_folders.back() + '/');
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
    if (_targetExists)
    {
        moveFiles(input);
        synchronise(_target, _folders);
        return;
    }
    std::error_code error;
    fs::rename(_path, _target, error);
    if (error)
    {
        throw cannotWrite(_shown, error.message());
    }
    synchronise(_target, {".."});
}

/// Waits until the device has what is below a root.
void OutputFolder::synchronise(const std::string& root, const std::vector<std::string>& names)
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
    for (const std::string& name : _files)
    {
        if (isSameFile(_target + '/' + name, input))
        {
            throw cannotWrite(_shown, shown(name) + " is the input");
        }
    }
    OS::FileSystem& files = Platform::filesystem();
    errno = 0;
    for (const std::string& folder : _folders)
    {
        if (!files.createDirectory(OS::toWide(_target + '/' + folder)))
        {
            throw cannotWrite(_shown, shown(folder) + ": " + systemReason());
        }
    }
    for (const std::string& name : _files)
    {
        if (files.replaceFile(OS::toWide(_path + '/' + name), OS::toWide(_target + '/' + name)) != 0)
        {
            throw cannotWrite(_shown, shown(name) + ": " + systemReason());
        }
    }
    removeEarlier();
}

void OutputFolder::removeEarlier()
{
    OS::FileSystem& files = Platform::filesystem();
    const std::set<std::string> kept(_files.begin(), _files.end());
    for (const auto& [folder, isEarlier] : _adopted)
    {
        const std::string path = _target + '/' + folder;
        std::list<std::wstring> inner, present;
        (void)files.listDirectory(inner, present, OS::toWide(path));
        for (const std::wstring& entry : present)
        {
            const std::string name = folder + '/' + OS::toNarrow(entry);
            if (kept.count(name) == 0 && isEarlier(path, OS::toNarrow(entry)) &&
                files.markForDeletion(OS::toWide(_target + '/' + name)) != 0)
            {
                throw cannotWrite(_shown, shown(name) + " of an earlier scene cannot be removed: " + systemReason());
            }
        }
    }
}

void OutputFolder::makeFolder(const std::string& path)
{
    errno = 0;
    if (!Platform::filesystem().createDirectory(OS::toWide(_path + '/' + path)))
    {
        throw cannotWrite(_shown, systemReason());
    }
    _folders.push_back(path);
}

bool isSameFile(const std::string& left, const std::string& right)
{
    std::error_code error;
    return fs::equivalent(left, right, error) && !error;
}

} // namespace tavosce
