#pragma once

#include "core/Export.h"
#include "scenegraph/io/FileIoStatus.h"

#include <string>

namespace tsg
{
class Node;
}

namespace tsg::io
{

/// Writes files that hold scenes as records.
class TAVO_EXPORT AbstractRecordWriter
{
public:
    virtual ~AbstractRecordWriter();

    // The order of these operations is the order of their slots.

    /// Opens a file: to add to what it holds, or to begin anew. `compress` says whether data is compressed.
    ///   Success     - open
    ///   OpenFailed  - it cannot be opened, made, or added to
    ///   WrongFormat - it is foreign or too new to be added to
    virtual FileIoStatus open(const std::wstring& path, bool append, bool compress) = 0;
    virtual void close() = 0;
    /// Adds the graph under `root` as one record; `recordIndex` receives its index in the file.
    ///   Success - the record is in the file, or it could not be written: then `recordIndex` is -1, the file was cut
    ///             back and closed, and every later call answers NotOpen
    ///   NotOpen - no file is open; nothing was written
    /// Raises InternalError for a root of the wrong class, and when there is no room for the values of a polydata.
    virtual FileIoStatus addRecord(const std::string& title, const std::string& description,
                                   const std::string& sessionId, Node& root, int& recordIndex) = 0;
};

} // namespace tsg::io
