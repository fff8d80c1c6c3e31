#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDBWriter.h"
#include "support/TemporaryDirectory.h"
#include "support/ToolRun.h"
#include "support/VtpFiles.h"

#include <cstdint>

#include <gmock/gmock.h>

namespace
{

using test::tool;
using testing::HasSubstr;

/// A file of two records, whose second shares all data with the first, and a thumbnail.
std::string sharedScene(const test::TemporaryDirectory& dir, const std::string& title)
{
    tsg::SceneNode root("SceneNode_1");
    tsg::PolyDataNode node("PolyDataNode_1");
    root.addChild(node);
    root.setName("two\nlines");
    auto polys = test::allCellKinds();
    polys->GetPointData()->AddArray(test::counting(VTK_INT, "a", 5, 1));
    polys->GetPointData()->AddArray(test::counting(VTK_DOUBLE, "empty", 0, 3));
    node.setPolyData(polys);
    tsg::SDBWriter writer;
    writer.open(dir.file("s.sce").wide, false, true);
    int index = 0;
    writer.addRecord(title, "d", "s", root, index);
    tsg::Bitmap<3> picture;
    picture.resize(4, 2);
    writer.addThumbnail(0, picture);
    writer.addRecord(title, "d", "s", root, index);
    return dir.file("s.sce").narrow;
}

TEST(InfoTest, jsonTellsWhereEverythingIs)
{
    const test::TemporaryDirectory dir;
    const std::string file = sharedScene(dir, "caf\xe9");
    const std::string bytes = test::bytesOf(file);
    const auto run = tool({"info", file, "--json"});
    EXPECT_EQ(run.code, 0) << run.err;
    const auto info = run.json();
    ASSERT_TRUE(info.IsObject()) << run.out;
    EXPECT_EQ(info["schema"].GetInt(), 1);
    EXPECT_EQ(info["file"], file.c_str());
    EXPECT_EQ(info["size"].GetUint64(), bytes.size());
    EXPECT_EQ(info["formatVersion"].GetInt(), 0);
    EXPECT_TRUE(info["whole"].GetBool());
    ASSERT_EQ(info["records"].Size(), 2U);
    for (const auto& record : info["records"].GetArray())
    {
        EXPECT_STREQ(record["title"]["base64"].GetString(), "Y2Fm6Q==");
        EXPECT_EQ(bytes.compare(record["filePos"].GetUint64(), 23, R"({"DataField":"Header",")"), 0);
        EXPECT_EQ(bytes.compare(record["binaryData"].GetUint64(), 26, R"({"DataField":"BinaryData",)"), 0);
        ASSERT_EQ(record["nodes"].Size(), 2U);
        EXPECT_STREQ(record["nodes"][1]["objectKey"].GetString(), "SceneNode_1");
        EXPECT_STREQ(record["nodes"][1]["properties"]["Name"].GetString(), "two\nlines");
        EXPECT_EQ(record["nodes"][1]["properties"]["Children"]["PolyDataNode_1"].GetInt(), 0);
        ASSERT_EQ(record["blocks"].Size(), 3U);
        const auto& array = record["blocks"][1];
        EXPECT_STREQ(array["name"].GetString(), "a");
        EXPECT_EQ(array["tag"].GetInt(), 1);
        EXPECT_EQ(array["dataType"].GetInt(), VTK_INT);
        EXPECT_EQ(array["components"].GetInt(), 1);
        EXPECT_EQ(array["tuples"].GetInt(), 5);
        EXPECT_EQ(array["length"].GetUint64(), 1 + 16 + std::uint8_t(bytes[array["filePos"].GetUint64() + 9]));
        EXPECT_EQ(record["blocks"][0]["name"].IsNull(), true);
        EXPECT_EQ(record["blocks"][2]["length"].GetUint64(), 1U);
        for (const auto& block : record["blocks"].GetArray())
        {
            EXPECT_EQ(block["shared"].GetBool(), &record == &info["records"][1]);
        }
    }
    ASSERT_EQ(info["thumbnails"].Size(), 1U);
    EXPECT_EQ(info["thumbnails"][0]["width"].GetInt(), 4);
    EXPECT_EQ(info["thumbnails"][0]["length"].GetInt(), 24);
    EXPECT_EQ(info["totals"]["savedBytes"], info["totals"]["payloadBytes"]);

    const std::string text = tool({"info", file}).out;
    EXPECT_THAT(text, HasSubstr("record 1 \"caf\\xe9\", frame 1 of session \"s\""));
    EXPECT_THAT(text, HasSubstr("point array \"a\" of PolyDataNode_1, 5 x 1 int"));
    EXPECT_THAT(text, HasSubstr("3 of them shared"));
    EXPECT_THAT(text, HasSubstr("the file is whole"));
}

TEST(InfoTest, everyTornFileIsToldAsSuch)
{
    const test::TemporaryDirectory dir;
    const std::string bytes = test::bytesOf(sharedScene(dir, "t"));
    const auto whole = tool({"info", dir.file("s.sce").narrow, "--json"}).json();
    const std::string torn = dir.file("torn.sce").narrow;
    const std::uint64_t second = whole["records"][1]["filePos"].GetUint64();
    for (std::uint64_t size = bytes.find('\n') + 1; size < bytes.size(); size += 7)
    {
        test::writeBytes(torn, bytes.substr(0, size));
        const auto run = tool({"info", torn, "--json"});
        const auto info = run.json();
        ASSERT_TRUE(info.IsObject());
        const std::uint64_t first = whole["records"][0]["filePos"].GetUint64();
        const bool boundary =
            size == first || size == second || size == first + whole["records"][0]["length"].GetUint64();
        EXPECT_EQ(info["whole"].GetBool(), boundary) << size;
        EXPECT_EQ(run.code, boundary ? 0 : 1) << run.err;
        EXPECT_EQ(run.err.empty(), boundary) << size;
        if (size >= second)
        {
            EXPECT_EQ(info["records"][0]["blocks"].Size(), 3U);
        }
    }
}

TEST(InfoTest, damageEndsTheWalkOfARecordAndNothingElse)
{
    const test::TemporaryDirectory dir;
    const std::string bytes = test::bytesOf(sharedScene(dir, "t"));
    const auto whole = tool({"info", dir.file("s.sce").narrow, "--json"}).json();
    const std::string damaged = dir.file("damaged.sce").narrow;

    struct Damage
    {
        std::string find;
        std::string put;
        const char* message;
    };

    const Damage damages[] = {
        {R"("Name":"a")", "\n\"Name\":\"a", "a tag that is cut off"},
        {R"("Length":"00000000000000)", R"("Length":"0000ff00000000)", "whose payload is not in the record"},
        {R"("FilePos":"00000000000)", R"("FilePos":"ffffffffffff)", "whose payload is not in the record"},
        {R"({"DataField":"Binary)", R"(!"DataField":"Binary)", "bytes that belong to no tag"},
    };
    for (const Damage& damage : damages)
    {
        std::string text = bytes;
        const std::size_t place = text.find(damage.find, whole["records"][0]["binaryData"].GetUint64());
        ASSERT_NE(place, std::string::npos);
        test::writeBytes(damaged, text.replace(place, damage.put.size(), damage.put));
        const auto run = tool({"info", damaged, "--json"});
        EXPECT_EQ(run.code, 1);
        EXPECT_THAT(run.err, HasSubstr("record 0 \"t\" (byte 0x"));
        EXPECT_THAT(run.err, HasSubstr(damage.message));
        const auto info = run.json();
        ASSERT_EQ(info["records"].Size(), 2U);
        EXPECT_EQ(info["records"][1]["blocks"].Size(), 3U) << damage.message;
    }
}

} // namespace
