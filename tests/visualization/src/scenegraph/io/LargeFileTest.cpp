// Files beyond 4 GiB. They are sparse: the hole takes no room, and nothing reads it.

#include "scenegraph/io/SDB.h"
#include "support/ContainerBytes.h"
#include "support/Scenes.h"

namespace
{

using namespace test;
using tsg::io::FileIoStatus;

constexpr std::uint64_t HOLE = std::uint64_t{5} << 30;

/// Moves what a tag's hexadecimal number says behind the hole.
Edit behindHole(const std::string& key)
{
    return [=](Properties& tag) { position(key, sdb::hexFromProp(tag, key) + HOLE)(tag); };
}

class LargeFileTest : public SceneFileTest
{
protected:
    /// One record of three arrays; the payload of the second spans the hole.
    void writeFileWithHole()
    {
        ContainerBytes content;
        content.record("first",
                       {storedBlock(*before), storedBlock(*across, behindHole("Length")),
                        storedBlock(*behind, behindHole("FilePos"))},
                       [](Properties& tag)
                       {
                           if (sdb::hexFromProp(tag, "Length") > 0)
                           {
                               behindHole("Length")(tag);
                           }
                       });
        const std::size_t hole = content.str().rfind(R"({"DataField")");
        std::ofstream out(file.narrow, std::ios::binary);
        out << content.str().substr(0, hole);
        out.seekp(static_cast<std::streamoff>(HOLE), std::ios::cur);
        out << content.str().substr(hole);
    }

    void expectRecord(int record)
    {
        RecordingStream received;
        ASSERT_TRUE(reader.loadRecord(record, received));
        for (const auto& array : {before, across, behind})
        {
            EXPECT_EQ(valuesOf(received.arrays["point N_1/" + std::string(array->GetName())]), valuesOf(array));
        }
    }

    const vtkSmartPointer<vtkDataArray> before = floats("before", {1, 2, 3});
    const vtkSmartPointer<vtkDataArray> across = floats("across", {4, 5});
    const vtkSmartPointer<vtkDataArray> behind = floats("behind", {6, 7, 8, 9});
};

TEST_F(LargeFileTest, aRecordAcrossFiveGibibytesIsLoadedAndItsDataStoredOnce)
{
    writeFileWithHole();
    const std::uint64_t size = std::filesystem::file_size(file.narrow);
    ASSERT_GT(size, HOLE);
    ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    ASSERT_EQ(reader.getRecords().size(), 1U);
    expectRecord(0);

    tsg::SDBWriter writer;
    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    Scene scene("N_1");
    scene.with(before).with(across).with(behind).with(floats("new", {10}));
    tsg::Bitmap<3> picture;
    picture.resize(2, 1);
    std::fill_n(picture.getData(), picture.getSize(), std::uint8_t{7});
    EXPECT_EQ(add(writer, scene), 1);
    EXPECT_EQ(writer.addThumbnail(1, picture), FileIoStatus::Success);
    EXPECT_FALSE(writer.hasFailed());
    writer.close();

    ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    ASSERT_EQ(reader.getRecords().size(), 2U);
    EXPECT_EQ(sdb::hexFromProp(reader.getRecords()[1], "FilePos"), size);
    expectRecord(0);
    expectRecord(1);
    ASSERT_TRUE(reader.loadRecord(1, stream));
    EXPECT_EQ(valuesOf(stream.arrays["point N_1/new"]), std::vector<double>{10});
    ASSERT_EQ(reader.getThumbnails().size(), 1U);
    tsg::Bitmap<3> shown;
    reader.getThumbnailData(reader.getThumbnails()[0], shown);
    ASSERT_EQ(shown.getSize(), picture.getSize());
    EXPECT_EQ(shown.getData()[5], 7);

    // Only the new array has a payload of its own; the others lie on both sides of the hole.
    std::ifstream in(file.narrow, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(size));
    std::vector<std::string> stored, shared;
    for (Properties tag; sdb::getNextProperty(in, tag) && tag.getString("DataField") != "Thumbnail";)
    {
        if (tag.getString("DataField") == "BinaryData")
        {
            const bool isNew = sdb::hexFromProp(tag, "FilePos") > size;
            (isNew ? stored : shared).push_back(tag.getString("Name"));
        }
    }
    EXPECT_THAT(stored, ElementsAre("new"));
    EXPECT_THAT(shared, ElementsAre("before", "across", "behind"));
}

} // namespace
