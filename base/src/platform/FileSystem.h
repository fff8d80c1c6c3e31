#pragma once

#include "core/Export.h"

#include <list>
#include <string>

namespace OS
{

/// Wide to narrow (UTF-8) path text and back. Lossless for any POSIX name: bytes that are no UTF-8 map to
/// U+DC80..U+DCFF and back. Nothing is thrown.
TAVO_EXPORT std::string toNarrow(const std::wstring& text);
TAVO_EXPORT std::wstring toWide(const std::string& text);

/// The file operations of the application. Paths are wide; a path with an embedded NUL names nothing and every
/// operation on it fails. Nothing is thrown for I/O failures; `errno` tells the reason after a failure.
class TAVO_EXPORT FileSystem
{
public:
    virtual ~FileSystem();

    /// The path in normal form: absolute, without empty, "." and ".." parts. Links are followed as far as the last
    /// part, so that ".." leads where the system takes it; where nothing exists it is resolved in the text. An empty
    /// path stays empty, and so does one that cannot be made absolute.
    virtual std::wstring getFilePath(const std::wstring& path) = 0;

    /// True if a regular file (or a link to one) exists at the path: FIFOs, devices and directories do not count.
    virtual bool fileExists(const std::wstring& path) = 0;

    /// True if a directory exists at the path.
    virtual bool directoryExists(const std::wstring& path) = 0;

    /// Makes a directory, and those above it that are missing. True when it exists afterwards.
    virtual bool createDirectory(const std::wstring& path) = 0;

    /// Fills the lists with the names in a directory, without path and sorted by bytes: its sub-directories, and its
    /// regular files (links to either included; anything else is left out). False when the directory cannot be read.
    virtual bool listDirectory(std::list<std::wstring>& directories, std::list<std::wstring>& files,
                               const std::wstring& path) = 0;

    /// A sibling name of the path that no file has at the time of the call.
    virtual std::wstring getTemporaryPath(const std::wstring& path) = 0;

    /// Creates an empty regular file that must not exist yet. 0 on success.
    virtual int createExclusive(const std::wstring& path) = 0;

    /// Renames a file. An existing target is never replaced: that is a failure. 0 on success.
    virtual int renameFile(const std::wstring& from, const std::wstring& to) = 0;

    /// Renames a file over an existing target, at once and for every observer. 0 on success.
    virtual int replaceFile(const std::wstring& from, const std::wstring& to) = 0;

    /// Arranges that the file disappears once nobody holds it open. Only regular files; 0 on success.
    virtual int markForDeletion(const std::wstring& path) = 0;

    /// True if a file in a directory can have this name: it is not empty, leads nowhere else, and is not too long.
    virtual bool isFileName(const std::wstring& name) = 0;
};

} // namespace OS
