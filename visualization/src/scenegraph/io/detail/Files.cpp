#include "scenegraph/io/SDB.h"

#include "platform/FileStreams.h"
#include "platform/Platform.h"

namespace sdb
{

bool renameToTempAndMarkForDeletion(const std::wstring& path)
{
    OS::FileSystem& files = Platform::filesystem();
    const std::wstring file = files.getFilePath(path);
    const std::wstring temporary = files.getTemporaryPath(file);
    return files.fileExists(file) && files.renameFile(file, temporary) == 0 && files.markForDeletion(temporary) == 0;
}

std::unique_ptr<std::ifstream> binaryIfstreamShareDelete(const std::wstring& path)
{
    return OS::openForReading(path);
}

} // namespace sdb
