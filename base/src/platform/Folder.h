#pragma once

#include "core/Export.h"

#include <string>

namespace OS
{

/// An open folder. It stays the same one whatever happens to its name meanwhile, and nothing in it is reached through a
/// link. Names are those of direct members.
///
/// A failure is an answer; `errno` tells the reason.
class TAVO_EXPORT Folder
{
public:
    /// The folder at a path, through links if there are any.
    explicit Folder(const std::wstring& path);
    ~Folder();
    Folder(Folder&& other) noexcept;
    Folder& operator=(Folder&& other) noexcept;

    bool isOpen() const { return _descriptor != -1; }

    void close();

    /// A path that leads to the folder as long as this object lives, for whoever is to read or fill it.
    const std::wstring& path() const { return _path; }

    /// A folder in this one. Not open if there is none, or if a link (ELOOP) or anything else has the name.
    Folder inner(const std::string& name) const;

    /// Makes a folder in this one; one that is there already is no failure, whatever it is.
    [[nodiscard]] bool makeInner(const std::string& name) const;

    /// Moves a file to another folder, where it takes the place of a regular file or of a link to one, and the
    /// permissions of that file; false with the reason if anything else has its name there.
    [[nodiscard]] bool moveFile(const std::string& name, const Folder& to) const;

    /// Removes a file.
    [[nodiscard]] bool removeFile(const std::string& name) const;

    /// Waits until the device has the names in the folder. A folder that may not be read is passed over.
    [[nodiscard]] bool synchronise() const;

private:
    Folder(int descriptor, const std::wstring& path);

    int _descriptor = -1;
    std::wstring _path;

    friend class NewFolder;
};

/// A folder on its way to its name. Until it gets that it has a random one beside it, and nobody but its owner can
/// enter it.
class TAVO_EXPORT NewFolder
{
public:
    /// Makes nothing yet.
    explicit NewFolder(const std::wstring& path);
    ~NewFolder();
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    /// The path that the folder has until it is installed. Nobody could know it before.
    const std::wstring& temporaryPath() const { return _temporaryPath; }

    /// Makes the folder, empty. False if it cannot be made, or if there is anything. To be called once.
    [[nodiscard]] bool make();

    /// The folder; not open before it is made.
    const Folder& folder() const { return _folder; }

    /// Gives the folder its name, and whoever the process's mask allows may enter it. False if anything has that name.
    [[nodiscard]] bool install();

private:
    std::wstring _path;            ///< where it is to be
    int _parent = -1;              ///< the folder that it is in
    std::string _name, _temporary; ///< in that one
    std::wstring _temporaryPath;
    Folder _folder;
};

} // namespace OS
