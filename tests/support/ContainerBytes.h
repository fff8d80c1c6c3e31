#pragma once

#include "core/Properties.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Positions.h"
#include "support/Testing.h"

#include <optional>

#include <vtkDataArray.h>

namespace test
{

/// Changes a finished tag before it goes into the file.
using Edit = std::function<void(Properties& tag)>;

/// Sets a position of a tag to another value, of the same length.
inline Edit position(const std::string& key, std::uint64_t value)
{
    return [=](Properties& tag) { tag.set(key, sdb::detail::hexPosition(value), Properties::Overwrite); };
}

/// A block of a record: its array name and payload, or the name alone and the payload of an earlier block.
struct RawBlock
{
    std::string name;
    std::string payload = {};
    std::optional<std::pair<std::uint64_t, std::uint64_t>> shared = {}; ///< "FilePos" and "Length" of that payload
    Edit edit = {};
};

/// Makes the block one of three characters.
inline Edit chars(const Edit& more = {}, int type = VTK_UNSIGNED_CHAR)
{
    return [=](Properties& tag)
    {
        tag.set("NumberOfComponents", 1);
        tag.set("NumberOfTuples", 3);
        tag.set("DataType", type);
        if (more)
        {
            more(tag);
        }
    };
}

/// A block that a writer could have stored for this array of floats; `change` is the last to edit its tag.
inline RawBlock storedBlock(vtkDataArray& array, const Edit& change = {})
{
    std::ostringstream payload;
    sdb::writeCompressed(payload, static_cast<const char*>(array.GetVoidPointer(0)),
                         static_cast<std::size_t>(array.GetNumberOfValues()) * sizeof(float),
                         tsg::CompressionMethods::None);
    RawBlock block{array.GetName(), payload.str()};
    block.edit = [&array, change](Properties& tag)
    {
        tag.set("DataType", array.GetDataType());
        tag.set("NumberOfComponents", array.GetNumberOfComponents());
        tag.set("NumberOfTuples", static_cast<int>(array.GetNumberOfTuples()));
        tag.set("MTime", static_cast<std::int64_t>(array.GetMTime()));
        if (change)
        {
            change(tag);
        }
    };
    return block;
}

/// Builds the bytes of a scene database item by item, with right positions unless an edit says otherwise. Edits see a
/// tag with its final positions and must keep its length if what follows is to stay right.
class ContainerBytes
{
public:
    /// Begins with the file header.
    ContainerBytes()
    {
        std::ostringstream out;
        sdb::writeHeader(out);
        _bytes = out.str();
    }

    /// Goes on where other bytes end.
    explicit ContainerBytes(std::string bytes)
        : _bytes(std::move(bytes))
    {
    }

    ContainerBytes& raw(const std::string& bytes)
    {
        _bytes += bytes;
        return *this;
    }

    /// A record of session "s" with one node tag and the given blocks, all of them of the node "N_1".
    ContainerBytes& record(const std::string& title, const std::vector<RawBlock>& blocks = {}, const Edit& edit = {})
    {
        const std::uint64_t begin = _bytes.size();
        const auto header = [&](std::uint64_t length, std::uint64_t binaryData)
        {
            Properties tag(R"({"DataField":"Header","Version":2,"SessionID":"s","RootNodeKey":"N_1"})");
            tag.set("Title", title);
            tag.set("FilePos", hex(begin));
            tag.set("Length", hex(length));
            tag.set("BinaryData", hex(binaryData));
            return edited(tag, edit);
        };
        _bytes += header(0, 0);
        _bytes += R"({"DataField":"Node","ObjectKey":"N_1","Properties":{"Name":"n"}})";
        const std::uint64_t binaryData = _bytes.size();
        for (const RawBlock& rawBlock : blocks)
        {
            block(rawBlock);
        }
        const std::string final = header(_bytes.size() - begin, binaryData);
        _bytes.replace(begin, final.size(), final);
        return *this;
    }

    /// A block tag with its payload.
    ContainerBytes& block(const RawBlock& rawBlock)
    {
        const auto text = [&](std::uint64_t filePos, std::uint64_t length)
        {
            Properties tag(R"({"DataField":"BinaryData","ObjectKey":"N_1","Tag":1})");
            tag.set("FilePos", hex(filePos));
            tag.set("Length", hex(length));
            tag.set("Name", rawBlock.name);
            return edited(tag, rawBlock.edit);
        };
        if (rawBlock.shared)
        {
            _bytes += text(rawBlock.shared->first, rawBlock.shared->second);
            return *this;
        }
        const std::uint64_t payload = _bytes.size() + text(0, 0).size();
        lastPayload = {payload, rawBlock.payload.size()};
        _bytes += text(payload, rawBlock.payload.size()) + rawBlock.payload;
        return *this;
    }

    /// A picture of 2 x 2 pixels, unless an edit says otherwise.
    ContainerBytes& thumbnail(int recordIndex, const Edit& edit = {}, const std::string& pixels = "abcdefghijkl")
    {
        const auto text = [&](std::uint64_t filePos)
        {
            Properties tag(R"({"DataField":"Thumbnail","Width":2,"Height":2})");
            tag.set("RecordIndex", recordIndex);
            tag.set("FilePos", hex(filePos));
            tag.set("Length", hex(pixels.size()));
            return edited(tag, edit);
        };
        _bytes += text(_bytes.size() + text(0).size()) + pixels;
        return *this;
    }

    const std::string& str() const { return _bytes; }

    std::uint64_t size() const { return _bytes.size(); }

    /// Of the last block with a payload of its own.
    std::pair<std::uint64_t, std::uint64_t> lastPayload;

private:
    static std::string hex(std::uint64_t value) { return sdb::detail::hexPosition(value); }

    static std::string edited(Properties& tag, const Edit& edit)
    {
        if (edit)
        {
            edit(tag);
        }
        return tag.toString();
    }

    std::string _bytes;
};

} // namespace test
