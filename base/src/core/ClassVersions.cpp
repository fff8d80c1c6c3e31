#include "core/ClassVersions.h"

void ClassVersions::setClassVersion(const std::string& className, const int& version)
{
    _versions[className] = version;
}

int ClassVersions::getClassVersion(const std::string& className) const
{
    const auto found = _versions.find(className);
    return found == _versions.end() ? 0 : found->second;
}
