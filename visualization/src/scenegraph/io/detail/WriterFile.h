#pragma once

#include "scenegraph/io/detail/AppendStream.h"

#include <memory>
#include <string>

namespace sdb::detail
{

/// How a writer wants its file.
struct WriterFileOptions
{
    bool append = false;                ///< keep what is there; otherwise an existing file is replaced
    bool synchronise = false;           ///< wait until the device has a new file, and its name
    const AppendStream* mine = nullptr; ///< a file that the writer has open already: its lock counts for this one too
};

/// Opens the file at a path for adding to it: an existing one, or a new one that holds only its header. It is locked
/// against other writers. A new file is complete before it has its name; readers that hold a replaced one keep their
/// view. Null, with nothing changed, if any of it fails; `errno` tells the reason, which is EWOULDBLOCK if another
/// writer has the file.
std::shared_ptr<AppendStream> openWriterFile(const std::wstring& path, const WriterFileOptions& options);

} // namespace sdb::detail
