#pragma once

#include "core/Export.h"

#include <string>

/// The release of the application, as it goes into its files.
class TAVO_EXPORT TavoVersion
{
public:
    static const TavoVersion& getSingleton();

    /// True if the running application can read what the given release wrote.
    ///   true  - the same or an older release (dotted decimal numbers compared part by part as numbers, missing parts
    ///           count as 0), and the empty string
    ///   false - a newer release, or text that is no dotted decimal number
    bool compatibleVersion(const std::string& releaseNumber) const;

    /// The release number that goes into files. It is raised only when older releases cannot read what is written, not
    /// with each version of this project: readers refuse files of newer releases.
    static const std::string _releaseNumber;

private:
    TavoVersion() = default;
};
