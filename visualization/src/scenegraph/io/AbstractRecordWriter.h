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
    virtual FileIoStatus open(const std::wstring& path, bool append, bool compress) = 0;
    virtual void close() = 0;
    /// Adds the graph under `root` as one record; `recordIndex` receives its index in the file.
    virtual FileIoStatus addRecord(const std::string& title, const std::string& description,
                                   const std::string& sessionId, Node& root, int& recordIndex) = 0;
};

} // namespace tsg::io
