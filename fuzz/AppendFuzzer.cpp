// Adding to any file: it is refused and stays as it was, or what was added can be read, and all that could be read
// before as well.

#include "Delivery.h"
#include "FuzzTarget.h"

#include "core/Error.h"
#include "support/Scenes.h"

namespace
{

using fuzz::require;

const std::string SESSION = "a session that no file has";

bool openForAdding(tsg::SDBWriter& writer, const std::wstring& path)
{
    try
    {
        return writer.open(path, true, true) == tsg::io::FileIoStatus::Success;
    }
    catch (const InternalError&)
    {
        return false; // a stray tag
    }
}

/// What a file lists.
struct Listed
{
    std::vector<Properties> records;
    std::vector<Properties> thumbnails;
};

Listed listed(const std::wstring& path)
{
    tsg::SDBReader reader;
    (void)fuzz::open(reader, path);
    return {reader.getRecords(), reader.getThumbnails()};
}

void checkAdded(const std::wstring& path, const Listed& before, int index)
{
    tsg::SDBReader reader;
    require(fuzz::open(reader, path), "a file that was added to can be opened");
    const auto& records = reader.getRecords();
    const std::size_t count = before.records.size();
    require(records.size() == count + 1 && std::equal(before.records.begin(), before.records.end(), records.begin()),
            "the records that were there are there");
    require(reader.getThumbnails() == before.thumbnails, "the thumbnails that were there are there");
    require(index == static_cast<int>(count) && records.back().getString("SessionID") == SESSION,
            "the new record is the last");
    fuzz::Delivery delivery;
    require(fuzz::load(reader, count, delivery) && delivery.nodes.size() == 1 && delivery.data.size() == 1 &&
                test::valuesOf(delivery.data[0].data.array) == std::vector<double>{1, 2, 3},
            "the new record can be loaded");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    static const fuzz::ScratchFile file;
    const std::string bytes = fuzz::asString(data, size);
    file.write(bytes);
    const Listed before = listed(file.path());
    tsg::SDBWriter writer;
    const bool opened = openForAdding(writer, file.path());
    require(file.bytes() == bytes, "opening changes nothing");
    if (opened)
    {
        test::Scene scene("SceneNode_9");
        const int index = test::add(writer, scene.with(test::floats("T", {1, 2, 3})), SESSION);
        require(!writer.hasFailed(), "there is room");
        writer.close();
        checkAdded(file.path(), before, index);
    }
    return 0;
}
