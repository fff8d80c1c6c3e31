#pragma once

#include "ImportGraph.h"
#include "OutputFile.h"

#include "scenegraph/io/SDBWriter.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tavosce
{

struct ImportTargetOptions
{
    std::string path;
    std::string session; ///< empty for a new one
    bool append = false;
    bool force = false;
    bool noCompress = false;
};

/// Opens an existing scene database for adding to it in place. Throws Failure: CannotOpen and WrongFormat as SceneFile;
/// TooDamaged when what is added could not be found again; CannotWrite.
void openForAdding(tsg::SDBWriter& writer, const std::string& path, bool compress);

/// The scene database that an import writes: a new one, which appears when it is finished, or an existing one that is
/// added to in place.
class ImportTarget
{
public:
    /// Throws Failure: CannotWrite; CannotOpen, WrongFormat and TooDamaged for a file that is to be added to.
    explicit ImportTarget(const ImportTargetOptions& options);

    /// Adds the graph as a record, with the nodes of the records that were added in this way before: its nodes have to
    /// outlive this object. Throws Failure CannotWrite.
    void addRecord(const std::string& title, const std::string& description, ImportGraph& graph);

    /// Adds a graph with a root as a record of its own, without the nodes of any other. Throws Failure CannotWrite.
    void addScene(const std::string& title, const std::string& description, tsg::SceneGraph& graph);

    /// Throws Failure CannotWrite.
    void finish();

    const std::string& session() const { return _session; }

    /// The indices of the records that were added.
    const std::vector<int>& records() const { return _records; }

private:
    void openExisting(const ImportTargetOptions& options);
    void openNew(const ImportTargetOptions& options);
    void reopen(tsg::SDBWriter& writer) const;
    void add(tsg::SDBWriter& writer, const std::string& title, const std::string& description, tsg::SceneGraph& graph);

    std::string _shown; ///< the path for messages
    std::string _session;
    std::wstring _path; ///< of the file that is written
    bool _compress;
    std::optional<OutputFile> _newFile;   ///< none when an existing file is added to
    std::set<std::uint64_t> _takenStamps; ///< of data that the file has of this session
    tsg::SDBWriter _writer;               // destroyed before the new file is removed
    std::vector<int> _records;
};

} // namespace tavosce
