#pragma once

#include "Interrupt.h"

#include "platform/FileStreams.h"
#include "platform/Folder.h"
#include "platform/NewFile.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tavosce
{

/// A new file that gets the name of its target when it is complete. Until then nothing at the target changes; what was
/// not installed goes away.
class OutputFile
{
public:
    /// Throws Failure CannotWrite if the file cannot be made, or if something is at the target that may not be
    /// replaced: anything without `force`; with it anything but a regular file, and a file that another process is
    /// writing to.
    OutputFile(const std::string& target, bool force);

    /// Where to fill the file, which is there and empty.
    const std::wstring& path() const { return _file.path(); }

    /// Waits until the device has the file, and puts it in its place. Throws Failure CannotWrite and, before anything
    /// has changed, Interruption.
    void install();

private:
    void lockReplaced();

    std::string _shown; ///< the target for messages
    std::wstring _target;
    bool _force;
    std::optional<OS::UpdateStream> _replaced; ///< keeps other writers away from it
    OS::NewFile _file;
    std::optional<HalfMade> _halfMade; ///< while the file has a name that is not its own
};

/// A folder of new files, built beside its target in the same way, where nobody else can enter it.
class OutputFolder
{
public:
    /// Throws Failure CannotWrite if the target is no directory, or holds something and `force` is not set. With
    /// `force` files of the same names are replaced, and everything else in the target stays; what is behind a link in
    /// the target is out of reach, so that installing fails where a folder is to be.
    OutputFolder(const std::string& target, bool force);
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    /// The path where to write the file that will have this name in the folder; the name may begin with one folder,
    /// which is made. Throws Failure CannotWrite.
    std::string fileFor(const std::string& name);

    /// The path of a folder that others will fill, empty for the output itself; `adopt` then has to be called. Throws
    /// Failure CannotWrite.
    std::string folderFor(const std::string& name);

    /// Says of a file in a folder of the target that it is of an earlier output.
    using IsEarlier = bool (*)(const std::string& folder, const std::string& name);

    /// Takes over the files that were written into such a folder and into folders in it. Installing removes the files
    /// of an earlier output that the target has in the same inner folders.
    void adopt(const std::string& name, IsEarlier isEarlier);

    /// Waits until the device has the files, and puts them in their place. Throws Failure CannotWrite, also if one of
    /// them would replace `input`; and, before anything has changed, Interruption.
    void install(const std::string& input);

private:
    template <class Names>
    void synchronise(const std::string& root, const Names& names);
    void moveFiles(const std::string& input);
    void makeReplaced(const std::string& path);
    void removeEarlier();
    OS::Folder reach(const OS::Folder& root, const std::string& path) const;

    std::string _shown;
    std::string _target;
    OS::NewFolder _new;
    HalfMade _halfMade;
    std::optional<OS::Folder> _replaced; ///< what is at the target
    std::string _path;                   ///< where the folder is built
    std::vector<std::string> _files;     ///< names that were handed out or adopted
    std::set<std::string> _folders;      ///< what was made at _path, outer ones first

    struct Adopted
    {
        std::string folder; ///< an inner one
        IsEarlier isEarlier;
    };

    std::vector<Adopted> _adopted;
};

/// True if both paths lead to the same existing file.
bool isSameFile(const std::string& left, const std::string& right);

} // namespace tavosce
