// A whole scene database: every record and every thumbnail is loaded and looked at, and geometry nodes are rebuilt.

#include "Delivery.h"
#include "FuzzTarget.h"
#include "MemoryWatch.h"

#include "scenegraph/PolyDataNode.h"

#include <utility>

namespace
{

/// A geometry node that is made of properties and of the data under its key.
Properties described(const std::string& objectKey, Properties properties, const fuzz::Delivery& delivery)
{
    tsg::PolyDataNode node(objectKey);
    node.restoreProperties(std::move(properties));
    for (const fuzz::Delivery::Piece& piece : delivery.data)
    {
        if (piece.objectKey == objectKey)
        {
            node.addData(piece.data);
        }
    }
    node.interpretData();
    (void)node.assemble();
    return node.describe();
}

/// What geometry nodes say of themselves is the same when they are made of it.
void rebuild(const fuzz::Delivery& delivery)
{
    for (const fuzz::Delivery::Record& record : delivery.nodes)
    {
        if (tsg::classNameOf(record.objectKey) == tsg::PolyDataNode::getClassName())
        {
            const Properties once = described(record.objectKey, record.properties, delivery);
            fuzz::require(described(record.objectKey, once, delivery) == once, "a geometry node is stable");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    static const fuzz::ScratchFile file;
    file.write(fuzz::asString(data, size));
    tsg::SDBReader reader;
    if (!fuzz::open(reader, file.path()))
    {
        return 0;
    }
    for (std::size_t i = 0; i < reader.getRecords().size(); ++i)
    {
        fuzz::Delivery delivery;
        {
            const fuzz::MemoryWatch watch(size);
            fuzz::load(reader, i, delivery);
        }
        delivery.touch();
        rebuild(delivery);
    }
    for (const Properties& tag : reader.getThumbnails())
    {
        const fuzz::MemoryWatch watch(size);
        tsg::Bitmap<3> bitmap;
        reader.getThumbnailData(tag, bitmap);
        fuzz::require(bitmap.getSize() == std::uint64_t{3} * bitmap.getWidth() * bitmap.getHeight(),
                      "a bitmap has as many bytes as pixels");
    }
    return 0;
}
