#include "Workloads.h"

#include "Child.h"
#include "Programs.h"
#include "support/Datasets.h"
#include "support/VtpFiles.h"

#include <stdexcept>

namespace reliability
{

namespace
{

const std::string SESSION = "--session=reliability";

void runOrThrow(const std::vector<std::string>& command)
{
    if (run(command, {}) != 0)
    {
        throw std::runtime_error("cannot prepare: " + command[1]);
    }
}

/// Two meshes of two moments, which share geometry, a picture, and a file to add to, to replace or to rescue.
void makeInputs(const std::string& folder)
{
    const auto mesh = [] { return test::withAllArrays(test::allCellKinds(), {VTK_FLOAT, VTK_INT}); };
    test::writeVtp(*mesh(), folder + "/a.vtp");
    const auto moved = mesh();
    moved->GetPointData()->AddArray(test::counting(VTK_FLOAT, "moving", moved->GetNumberOfPoints(), 1, 7));
    test::writeVtp(*moved, folder + "/b.vtp");
    const std::string target = folder + "/target.sce";
    runOrThrow({SCENE_WRITER, "create", target, "0", "3"});
    runOrThrow({TAVOSCE, "thumb", target, "-o", folder + "/picture.png"});
}

} // namespace

const std::vector<Workload>& workloads()
{
    static const std::vector<Workload> ALL = {
        {"import, new file",
         {TAVOSCE, "import", SESSION, "-o", "@target.sce", "@a.vtp", "@b.vtp", "@a.vtp"},
         Promise::AllOrNothing,
         true},
        {"import --force",
         {TAVOSCE, "import", SESSION, "--force", "-o", "@target.sce", "@a.vtp", "@b.vtp"},
         Promise::AllOrNothing},
        {"import --append",
         {TAVOSCE, "import", SESSION, "--append", "-o", "@target.sce", "@a.vtp", "@b.vtp", "@a.vtp"},
         Promise::Grows},
        {"thumb --set", {TAVOSCE, "thumb", "@target.sce:1", "--set", "@picture.png"}, Promise::Grows},
        {"recover --force", {TAVOSCE, "recover", "--force", "@old.sce", "-o", "@target.sce"}, Promise::AllOrNothing},
        {"library, new file", {SCENE_WRITER, "append", "@target.sce", "0", "3"}, Promise::Grows, true},
        {"library, append", {SCENE_WRITER, "append", "@target.sce", "3", "4"}, Promise::Grows},
        {"library, replace", {SCENE_WRITER, "create", "@target.sce", "7", "4"}, Promise::Replaces},
    };
    return ALL;
}

Prepared::Prepared(const Workload& workload)
    : _workload(workload)
{
    makeInputs(_other.path());
    freshFolder();
    _before = stateOf(target());
    if (run(command(), {}) != 0)
    {
        throw std::runtime_error(std::string("an undisturbed run fails: ") + workload.name);
    }
    _after = stateOf(target());
    _finalBytes = test::bytesOf(target());
}

const std::string& Prepared::freshFolder()
{
    namespace fs = std::filesystem;
    for (const auto& entry : fs::directory_iterator(_folder.path()))
    {
        fs::remove(entry.path());
    }
    for (const char* const name : {"a.vtp", "b.vtp", "picture.png"})
    {
        fs::copy_file(_other.path() + '/' + name, _folder.path() + '/' + name);
    }
    if (!_workload.isNew)
    {
        fs::copy_file(_other.path() + "/target.sce", target());
        fs::copy_file(_other.path() + "/target.sce", _folder.path() + "/old.sce");
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

void Prepared::check() const
{
    const std::optional<SceneState> found = stateOf(target());
    const bool isNothing = !found.has_value();
    const bool isBefore = found == _before;
    const bool isPart = found && isBeginning(*found, *_after);
    const bool isGrown = isPart && isBeginning(_before.value_or(SceneState()), *found);
    const bool isKept = _workload.promise == Promise::AllOrNothing ? isBefore || found == _after
                        : _workload.promise == Promise::Grows      ? isBefore || isGrown
                                                                   : isBefore || isNothing || isPart;
    if (!isKept)
    {
        throw std::runtime_error("what was promised is not there");
    }
    if (found)
    {
        checkAdding(target());
    }
}

void Prepared::checkComplete() const
{
    if (test::bytesOf(target()) != _finalBytes)
    {
        throw std::runtime_error("another file than that of an undisturbed run");
    }
}

} // namespace reliability
