#include "Workloads.h"

#include "Child.h"
#include "Programs.h"
#include "WriteLog.h"
#include "support/Datasets.h"
#include "support/VtpFiles.h"

#include <algorithm>
#include <stdexcept>

namespace reliability
{

namespace
{

const std::string SESSION = "--session=reliability";
const std::string SYNCHRONISED = "synchronised";

void runOrThrow(const std::vector<std::string>& command)
{
    if (run(command, {}) != 0)
    {
        throw std::runtime_error("cannot prepare: " + command[1]);
    }
}

/// Makes a scene database whose last record needs nothing but its last write.
void makeTorn(const std::string& folder, const std::string& path)
{
    const std::vector<std::string> append = {SCENE_WRITER, "append", path, "3", "1"};
    const std::string whole = test::bytesOf(path);
    const std::string log = path + ".log";
    if (run(append, {folder, log, {}, -1}) != 0)
    {
        throw std::runtime_error("cannot prepare an unfinished record");
    }
    const std::vector<LoggedCall> calls = readLog(log);
    std::filesystem::remove(log);
    test::writeBytes(path, whole);
    const auto said = std::find_if(calls.begin(), calls.end(),
                                   [](const LoggedCall& call) { return call.operation == LoggedCall::Say; });
    run(append, {folder, {}, std::to_string(said - calls.begin() - 1) + " kill", -1});
}

/// Two meshes of two moments, which share geometry, a picture, and files to add to, to replace or to rescue.
void makeInputs(const std::string& folder)
{
    const auto mesh = [] { return test::withAllArrays(test::allCellKinds(), {VTK_FLOAT, VTK_INT}); };
    test::writeVtp(*mesh(), folder + "/a.vtp");
    const auto moved = mesh();
    moved->GetPointData()->AddArray(test::counting(VTK_FLOAT, "moving", moved->GetNumberOfPoints(), 1, 7));
    test::writeVtp(*moved, folder + "/b.vtp");
    const std::string whole = folder + "/whole.sce", torn = folder + "/torn.sce";
    runOrThrow({SCENE_WRITER, "create", whole, "0", "3"});
    runOrThrow({TAVOSCE, "thumb", whole, "-o", folder + "/picture.png"});
    test::writeBytes(folder + "/old.png", "an earlier picture");
    std::filesystem::copy_file(whole, torn);
    makeTorn(folder, torn);
}

} // namespace

const std::vector<Workload>& workloads()
{
    static const std::vector<Workload> ALL = {
        {"import, new file",
         {TAVOSCE, "import", SESSION, "-o", "@target.sce", "@a.vtp", "@b.vtp", "@a.vtp"},
         Promise::AllOrNothing,
         nullptr},
        {"import --force",
         {TAVOSCE, "import", SESSION, "--force", "-o", "@target.sce", "@a.vtp", "@b.vtp"},
         Promise::AllOrNothing},
        {"import --append",
         {TAVOSCE, "import", SESSION, "--append", "-o", "@target.sce", "@a.vtp", "@b.vtp", "@a.vtp"},
         Promise::Grows},
        {"thumb --set", {TAVOSCE, "thumb", "@target.sce:1", "--set", "@picture.png"}, Promise::Grows},
        {"recover --force", {TAVOSCE, "recover", "--force", "@whole.sce", "-o", "@target.sce"}, Promise::AllOrNothing},
        {"thumb -o --force",
         {TAVOSCE, "thumb", "--force", "@whole.sce", "-o", "@old.png"},
         Promise::AllOrNothing,
         nullptr,
         "old.png"},
        {"export", {TAVOSCE, "export", "@whole.sce:0", "-o", "@out"}, Promise::AllOrNothing, nullptr, "out"},
        {"export --scene-directory",
         {TAVOSCE, "export", "--scene-directory", "@whole.sce:0", "-o", "@out"},
         Promise::AllOrNothing,
         nullptr,
         "out"},
        {"library, new file", {SCENE_WRITER, "append", "@target.sce", "0", "3", SYNCHRONISED}, Promise::Grows, nullptr},
        {"library, append", {SCENE_WRITER, "append", "@target.sce", "3", "4", SYNCHRONISED}, Promise::Grows},
        {"library, replace", {SCENE_WRITER, "create", "@target.sce", "7", "4", SYNCHRONISED}, Promise::Replaces},
        {"library, after a crash",
         {SCENE_WRITER, "append", "@target.sce", "3", "1", SYNCHRONISED},
         Promise::Grows,
         "torn.sce"},
        {"library, not synchronised", {SCENE_WRITER, "append", "@target.sce", "3", "4"}, Promise::Grows},
    };
    return ALL;
}

bool Workload::survivesPowerCuts() const
{
    return std::string(output) != "out" && (command[0] == TAVOSCE || command.back() == SYNCHRONISED);
}

Prepared::Prepared(const Workload& workload)
    : _workload(workload)
{
    makeInputs(_other.path());
    freshFolder();
    _before = state();
    if (run(command(), {}) != 0)
    {
        throw std::runtime_error(std::string("an undisturbed run fails: ") + workload.name);
    }
    _after = state();
    _finalBytes = bytes();
}

const std::string& Prepared::freshFolder()
{
    namespace fs = std::filesystem;
    for (const auto& entry : fs::directory_iterator(_folder.path()))
    {
        fs::remove_all(entry.path());
    }
    for (const char* const name : {"a.vtp", "b.vtp", "picture.png", "old.png", "whole.sce"})
    {
        fs::copy_file(_other.path() + '/' + name, _folder.path() + '/' + name);
    }
    if (_workload.existing != nullptr)
    {
        fs::copy_file(_other.path() + '/' + _workload.existing, _folder.path() + "/target.sce");
    }
    return _folder.path();
}

std::vector<std::string> Prepared::command() const
{
    std::vector<std::string> res = _workload.command;
    for (std::string& argument : res)
    {
        const std::size_t at = argument.find('@');
        if (at != std::string::npos)
        {
            argument.replace(at, 1, _folder.path() + '/');
        }
    }
    return res;
}

std::optional<SceneState> Prepared::state() const
{
    if (_workload.isScene() || !std::filesystem::exists(target()))
    {
        return stateOf(target());
    }
    if (!std::filesystem::is_directory(target()))
    {
        return SceneState{{test::bytesOf(target())}, {}};
    }
    SceneState res;
    for (const auto& [name, bytes] : FolderState(target()).files())
    {
        res.records.push_back(name + '\n');
        res.records.back() += bytes;
    }
    return res;
}

std::string Prepared::bytes() const
{
    return std::filesystem::is_regular_file(target()) ? test::bytesOf(target()) : std::string();
}

void Prepared::check(const std::optional<SceneState>& acknowledged) const
{
    const std::optional<SceneState> found = state();
    const bool isBefore = found == _before;
    const bool isPart = found && isBeginning(*found, *_after);
    const bool isGrown = isPart && isBeginning(_before.value_or(SceneState()), *found);
    const bool isKept = _workload.promise == Promise::AllOrNothing ? isBefore || found == _after
                        : _workload.promise == Promise::Grows      ? isBefore || isGrown
                                                                   : isBefore || isPart;
    if (!isKept)
    {
        throw std::runtime_error("what was promised is not there");
    }
    if (acknowledged && !(found && isBeginning(*acknowledged, *found)))
    {
        throw std::runtime_error("what was acknowledged is not there");
    }
    if (found && _workload.isScene())
    {
        checkAdding(target());
    }
}

void Prepared::checkComplete() const
{
    if (bytes() != _finalBytes || state() != _after)
    {
        throw std::runtime_error("something else than what an undisturbed run leaves");
    }
}

} // namespace reliability
