#pragma once

#include "core/Export.h"

#include <map>
#include <string>

/// The class versions that belong to one scene: class name to version, in name order.
class TAVO_EXPORT ClassVersions
{
public:
    /// Sets the version of a class; a later call for the same class replaces it.
    void setClassVersion(const std::string& className, const int& version);

    /// The version of a class, 0 for one that is not in the map.
    int getClassVersion(const std::string& className) const;

    const std::map<std::string, int>& getVersions() const { return _versions; }

private:
    std::map<std::string, int> _versions;
};
