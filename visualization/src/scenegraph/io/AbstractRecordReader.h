#pragma once

#include "core/Properties.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/io/FileIoStatus.h"

#include <string>

namespace tsg::io
{

/// Reads files that hold scenes as records.
class TAVO_EXPORT AbstractRecordReader
{
public:
    virtual ~AbstractRecordReader();

    // The order of these operations is the order of their slots.

    /// Opens a file and lists its records.
    virtual FileIoStatus open(const std::wstring& path) = 0;
    virtual void close() = 0;
    /// True if a file was opened that has records.
    virtual bool isOpen() const = 0;
    /// Delivers the record of a header, one of the reader's own records, to the stream.
    virtual bool loadRecord(const Properties& header, NodeStream& stream) = 0;
    /// Delivers the record with the given index to the stream.
    virtual bool loadRecord(int index, NodeStream& stream) = 0;
};

} // namespace tsg::io
