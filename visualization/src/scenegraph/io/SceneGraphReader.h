#pragma once

#include "core/ClassVersions.h"
#include "core/Export.h"
#include "core/Properties.h"

#include <iosfwd>
#include <string>

namespace sdb::detail
{
class MemoryBudget;
}

namespace tsg
{

class NodeStream;

namespace detail
{
class NodeVersions;
}

/// Replays scene directories (docs/formats/scene-directory.md) into a NodeStream: the nodes first, then the data, file
/// by file. Messages go to standard output and standard error.
///
/// What the receiver answers is ignored; what it throws passes through, and is how a load is cancelled. What was
/// delivered before stays delivered. Polydata is read with VTK's own reader, which changes the C locale of the process
/// while it runs; afterwards that is as it was before.
class TAVO_EXPORT SceneGraphReader
{
public:
    /// The stream is the receiver of all loads and outlives the reader.
    explicit SceneGraphReader(NodeStream& stream);
    /// Copies have the same receiver, and the scene name.
    SceneGraphReader(const SceneGraphReader&);
    SceneGraphReader(SceneGraphReader&&) noexcept;
    SceneGraphReader& operator=(const SceneGraphReader&) = delete;
    SceneGraphReader& operator=(SceneGraphReader&&) = delete;
    ~SceneGraphReader();

    /// Loads a scene directory.
    ///   true  - the scene file was read, as far as its records go, and with it every data file that can be: one that
    ///           is missing, or is no regular file, is left out, and of any other "Can't load vtk data!" is printed
    ///   false - there is no regular file "scene.tsg", or it cannot be opened (printed); nothing was delivered
    bool load(const std::wstring& directory);

    /// The "Name" of the last SceneNode that was delivered; empty until then.
    std::string getSceneName() const;

    /// Reads the records of a scene file up to the first that is unreadable, upgrades the nodes with the receiver's
    /// registry and delivers them; then runs the registry's post-upgrade step, and logs a line for each class of which
    /// the registry finds a version gap. Always true; the stream is left where reading ended.
    bool loadSceneFileFromInputStream(std::istream& in);

    /// Reads one data file, which lasts to the end of the stream, and delivers what it holds.
    ///   true  - delivered; of an array that the stream cuts short the rest is zero
    ///   false - unreadable header, unknown "Tag", numbers that are no array, polydata text that is not sound, or no
    ///           memory (some of these are printed); nothing was delivered
    bool loadVtkDataFromInputStream(std::istream& in);

private:
    void loadDataDirectory(const std::wstring& directory);
    bool loadVtkData(std::istream& in, sdb::detail::MemoryBudget& budget);
    bool loadVtkDataArrayFromInputStream(std::istream& in, Properties& header, sdb::detail::MemoryBudget& budget);
    bool loadVtkPolyDataFromInputStream(std::istream& in, Properties& header, sdb::detail::MemoryBudget& budget);
    void loadNode(const Properties& record, const ClassVersions& versions, detail::NodeVersions& loaded);
    static bool getNextProperty(std::istream& in, Properties& out);

    NodeStream& _target; ///< borrowed
    std::string _sceneName;
};

} // namespace tsg
