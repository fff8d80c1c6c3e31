#pragma once

#include "scenegraph/NodeData.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/io/SDBReader.h"
#include "support/Testing.h"

namespace fuzz
{

/// Keeps all that a reader delivers, in the order in which it came.
class Delivery : public tsg::NodeStream
{
public:
    struct Piece
    {
        std::string objectKey;
        tsg::NodeData data;
    };

    struct Record
    {
        std::string objectKey;
        Properties properties;
    };

    bool write(const std::string& objectKey, Properties&& properties) override;
    bool writePolys(const std::string& objectKey, vtkPolyData* polys, tsg::TimeStamp stamp) override;
    bool writePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override;
    bool writeCellData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override;
    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag,
                             tsg::TimeStamp stamp) override;
    bool writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag) override;

    /// Looks at every value, point and cell.
    void touch() const;

    std::vector<Record> nodes;
    std::vector<Piece> data;
};

/// Opens a file, a stray tag in it included. False if it is refused.
bool open(tsg::SDBReader& reader, const std::wstring& path);

/// Loads a record; false if it cannot be loaded, for whatever reason is a stated one.
bool load(tsg::SDBReader& reader, std::size_t record, tsg::NodeStream& stream);

} // namespace fuzz
