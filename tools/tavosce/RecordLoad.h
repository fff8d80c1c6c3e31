#pragma once

#include "RecordWalk.h"
#include "Report.h"
#include "SceneFile.h"

#include "scenegraph/NodeRegistry.h"
#include "scenegraph/SceneGraph.h"
#include "scenegraph/io/SDBReader.h"

#include <cstddef>

namespace tavosce
{

/// Loads the records of a scene database as graphs.
class RecordLoader
{
public:
    /// The file and the report have to outlive the loader. Throws Failure CannotOpen.
    RecordLoader(SceneFile& file, Report& report);

    /// Loads a record, whose contents have been walked. Data that is under no node's key hangs at a node of its own.
    /// What can be said about the record without giving it up is a warning. Throws Failure TooDamaged, which names the
    /// block that cannot be loaded. `done` of `total` loads have been made, for the progress bar.
    tsg::SceneGraph load(std::size_t record, const RecordContents& contents, std::size_t done, std::size_t total);

private:
    class Delivery;

    [[noreturn]] void fail(std::size_t record, const RecordContents& contents, Delivery& delivery,
                           const std::string& reason);
    void warn(std::size_t record, const RecordContents& contents, const Delivery& delivery);

    SceneFile& _file;
    Report& _report;
    tsg::SDBReader _reader;
    tsg::NodeRegistry _registry;
};

} // namespace tavosce
