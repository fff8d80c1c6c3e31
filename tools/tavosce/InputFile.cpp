#include "InputFile.h"

#include "Failure.h"
#include "Suggestion.h"
#include "Text.h"

#include "platform/FileStreams.h"
#include "platform/FileSystem.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cerrno>

namespace tavosce
{

InputFile::InputFile(const std::string& path)
{
    errno = 0;
    _stream = OS::openForReading(OS::toWide(path));
    if (!_stream->is_open())
    {
        const bool isMissing = errno == ENOENT;
        const std::string reason = "cannot open: " + systemReason(); // before anything else sets errno
        throw Failure(CannotOpen, shown(path), reason, isMissing ? fileSuggestion(path) : "");
    }
    _size = sdb::detail::streamSize(*_stream);
}

} // namespace tavosce
