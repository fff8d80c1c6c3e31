#pragma once

#include "SceneState.h"
#include "support/TemporaryDirectory.h"

#include <optional>
#include <string>
#include <vector>

namespace reliability
{

/// What may be under the name of the output when a run was ended at some moment.
enum class Promise
{
    AllOrNothing, ///< what was there before, or all that the run makes
    Grows,        ///< what was there before, and the first records and thumbnails that the run adds
    Replaces      ///< what was there before, or the first records and thumbnails of the new file
};

/// Something that writes a scene database, or a picture or folder from one.
struct Workload
{
    const char* name;
    std::vector<std::string> command; ///< "@" stands for the folder and a slash
    Promise promise;
    const char* existing = "whole.sce"; ///< which of the prepared files is "target.sce"; null for none
    const char* output = "target.sce";

    /// True if the output is a scene database.
    bool isScene() const { return std::string(output) == "target.sce"; }

    /// True if what the run says is true even if the power is cut. A new folder is synchronised, too, but what the
    /// driver knows of disks is about the files of one folder.
    bool survivesPowerCuts() const;
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

    /// The path of the output.
    std::string target() const { return _folder.path() + '/' + _workload.output; }

    /// What is there; none if there is nothing.
    std::optional<SceneState> state() const;

    /// The command with the folder filled in.
    std::vector<std::string> command() const;

    std::string logPath() const { return _other.path() + "/log"; }

    /// Throws std::runtime_error if what is under the name of the output is not what is promised, if anything is
    /// missing of what was acknowledged, or if it cannot be added to.
    void check(const std::optional<SceneState>& acknowledged = std::nullopt) const;

    /// Throws std::runtime_error if the output is not what an undisturbed run leaves.
    void checkComplete() const;

    /// The bytes that an undisturbed run leaves; none for a folder.
    const std::string& finalBytes() const { return _finalBytes; }

private:
    std::string bytes() const;

    const Workload& _workload;
    test::TemporaryDirectory _folder;
    test::TemporaryDirectory _other;
    std::optional<SceneState> _before;
    std::optional<SceneState> _after;
    std::string _finalBytes;
};

} // namespace reliability
