#include "scenegraph/io/SDB.h"

#include "core/TavoVersion.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <limits>
#include <ostream>

namespace sdb
{

namespace
{

namespace key = detail::key;

constexpr int NEWEST_VERSION = 0;
constexpr char FORMAT_UUID[] = "8bd8aea8-1887-4e74-a129-b7fc46214c8e";
const std::string PRODUCT_PREFIX = "TavoFlow ";

bool refuse(std::ostream& messages, const std::string& reason)
{
    const std::string line = reason + '\n';
    messages.write(line.data(), static_cast<std::streamsize>(line.size()));
    messages.flush();
    return false;
}

std::string newerFormat(const std::string& release, int version)
{
    return "Can't read future file format version. File has been written with " + release +
           " and has file format version #" + std::to_string(version) +
           ", whereas the application can only understand formats with versions not greater than #" +
           std::to_string(NEWEST_VERSION);
}

std::string newerRelease(const std::string& release)
{
    return "Can't read scene files saved with a newer version of Corvel TavoFlow. File has been written with Corvel "
           "TavoFlow " +
           release + ", whereas the current version is " + TavoVersion::_releaseNumber;
}

} // namespace

const int FILE_FORMAT_VERSION = NEWEST_VERSION;

void writeHeader(std::ostream& out)
{
    (void)TavoVersion::getSingleton(); // the release number belongs to it
    Properties header;
    header.set(key::UUID, FORMAT_UUID);
    header.set(key::FILE_FORMAT_VERSION, FILE_FORMAT_VERSION);
    header.set(key::PRODUCT_NAME, PRODUCT_PREFIX + TavoVersion::_releaseNumber);
    header.set(key::RELEASE_NUMBER, TavoVersion::_releaseNumber);
    const std::string line = header.toString() + '\n';
    out.write(line.data(), static_cast<std::streamsize>(line.size()));
    out.flush();
}

bool isUuidCorrect(const Properties& header)
{
    return header.getString(key::UUID) == FORMAT_UUID;
}

bool fileFormatVersion(const Properties& header, int& version)
{
    version = std::numeric_limits<int>::max();
    if (!header.hasName(key::FILE_FORMAT_VERSION))
    {
        return false;
    }
    version = header.getInt(key::FILE_FORMAT_VERSION);
    return true;
}

std::string tavoFlowReleaseNumber(const Properties& header)
{
    if (header.hasName(key::RELEASE_NUMBER))
    {
        return header.getString(key::RELEASE_NUMBER);
    }
    const std::string& product = header.getString(key::PRODUCT_NAME);
    const bool hasPrefix = product.compare(0, PRODUCT_PREFIX.size(), PRODUCT_PREFIX) == 0;
    return hasPrefix ? product.substr(PRODUCT_PREFIX.size()) : std::string();
}

bool checkFormat(std::istream& in, std::ostream& messages)
{
    std::string releaseNumber;
    return checkFormat(in, messages, releaseNumber);
}

bool checkFormat(std::istream& in, std::ostream& messages, std::string& releaseNumber)
{
    Properties header;
    int version = 0;
    if (!getNextProperty(in, header) || !isUuidCorrect(header) || !fileFormatVersion(header, version))
    {
        return refuse(messages, "Wrong file format");
    }
    const std::string release = tavoFlowReleaseNumber(header);
    if (version > NEWEST_VERSION)
    {
        return refuse(messages, newerFormat(release, version));
    }
    releaseNumber = release;
    if (!TavoVersion::getSingleton().compatibleVersion(release))
    {
        return refuse(messages, newerRelease(release));
    }
    return true;
}

} // namespace sdb
