#include "Delivery.h"

#include "core/Error.h"
#include "support/Datasets.h"
#include "support/TouchEverything.h"

namespace fuzz
{

using tsg::NodeData;

bool Delivery::write(const std::string& objectKey, Properties&& properties)
{
    nodes.push_back({objectKey, std::move(properties)});
    return true;
}

bool Delivery::writePolys(const std::string& objectKey, vtkPolyData* polys, tsg::TimeStamp stamp)
{
    data.push_back({objectKey, NodeData::ofPolys(polys, stamp)});
    return true;
}

bool Delivery::writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array)
{
    data.push_back({objectKey, NodeData::ofPoints(array)});
    return true;
}

bool Delivery::writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array)
{
    data.push_back({objectKey, NodeData::ofCells(array)});
    return true;
}

bool Delivery::writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag, tsg::TimeStamp stamp)
{
    data.push_back({objectKey, NodeData::ofNode(array, tag, stamp)});
    return true;
}

bool Delivery::writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag)
{
    data.push_back({objectKey, NodeData::ofRecord(std::move(properties), tag)});
    return true;
}

void Delivery::touch() const
{
    double sum = 0.0;
    for (const Piece& piece : data)
    {
        if (piece.data.polys != nullptr)
        {
            sum += test::touchEverything(*piece.data.polys);
        }
        for (const double value : test::valuesOf(piece.data.array))
        {
            sum += value;
        }
    }
    static volatile double kept; // so that nothing of this is optimised away
    kept = sum;
    (void)kept;
}

bool open(tsg::SDBReader& reader, const std::wstring& path)
{
    try
    {
        return reader.open(path) == tsg::io::FileIoStatus::Success;
    }
    catch (const InternalError&)
    {
        return true; // what stands before the stray tag is listed
    }
}

bool load(tsg::SDBReader& reader, std::size_t record, tsg::NodeStream& stream)
{
    try
    {
        return reader.loadRecord(static_cast<int>(record), stream);
    }
    catch (const InternalError&)
    {
        return false; // a block of unknown kind
    }
    catch (const std::length_error&)
    {
        return false; // a block that is longer than any memory
    }
}

} // namespace fuzz
