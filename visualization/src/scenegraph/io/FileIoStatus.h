#pragma once

namespace tsg::io
{

/// Result of opening a file and of adding to one. The value 1 is never produced.
enum class FileIoStatus
{
    Success = 0,
    FileNotFound = 2, ///< nothing exists at the path
    WrongFormat = 3,  ///< a foreign file, or one of a newer format or release
    NotOpen = 4,      ///< something was to be added while no file is open
    OpenFailed = 5    ///< the file cannot be opened, created, replaced or added to
};

} // namespace tsg::io
