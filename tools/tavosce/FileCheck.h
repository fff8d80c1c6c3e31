#pragma once

#include "Findings.h"
#include "RecordCheck.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tavosce
{

/// What a check has seen.
struct CheckedFile
{
    std::uint64_t bytes = 0;
    std::size_t records = 0;                ///< finished ones, those behind damage included
    std::size_t thumbnails = 0;             ///< the same
    std::size_t readable = 0;               ///< records, or files of a scene directory, without an error
    std::optional<UncheckedData> unchecked; ///< what no finding could be about; none if nothing was decoded
    std::vector<Finding> findings;
};

/// Tells how much of the work has been done, from 0 to 1.
using Progress = std::function<void(double done)>;

/// Checks a scene database from its first byte to its last. Throws Failure: CannotOpen; WrongFormat for a file without
/// anything that is in its place, or of a newer format version or release.
CheckedFile checkFile(const std::string& path, CheckDepth depth, const Progress& progress);

/// Checks a scene directory. Throws Failure CannotOpen.
CheckedFile checkSceneDirectory(const std::string& path, CheckDepth depth, const Progress& progress);

} // namespace tavosce
