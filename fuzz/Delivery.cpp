#include "Delivery.h"

#include "core/Error.h"
#include "support/TouchEverything.h"

#include <climits>
#include <numeric>

#include <vtkDataArray.h>

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

namespace
{

/// Looks at every byte of an array's values. (A few bytes of a file can make an array of very many bits.)
double sumOf(vtkDataArray& array)
{
    const vtkIdType count = array.GetNumberOfValues();
    const vtkIdType bytes =
        array.GetDataType() == VTK_BIT ? (count + CHAR_BIT - 1) / CHAR_BIT : count * array.GetDataTypeSize();
    const auto* const begin = static_cast<const unsigned char*>(bytes > 0 ? array.GetVoidPointer(0) : nullptr);
    return std::accumulate(begin, begin + bytes, 0.0);
}

} // namespace

void Delivery::touch() const
{
    double sum = 0.0;
    for (const Piece& piece : data)
    {
        if (piece.data.polys != nullptr)
        {
            sum += test::touchEverything(*piece.data.polys);
        }
        if (piece.data.array != nullptr)
        {
            sum += sumOf(*piece.data.array);
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
