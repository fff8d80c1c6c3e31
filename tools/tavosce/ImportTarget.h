#pragma once

#include "ImportGraph.h"
#include "Interrupt.h"
#include "OutputFile.h"

#include "scenegraph/io/SDBWriter.h"

#include <optional>
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

/// An existing scene database that is added to in place: all that a command adds becomes part of it, or nothing.
class GrowingFile
{
public:
    /// Opens and locks the file. Throws Failure: CannotOpen and WrongFormat as SceneFile; TooDamaged when what is added
    /// could not be found again; CannotWrite, also while another process is writing to it.
    GrowingFile(const std::string& path, bool compress);

    /// Takes back what was added, unless `finish` was called.
    ~GrowingFile();

    GrowingFile(const GrowingFile&) = delete;
    GrowingFile& operator=(const GrowingFile&) = delete;

    tsg::SDBWriter& writer() { return _writer; }

    /// Makes the additions final. Throws Interruption instead if the user wants to stop.
    void finish();

private:
    tsg::SDBWriter _writer;
    std::optional<CutBack> _cutBack;
};

/// The scene database that an import writes: a new one, which appears when it is finished, or an existing one.
class ImportTarget
{
public:
    /// Throws Failure: CannotWrite; CannotOpen, WrongFormat and TooDamaged for a file that is to be added to.
    explicit ImportTarget(const ImportTargetOptions& options);

    /// Adds the graph as a record, with the nodes of the records that were added in this way before: its nodes have to
    /// outlive this object. Throws Failure CannotWrite, and Interruption.
    void addRecord(const std::string& title, const std::string& description, ImportGraph& graph);

    /// Adds a graph with a root as a record of its own, without the nodes of any other. Throws as addRecord.
    void addScene(const std::string& title, const std::string& description, tsg::SceneGraph& graph);

    /// Without this nothing has been added. Throws Failure CannotWrite, and Interruption.
    void finish();

    const std::string& session() const { return _session; }

    /// The indices of the records that were added.
    const std::vector<int>& records() const { return _records; }

private:
    void openNew(const ImportTargetOptions& options);

    tsg::SDBWriter& writer() { return _existing ? _existing->writer() : _writer; }

    void add(const std::string& title, const std::string& description, tsg::SceneGraph& graph);

    std::string _shown; ///< the path for messages
    std::string _session;
    std::optional<GrowingFile> _existing; ///< one of these two
    std::optional<OutputFile> _newFile;
    tsg::SDBWriter _writer; ///< of the new file, which outlives it
    std::vector<int> _records;
};

} // namespace tavosce
