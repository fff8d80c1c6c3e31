#include "InputFile.h"

#include "Failure.h"
#include "SceneDirectory.h"
#include "Suggestion.h"
#include "Text.h"

#include "platform/FileStreams.h"
#include "platform/FileSystem.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cerrno>

namespace tavosce
{

namespace
{

/// What helps when a file cannot be opened because of `reason`, a value of errno; empty if nothing is known to.
std::string hintFor(const std::string& path, int reason)
{
    if (reason == ENOENT)
    {
        return fileSuggestion(path);
    }
    return reason == EISDIR && isSceneDirectory(path)
               ? "it is a scene directory: `tavosce import` makes a scene database of it; diff and verify take both"
               : "";
}

} // namespace

InputFile::InputFile(const std::string& path)
{
    errno = 0;
    _stream = OS::openForReading(OS::toWide(path));
    if (!_stream->is_open())
    {
        const int number = errno; // before anything else sets it
        const std::string reason = "cannot open: " + systemReason();
        throw Failure(CannotOpen, shown(path), reason, hintFor(path, number));
    }
    _size = sdb::detail::streamSize(*_stream).value_or(0);
}

} // namespace tavosce
