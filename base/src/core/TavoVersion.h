#pragma once

#include "core/Export.h"

#include <string>

/// The version of the running application.
class TAVO_EXPORT TavoVersion
{
public:
    static const TavoVersion& getSingleton();

    /// Whether the running application can read what the given release wrote.
    ///   true  - the same or an older release (dotted decimal numbers compared part by part as numbers, missing parts
    ///           count as 0), and the empty string
    ///   false - a newer release, or text that is no dotted decimal number
    bool compatibleVersion(const std::string& releaseNumber) const;

    /// The running application's release number: the version of this project.
    static const std::string _releaseNumber;

private:
    TavoVersion() = default;
};
