#pragma once

#include <optional>
#include <string>
#include <vector>

namespace reliability
{

/// What readers find in a scene database.
struct SceneState
{
    std::vector<std::string> records;    ///< all that loading each one delivers
    std::vector<std::string> thumbnails; ///< record and pixels

    bool operator==(const SceneState& other) const
    {
        return records == other.records && thumbnails == other.thumbnails;
    }

    bool operator!=(const SceneState& other) const { return !(*this == other); }
};

/// None if there is no file. Throws std::runtime_error for a file that cannot be opened, and for a record that cannot
/// be loaded.
std::optional<SceneState> stateOf(const std::string& path);

/// True if the first items of `whole` are those of `part`.
bool isBeginning(const SceneState& part, const SceneState& whole);

/// Adds a record to a file and loads everything. Throws std::runtime_error if the file refuses it, or if the record is
/// not found, or one that was there before is not as it was.
void checkAdding(const std::string& path);

} // namespace reliability
