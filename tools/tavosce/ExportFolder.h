#pragma once

#include "Json.h"
#include "NodeDataset.h"
#include "OutputFile.h"
#include "RecordWalk.h"
#include "SceneFile.h"

#include "scenegraph/SceneGraph.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tavosce
{

/// The files that an export made of one record.
struct ExportedRecord
{
    std::size_t index = 0;
    int frame = 0;
    std::string folder;                       ///< in the output, with a slash at its end; empty for the output itself
    std::map<std::string, std::string> files; ///< object key to name in the folder
    std::set<std::string> withGeometry;       ///< the keys whose files hold more than field data

    /// Writes an object with what is above.
    void writeTo(Json& json) const;
};

/// Writes the datasets and nodes of records into a new folder.
class ExportFolder
{
public:
    /// Scene file and report stay with the caller. Throws as OutputFolder.
    ExportFolder(const std::string& target, bool force, const SceneFile& file, Report& report);

    /// Writes the datasets of a record's nodes and record.json. The graph is not used again. Throws Failure
    /// CannotWrite, and Interruption.
    ExportedRecord write(const tsg::SceneGraph& graph, const RecordContents& contents, std::size_t record,
                         const std::string& folder);

    /// For every polydata a collection of its files over the records, by frame; by record where frames repeat.
    void writeCollections(const std::vector<ExportedRecord>& records);

    /// Makes the folder visible. Throws Failure CannotWrite.
    void install() { _output.install(_file.path()); }

private:
    /// The name without extension for what belongs to a key: the same in every record, and no other key's.
    const std::string& baseOf(const std::string& objectKey);
    void writeRecordJson(const RecordContents& contents, const ExportedRecord& record);

    const SceneFile& _file;
    Report& _report;
    OutputFolder _output;
    std::map<std::string, std::string> _bases; ///< by object key
    std::set<std::string> _usedBases;
    std::map<std::string, int> _lastNumbers; ///< that told names with the same beginning apart
};

} // namespace tavosce
