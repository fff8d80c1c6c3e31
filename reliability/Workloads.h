#pragma once

#include "SceneState.h"
#include "support/TemporaryDirectory.h"

#include <optional>
#include <string>
#include <vector>

namespace reliability
{

/// What may be under the name of the file when a run was ended at some moment.
enum class Promise
{
    AllOrNothing, ///< what was there before, or all that the run makes
    Grows,        ///< what was there before, and the first records and thumbnails that the run adds
    Replaces      ///< what was there before, or nothing, or the first records and thumbnails of the new file
};

/// Something that writes a scene database.
struct Workload
{
    const char* name;
    std::vector<std::string> command; ///< "@" stands for the folder and a slash
    Promise promise;
    bool isNew = false; ///< whether there is no file yet
};

const std::vector<Workload>& workloads();

/// A workload with the files it needs, and what there is before and after an undisturbed run.
class Prepared
{
public:
    explicit Prepared(const Workload& workload);

    const Workload& workload() const { return _workload; }

    /// A folder with the files that the workload begins with, made anew.
    const std::string& freshFolder();

    const std::string& folder() const { return _folder.path(); }

    std::string target() const { return _folder.path() + "/target.sce"; }

    /// The command with the folder filled in.
    std::vector<std::string> command() const;

    std::string logPath() const { return _other.path() + "/log"; }

    /// Throws std::runtime_error if what is under the name of the file is not what is promised, or cannot be added to.
    void check() const;

    /// The same, and that it is what an undisturbed run leaves.
    void checkComplete() const;

    /// The bytes that an undisturbed run leaves.
    const std::string& finalBytes() const { return _finalBytes; }

private:
    const Workload& _workload;
    test::TemporaryDirectory _folder;
    test::TemporaryDirectory _other;
    std::optional<SceneState> _before;
    std::optional<SceneState> _after;
    std::string _finalBytes;
};

} // namespace reliability
