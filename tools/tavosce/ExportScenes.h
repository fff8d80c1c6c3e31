#pragma once

#include "Report.h"
#include "SceneFile.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tavosce
{

/// Where an export goes.
struct ExportTarget
{
    std::string output; ///< the folder
    bool force = false;
    bool json = false; ///< acknowledge with a document
};

/// Writes each wanted record of a file as a scene directory: a single one as the output itself, several in folders of
/// their own. Records that are too damaged, or hold what a scene directory cannot, are reported and left out if there
/// are others; the latter only with `skipUnsupported`. Throws Failure: TooDamaged, NotStorable, CannotWrite.
void exportScenes(const ExportTarget& target, bool skipUnsupported, const std::vector<std::size_t>& wanted,
                  SceneFile& file, Console& console);

} // namespace tavosce
