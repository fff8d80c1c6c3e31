#include "scenegraph/PolyDataNode.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

namespace
{

using namespace test;

class InfoTest : public ToolTest
{
protected:
    /// Writes "s.sce": two records, whose second shares all data with the first, and a thumbnail.
    std::string sharedScene(const std::string& title) const
    {
        tsg::SceneNode root("SceneNode_1");
        tsg::PolyDataNode node("PolyDataNode_1");
        root.addChild(node);
        root.setName("two\nlines");
        auto polys = allCellKinds();
        polys->GetPointData()->AddArray(counting(VTK_INT, "a", 5, 1));
        polys->GetPointData()->AddArray(counting(VTK_DOUBLE, "empty", 0, 3));
        node.setPolyData(polys);
        tsg::SDBWriter writer;
        writer.open(dir.file("s.sce").wide, false, true);
        add(writer, root, "s", title);
        tsg::Bitmap<3> picture;
        picture.resize(4, 2);
        writer.addThumbnail(0, picture);
        add(writer, root, "s", title);
        writer.close();
        return bytes("s.sce");
    }
};

TEST_F(InfoTest, jsonTellsWhereEverythingIs)
{
    const std::string content = sharedScene("caf\xe9");
    const auto document = info("s.sce");
    ASSERT_EQ(document["records"].Size(), 2U);
    const std::pair<const char*, std::string> members[] = {
        {"/schema", "1"},
        {"/file", '"' + path("s.sce") + '"'},
        {"/size", std::to_string(content.size())},
        {"/formatVersion", "0"},
        {"/whole", "true"},
        {"/records/0/title", R"({"base64":"Y2Fm6Q=="})"},
        {"/records/0/nodes/1/objectKey", R"("SceneNode_1")"},
        {"/records/1/nodes/1/properties/Name", R"("two\nlines")"},
        {"/records/1/nodes/1/properties/Children", R"({"PolyDataNode_1":0})"},
        {"/records/0/blocks/0/name", "null"},
        {"/records/1/blocks/1/name", R"("a")"},
        {"/records/0/blocks/1/tag", "1"},
        {"/records/0/blocks/1/dataType", std::to_string(VTK_INT)},
        {"/records/0/blocks/1/components", "1"},
        {"/records/0/blocks/1/tuples", "5"},
        {"/records/0/blocks/2/length", "1"},
        {"/thumbnails/0/width", "4"},
        {"/thumbnails/0/length", "24"},
        {"/thumbnails/1", "null"},
        {"/totals/savedBytes", at(document, "/totals/payloadBytes")},
    };
    for (const auto& [member, value] : members)
    {
        EXPECT_EQ(at(document, member), value) << member;
    }
    for (const auto& record : document["records"].GetArray())
    {
        EXPECT_EQ(content.compare(record["filePos"].GetUint64(), 23, R"({"DataField":"Header",")"), 0);
        EXPECT_EQ(content.compare(record["binaryData"].GetUint64(), 26, R"({"DataField":"BinaryData",)"), 0);
        ASSERT_EQ(record["blocks"].Size(), 3U);
        const auto& array = record["blocks"][1]; // compressed, its size in front
        EXPECT_EQ(array["length"].GetUint64(), 1 + 16 + std::uint8_t(content[array["filePos"].GetUint64() + 9]));
        for (const auto& block : record["blocks"].GetArray())
        {
            EXPECT_EQ(block["shared"].GetBool(), &record == &document["records"][1]);
        }
    }
    EXPECT_THAT(run("info @s.sce").out, AllOf(HasSubstr("record 1 \"caf\\xe9\", frame 1 of session \"s\""),
                                              HasSubstr("point array \"a\" of PolyDataNode_1, 5 x 1 int"),
                                              HasSubstr("3 of them shared"), HasSubstr("the file is whole")));
}

TEST_F(InfoTest, everyTornFileIsToldAsSuch)
{
    const std::string content = sharedScene("t");
    const auto whole = info("s.sce");
    const std::uint64_t first = whole["records"][0]["filePos"].GetUint64(),
                        second = whole["records"][1]["filePos"].GetUint64(),
                        firstEnd = first + whole["records"][0]["length"].GetUint64();
    for (std::uint64_t size = first; size < content.size(); ++size)
    {
        SCOPED_TRACE(size);
        write("torn.sce", content.substr(0, size));
        const auto torn = run("info @torn.sce --json");
        const auto document = torn.json();
        ASSERT_TRUE(document.IsObject());
        const bool boundary = size == first || size == second || size == firstEnd;
        EXPECT_EQ(document["whole"].GetBool(), boundary);
        EXPECT_EQ(torn.code, boundary ? 0 : 1) << torn.err;
        EXPECT_EQ(torn.err.empty(), boundary);
        if (size >= second)
        {
            EXPECT_EQ(document["records"][0]["blocks"].Size(), 3U);
        }
    }
}

TEST_F(InfoTest, damageEndsTheWalkOfARecordAndNothingElse)
{
    const std::string content = sharedScene("t");
    const std::size_t blocks = info("s.sce")["records"][0]["binaryData"].GetUint64();
    // what is found, what takes its place, what is said
    const std::tuple<std::string, std::string, const char*> damages[] = {
        {R"("Name":"a")", "\n\"Name\":\"a", "a tag that is cut off"},
        {R"("Length":"00000000000000)", R"("Length":"0000ff00000000)", "whose payload is not in the record"},
        {R"("FilePos":"00000000000)", R"("FilePos":"ffffffffffff)", "whose payload is not in the record"},
        {R"({"DataField":"Binary)", R"(!"DataField":"Binary)", "bytes that belong to no tag"},
    };
    for (const auto& [find, put, message] : damages)
    {
        write("damaged.sce", std::string(content).replace(content.find(find, blocks), put.size(), put));
        const auto damaged = run("info @damaged.sce --json");
        EXPECT_EQ(damaged.code, 1);
        EXPECT_THAT(damaged.err, AllOf(HasSubstr("record 0 \"t\" (byte 0x"), HasSubstr(message)));
        const auto document = damaged.json();
        ASSERT_EQ(document["records"].Size(), 2U);
        EXPECT_EQ(document["records"][1]["blocks"].Size(), 3U) << message;
    }
    write("damaged.sce", content.substr(0, blocks)); // between two tags
    EXPECT_THAT(run("info @damaged.sce").err, HasSubstr("the record reaches beyond the end of the file"));
}

} // namespace
