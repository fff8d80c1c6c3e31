#pragma once

#include "core/Export.h"
#include "scenegraph/NodeStream.h"

#include <iosfwd>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>

namespace OS
{
class Folder;
enum class LineEnds;
} // namespace OS

/// Kind of a data file of a scene directory, stored in its header: never to be renumbered. Scene databases number their
/// kinds differently. A file may hold any number here, hence the fixed type.
enum SceneGraphWriterTags : int
{
    TagPointData = 0,
    TagCellData = 1,
    TagPolyData = 2,
    TagNodeDataA = 3, ///< node data with NodeStream::DataTag 7
    TagNodeDataB = 4, ///< node data with NodeStream::DataTag 1
    TagNodeDataC = 5, ///< node data with NodeStream::DataTag 2; read, never written
    TagNodeDataD = 6, ///< node data with NodeStream::DataTag 3; read, never written
    TagNodeDataE = 7  ///< node data with NodeStream::DataTag 4; read, never written
};

namespace tsg
{

class Node;
class SceneNode;

/// Saves a scene graph as a scene directory: docs/formats/scene-directory.md describes the files.
///
/// One writer per save is the normal use. A writer keeps every node that it has collected: a further save writes the
/// nodes of the earlier ones again, and what they refer to by now is not looked at. Callers keep the nodes alive as
/// long as the writer is used. One thread uses a writer.
class TAVO_EXPORT SceneGraphWriter : public NodeStream
{
public:
    SceneGraphWriter();
    /// Copies have paths and a set of nodes of their own, and share an open scene file.
    SceneGraphWriter(const SceneGraphWriter&);
    SceneGraphWriter& operator=(const SceneGraphWriter&);
    /// The source is left without nodes.
    SceneGraphWriter(SceneGraphWriter&& other) noexcept;
    SceneGraphWriter& operator=(SceneGraphWriter&& other) noexcept;
    ~SceneGraphWriter() override;

    /// Writes everything that can be reached from `root` into a directory (UTF-8, or any bytes that the system takes),
    /// which is made if it is missing; its folder "tsg" may be no link. Each file takes its name when it is complete,
    /// in place of an earlier one. Where the data of an earlier save is in a file of another name, that is removed at
    /// the end. All other files in the directory stay, and are part of what is loaded from it.
    ///   true  - the scene file is written; hasFailed() tells whether all data is there
    ///   false - the scene file cannot be created; nothing is written
    /// Raises InternalError, with nothing written, for a reference that is empty or no node; the nodes of this call are
    /// forgotten. What a node or one of the operations below raises passes through as well; the scene file is then the
    /// earlier one, and of the data files those that came first are new.
    bool save(const std::string& directory, SceneNode& root);

    /// True if something of the last `save` is not in its files: a file that could not be opened or not be written to
    /// its end (one that was there is the earlier one then), an array or part of a polydata that cannot be stored, the
    /// values of an array of bits, which these files have no room for, or data of which there was more under the same
    /// kind, key and name. One line on standard error tells of each but the first.
    bool hasFailed() const { return _failed; }

private:
    /// Which data a file is of: kind, object key, name of the array.
    using Owner = std::tuple<int, std::string, std::string>;

    // What nodes call while they are asked to serialise themselves.

    /// Writes a node record; false outside of `save`.
    bool write(const std::string& name, Properties&& properties) override;
    /// Writes a polydata file. False for null, with no file; a file that cannot be opened counts as written.
    bool writePolys(const std::string& name, vtkPolyData* polys, TimeStamp stamp) override;
    // These write an array file; the polydata is not looked at. False if it cannot be stored (one line on standard
    // error) or the file cannot be opened (no message).
    bool writePointData(const std::string& name, vtkPolyData* polys, vtkDataArray* array) override;
    bool writeCellData(const std::string& name, vtkPolyData* polys, vtkDataArray* array) override;
    /// The same for the tags 1 and 7; raises InternalError for others.
    bool writeBinaryNodeData(const std::string& name, vtkDataArray* array, DataTag tag, TimeStamp stamp) override;
    /// Always raises InternalError.
    bool writePropNodeData(const std::string& name, Properties&& properties, DataTag tag) override;

    void collectAllNodes(Node& node);
    void writeScene(std::ostream& out);
    bool writeDataInternal(const std::string& name, vtkDataArray* array, SceneGraphWriterTags tag);
    std::string arrayFileName(const Owner& owner);
    template <class Write>
    bool writeDataFile(const Owner& owner, const std::string& fileName, OS::LineEnds lineEnds, const Write& write);
    void reportLoss(const std::string& what);
    void removeEarlierFiles();

    std::string _directory;                      ///< of the last save
    std::string _dataDirectory;                  ///< below it
    std::shared_ptr<OS::Folder> _dataFolder;     ///< that one; open inside of `save`, one object for all copies
    std::shared_ptr<std::ofstream> _sceneStream; ///< null outside of `save`; one object for all copies
    std::set<Node*> _nodes;                      ///< of all saves; borrowed
    std::map<std::string, Owner> _arrayFiles;    ///< of the last save, by name without extension
    std::set<Owner> _written;                    ///< the data of which the last save has completed a file
    bool _failed = false;                        ///< see hasFailed
};

} // namespace tsg
