#include "RecordJson.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <vtkSetGet.h>
#include <vtkType.h>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

} // namespace

void writeRecordHeader(Json& json, std::size_t index, const Properties& header)
{
    json.member("index", static_cast<std::uint64_t>(index));
    json.member("title", header.getString(key::TITLE));
    json.member("description", header.getString(key::DESCRIPTION));
    json.member("session", header.getString(key::SESSION_ID));
    json.member("frame", header.getInt(key::FRAME));
    json.member("version", header.getInt(key::VERSION));
    json.member("rootNodeKey", header.getString(key::ROOT_NODE_KEY));
    json.member("filePos", sdb::hexFromProp(header, key::FILE_POS));
    json.member("length", sdb::hexFromProp(header, key::LENGTH));
    json.member("binaryData", sdb::hexFromProp(header, key::BINARY_DATA));
}

void writeNode(Json& json, const StoredNode& node, const std::string& file)
{
    json.beginObject();
    json.member("objectKey", node.objectKey);
    json.member("properties", node.properties);
    if (!file.empty())
    {
        json.member("file", file);
    }
    json.endObject();
}

void writeBlock(Json& json, const StoredBlock& block)
{
    json.beginObject();
    json.member("objectKey", block.objectKey());
    json.member("tag", block.kind());
    if (block.isArray())
    {
        json.member("name", block.name());
        json.member("dataType", block.tag.getInt(key::DATA_TYPE));
        json.member("components", block.tag.getInt(key::NUMBER_OF_COMPONENTS));
        json.member("tuples", block.tag.getInt(key::NUMBER_OF_TUPLES));
    }
    else
    {
        for (const char* const member : {"name", "dataType", "components", "tuples"})
        {
            json.nullMember(member);
        }
    }
    json.member("filePos", block.filePos);
    json.member("length", block.length);
    json.member("shared", block.shared);
    json.endObject();
}

void writeNodes(Json& json, const RecordContents& contents)
{
    json.beginArray("nodes");
    for (const StoredNode& node : contents.nodes)
    {
        writeNode(json, node);
    }
    json.endArray();
}

void writeBlocks(Json& json, const RecordContents& contents)
{
    json.beginArray("blocks");
    for (const StoredBlock& block : contents.blocks)
    {
        writeBlock(json, block);
    }
    json.endArray();
}

std::string typeName(int vtkType)
{
    return tsg::detail::isStorable(vtkType) ? vtkImageScalarTypeNameMacro(vtkType) : "type " + std::to_string(vtkType);
}

std::string shapeOf(const StoredBlock& array)
{
    return std::to_string(array.tag.getInt(key::NUMBER_OF_TUPLES)) + " x " +
           std::to_string(array.tag.getInt(key::NUMBER_OF_COMPONENTS)) + ' ' +
           typeName(array.tag.getInt(key::DATA_TYPE));
}

} // namespace tavosce
