#pragma once

#include "core/Export.h"

#include <cstdint>
#include <string>

namespace OS
{

/// A regular file on its way to its name. Until it gets that it has none, so that nothing of it is left however the
/// process ends. Where the system cannot do that, the file has a random name beside the one that it is to get, which
/// goes away with this object.
///
/// A failure is an answer; `errno` tells the reason.
class TAVO_EXPORT NewFile
{
public:
    /// Makes an empty file, which is to be at `path`; if a link is there, where that leads, even if nothing is there
    /// yet.
    explicit NewFile(const std::wstring& path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// False if the file could not be made, or if something that is no regular file has its name; everything below
    /// fails then.
    bool isOpen() const { return _descriptor != -1; }

    /// A path that leads to the file as long as this object lives, for whoever is to fill it; empty if it is not open.
    const std::wstring& path() const { return _path; }

    /// The path that the file has meanwhile, which only this object removes; empty if it has none.
    std::wstring temporaryPath() const;

    /// Gives the file its name. False if anything has that name already.
    [[nodiscard]] bool install();

    /// The same, but a regular file of that name is replaced, at once for every observer: who has it open keeps it. The
    /// new file takes over its permissions and, where that is allowed, its owner. False also, with EBUSY, if another
    /// file takes that name at the same moment.
    [[nodiscard]] bool replace();

    /// Waits until the device has what the file holds.
    [[nodiscard]] bool synchronise() const;

    /// Waits until the device has the name that the file was given. A folder that may not be read is passed over.
    [[nodiscard]] bool synchroniseName() const;

private:
    bool isFreeOrRegular() const;
    bool openUnnamed();
    bool openNamed();
    bool giveName(const std::string& name);
    bool takeTemporaryName();
    bool exchange(std::uint64_t replaced);

    int _folder = -1;        ///< where the file is to be
    int _descriptor = -1;    ///< of the file
    std::string _parent;     ///< the path of that, with a slash behind it unless it is empty
    std::string _name;       ///< which it is to have there
    std::string _temporary;  ///< which it has there until then; empty for none
    bool _installed = false; ///< whether it has its name
    std::wstring _path;
};

} // namespace OS
