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

} // namespace

bool createNewFile(const std::wstring& path)
{
    if (Platform::filesystem().createExclusive(path) != 0)
    {
        return false;
    }
    return writeHeaderTo(path) || giveUp(path);
}

bool replaceByNewFile(const std::wstring& path)
{
    OS::FileSystem& files = Platform::filesystem();
    const std::wstring newFile = files.getTemporaryPath(path);
    if (!createNewFile(newFile))
    {
        return false;
    }
    const bool replaced = renameToTempAndMarkForDeletion(path) && files.renameFile(newFile, path) == 0;
    return replaced || giveUp(newFile);
}

} // namespace sdb::detail
