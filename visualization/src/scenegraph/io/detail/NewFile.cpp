#include "scenegraph/io/detail/NewFile.h"

#include "platform/FileStreams.h"
#include "platform/Platform.h"
#include "scenegraph/io/SDB.h"

#include <cerrno>

namespace sdb::detail
{

namespace
{

bool writeHeaderTo(const std::wstring& path)
{
    OS::UpdateStream stream(path);
    writeHeader(stream);
    stream.close();
    return stream.good();
}

/// Removes a file that a failed step has left, and keeps the reason of the failure.
bool giveUp(const std::wstring& path)
{
    const int reason = errno;
    Platform::filesystem().markForDeletion(path);
    errno = reason;
    return false;
}

/// Creates a file that must not exist yet, with a file header.
bool createHeaded(const std::wstring& path)
{
    return Platform::filesystem().createExclusive(path) == 0 && (writeHeaderTo(path) || giveUp(path));
}

} // namespace

bool createNewFile(const std::wstring& path)
{
    const std::wstring newFile = Platform::filesystem().getTemporaryPath(path);
    return createHeaded(newFile) && (Platform::filesystem().renameFile(newFile, path) == 0 || giveUp(newFile));
}

bool replaceByNewFile(const std::wstring& path)
{
    OS::FileSystem& files = Platform::filesystem();
    const std::wstring newFile = files.getTemporaryPath(path);
    if (!createHeaded(newFile))
    {
        return false;
    }
    const bool replaced = renameToTempAndMarkForDeletion(path) && files.renameFile(newFile, path) == 0;
    return replaced || giveUp(newFile);
}

} // namespace sdb::detail
