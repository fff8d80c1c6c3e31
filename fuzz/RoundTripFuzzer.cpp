// What was read and written is the same when it is read and written again: dataset blocks, and records of scene
// databases.

#include "DatasetText.h"
#include "Delivery.h"
#include "FuzzTarget.h"

#include "scenegraph/io/SDBWriter.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "support/Scenes.h"

#include <vtkCellData.h>
#include <vtkFieldData.h>
#include <vtkPointData.h>

namespace
{

using fuzz::Delivery;
using fuzz::require;

/// Bits of more than one component do not survive: that is how the format has them.
void dropWideBits(vtkFieldData& fields)
{
    for (int i = fields.GetNumberOfArrays() - 1; i >= 0; --i)
    {
        vtkAbstractArray& array = *fields.GetAbstractArray(i);
        if (array.GetNumberOfComponents() > 1 && array.GetDataType() == VTK_BIT)
        {
            fields.RemoveArray(i);
        }
    }
}

void checkBlock(const std::string& bytes)
{
    const auto first = fuzz::readBlock(bytes);
    if (first == nullptr)
    {
        return;
    }
    dropWideBits(*first->GetFieldData());
    dropWideBits(*first->GetPointData());
    dropWideBits(*first->GetCellData());
    const std::string once = fuzz::writeBlock(*first);
    const auto second = fuzz::readBlock(once);
    require(second != nullptr, "a dataset block that was written can be read");
    require(fuzz::writeBlock(*second) == once, "a dataset block is stable");
}

/// The nodes of a delivery with their data, under a root.
class Graph
{
public:
    explicit Graph(const Delivery& delivery)
    {
        for (const Delivery::Record& record : delivery.nodes)
        {
            Properties properties = record.properties;
            properties.remove(tsg::Node::FlowProductReleaseTag);
            node(record.objectKey).restoreProperties(std::move(properties));
        }
        for (const Delivery::Piece& piece : delivery.data)
        {
            if (canBeWritten(piece.data))
            {
                node(piece.objectKey).addData(piece.data);
            }
        }
    }

    /// Of a node's own arrays a writer takes two kinds.
    static bool canBeWritten(const tsg::NodeData& data)
    {
        return data.kind != tsg::NodeData::Kind::NodeArray || data.tag == tsg::NodeStream::DataTag1 ||
               data.tag == tsg::NodeStream::DataTag7;
    }

    tsg::SceneNode root{""};

private:
    tsg::DataNode& node(const std::string& objectKey)
    {
        auto& place = _nodes[objectKey];
        if (objectKey.empty())
        {
            return root;
        }
        if (place == nullptr)
        {
            place = std::make_unique<tsg::DataNode>(objectKey, "", std::nullopt);
            root.addHandle(*place);
        }
        return *place;
    }

    std::map<std::string, std::unique_ptr<tsg::DataNode>> _nodes;
};

/// Everything that a delivery holds, as text. Data of one node comes in the order in which it was given.
std::string described(const Delivery& delivery)
{
    std::string text;
    for (const Delivery::Record& record : delivery.nodes)
    {
        text += record.objectKey + ' ' + record.properties.toString() + '\n';
    }
    for (const Delivery::Piece& piece : delivery.data)
    {
        text += piece.objectKey + ' ' + std::to_string(static_cast<int>(piece.data.kind)) + ' ';
        if (piece.data.polys != nullptr)
        {
            text += fuzz::writeBlock(*piece.data.polys);
        }
        if (vtkDataArray* const array = piece.data.array)
        {
            const tsg::detail::StoredValues values(*array, array->GetNumberOfValues());
            text += array->GetName() + std::string(" ") + std::to_string(array->GetDataType()) + ' ' +
                    std::to_string(array->GetNumberOfComponents()) + ' ' + std::string(values.data(), values.size());
        }
        text += '\n';
    }
    return text;
}

/// Writes a delivery as the only record of a file and loads that.
Delivery writtenAndRead(const Delivery& delivery)
{
    static const fuzz::ScratchFile file;
    Graph graph(delivery);
    tsg::SDBWriter writer;
    int index = -1;
    require(writer.open(file.path(), false, true) == tsg::io::FileIoStatus::Success &&
                writer.addRecord("t", "d", "s", graph.root, index) == tsg::io::FileIoStatus::Success && index == 0,
            "every delivery can be written");
    writer.close();
    tsg::SDBReader reader;
    Delivery res;
    require(fuzz::open(reader, file.path()) && fuzz::load(reader, 0, res), "what was written can be loaded");
    return res;
}

void checkRecords(const std::string& bytes)
{
    static const fuzz::ScratchFile file;
    file.write(bytes);
    tsg::SDBReader reader;
    if (!fuzz::open(reader, file.path()))
    {
        return;
    }
    for (std::size_t i = 0; i < reader.getRecords().size(); ++i)
    {
        Delivery loaded;
        fuzz::load(reader, i, loaded);
        const Delivery once = writtenAndRead(loaded);
        require(described(writtenAndRead(once)) == described(once), "a record is stable");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    const std::string bytes = fuzz::asString(data, size);
    if (!bytes.empty() && bytes[0] == '#')
    {
        checkBlock(bytes);
    }
    else
    {
        checkRecords(bytes);
    }
    return 0;
}
