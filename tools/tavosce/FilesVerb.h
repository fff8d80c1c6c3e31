#pragma once

#include "CommandTable.h"
#include "Json.h"
#include "SceneFile.h"

#include <iosfwd>

namespace tavosce
{

/// A verb that tells the same of any number of scene databases, one after another.
struct FilesVerb
{
    /// `several` says whether there is more than one.
    void (*printText)(std::ostream& out, SceneFile& file, bool several);
    /// Writes an element of the array "files".
    void (*writeJson)(Json& json, SceneFile& file);
};

/// Declares its files and --json.
Run declareFiles(CLI::App& app, const FilesVerb& verb);

} // namespace tavosce
