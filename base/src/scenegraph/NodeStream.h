#pragma once

#include "core/Export.h"
#include "core/Properties.h"
#include "scenegraph/NodeRegistry.h"
#include "scenegraph/TimeStamp.h"

#include <string>

class vtkDataArray;
class vtkPolyData;

namespace tsg
{

/// What nodes serialise themselves into, and what a loaded scene is delivered to. The first argument of every operation
/// is the object key of the node. VTK objects stay with the caller: a receiver that keeps one registers its own
/// reference. The operations answer whether the data was taken.
class TAVO_EXPORT NodeStream
{
public:
    /// What an array of a node means to it; the numbers are the node classes' own.
    enum DataTag
    {
        DataTag1 = 1,
        DataTag2 = 2,
        DataTag3 = 3,
        DataTag4 = 4,
        DataTag7 = 7
    };

    virtual ~NodeStream();

    // The order of these operations is the order of their slots.
    virtual bool write(const std::string& objectKey, Properties&& properties) = 0;
    virtual bool writePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp) = 0;
    /// Polydata that no other node offers; by default as `writePolys`.
    virtual bool writeUniquePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp);
    virtual bool writePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) = 0;
    /// Point data that no other node offers; by default as `writePointData`.
    virtual bool writeUniquePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array);
    virtual bool writeCellData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) = 0;
    virtual bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag,
                                     TimeStamp stamp) = 0;
    virtual bool writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag) = 0;
    /// The registry that upgrades what is delivered; by default one of the process without classes and steps.
    virtual NodeRegistry& getNodeRegistry();
    /// Events of whoever drives the stream; ignored by default.
    virtual void notify(const Properties& event);

    /// `writeBinaryNodeData` with the array's own modification time as stamp.
    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag);
};

} // namespace tsg
