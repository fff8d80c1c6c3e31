#include "core/Error.h"
#include "scenegraph/OpaqueNode.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDBWriter.h"
#include "support/TemporaryDirectory.h"
#include "support/ToolRun.h"
#include "support/VtpFiles.h"

#include <filesystem>

#include <gmock/gmock.h>

namespace
{

using test::tool;
using testing::HasSubstr;

class ExportTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return dir.file(name).narrow; }

    rapidjson::Document jsonOf(const std::string& name) const
    {
        rapidjson::Document res;
        res.Parse(test::bytesOf(path(name)).c_str());
        return res;
    }

    test::TemporaryDirectory dir;
};

TEST_F(ExportTest, nodesOfUnknownClassesLoseNothing)
{
    tsg::SceneNode root("SceneNode_1");
    tsg::OpaqueNode tube("Tube/1"), table("Chart%2F_1"), bare("Bare_1");
    for (tsg::Node* const child : {&tube, &table, &bare})
    {
        root.addChild(*child);
    }
    const auto polys = test::allCellKinds();
    const auto fits = test::counting(VTK_FLOAT, "fits & \"100%41\"", 5, 3),
               misfit = test::counting(VTK_INT, "misfit", 3, 1);
    const auto field = test::counting(VTK_DOUBLE, "misfit", 7, 2), alone = test::counting(VTK_SHORT, "alone", 4, 1);
    tube.addData(tsg::NodeData::ofPolys(polys, tsg::TimeStamp(polys->GetMTime())));
    tube.addData(tsg::NodeData::ofPoints(fits));
    tube.addData(tsg::NodeData::ofPoints(misfit));
    tube.addData(tsg::NodeData::ofNode(field, tsg::NodeStream::DataTag7, tsg::TimeStamp()));
    table.addData(tsg::NodeData::ofCells(alone));
    const auto strange = test::counting(VTK_INT, "&<\">\xe6\n%41", 2, 1);
    table.addData(tsg::NodeData::ofNode(strange, tsg::NodeStream::DataTag1, tsg::TimeStamp()));
    tsg::SDBWriter writer;
    writer.open(dir.file("s.sce").wide, false, true);
    int index = 0;
    writer.addRecord("t", "d", "s", root, index);
    writer.close();

    const auto run = tool({"export", path("s.sce"), "-o", path("out")});
    ASSERT_EQ(run.code, 0) << run.err;
    const auto dataset = test::readVtp(path("out/record-0000/Tube%2F1.vtp"));
    EXPECT_EQ(dataset->GetNumberOfCells(), 4);
    ASSERT_TRUE(dataset->GetPointData()->GetArray("fits & \"100%41\""));
    EXPECT_EQ(dataset->GetPointData()->GetNumberOfArrays(), 1);
    ASSERT_TRUE(dataset->GetFieldData()->GetArray("misfit"));
    EXPECT_EQ(dataset->GetFieldData()->GetArray("misfit")->GetNumberOfTuples(), 7);
    ASSERT_TRUE(dataset->GetFieldData()->GetArray("misfit_2"));
    EXPECT_EQ(dataset->GetFieldData()->GetArray("misfit_2")->GetNumberOfTuples(), 3);
    const auto fields = test::readVtp(path("out/record-0000/Chart%252F_1.vtp"));
    EXPECT_EQ(fields->GetNumberOfPoints(), 0);
    ASSERT_TRUE(fields->GetFieldData()->GetArray("alone"));
    ASSERT_TRUE(fields->GetFieldData()->GetArray("&<\">%E6\n%2541"));
    EXPECT_THAT(run.err, HasSubstr(R"(note: the array "&<">\xe6\n%41" is written as "&<">%E6\n%2541")"));

    const auto record = jsonOf("out/record-0000/record.json");
    ASSERT_EQ(record["nodes"].Size(), 4U);
    EXPECT_STREQ(record["nodes"][1]["file"].GetString(), "Chart%252F_1.vtp");
    EXPECT_FALSE(record["nodes"][0].HasMember("file"));
    EXPECT_THAT(test::bytesOf(path("out/Tube%2F1.pvd")),
                HasSubstr("timestep=\"0\" part=\"0\" file=\"record-0000/Tube%2F1.vtp\""));
    EXPECT_FALSE(std::filesystem::exists(path("out/Chart%252F_1.pvd")));
}

TEST_F(ExportTest, damagedBlocksAreNamedAndOtherRecordsExported)
{
    auto polys = test::allCellKinds();
    polys->GetPointData()->AddArray(test::counting(VTK_FLOAT, "T", 5, 1));
    test::writeVtp(*polys, path("a.vtp"));
    for (const char* const session : {"a", "b", "c"})
    {
        ASSERT_EQ(tool({"import", "-o", path("s.sce"), "--append", "--session", session, path("a.vtp")}).code, 0);
    }
    const std::string bytes = test::bytesOf(path("s.sce"));
    const auto info = tool({"info", path("s.sce"), "--json"}).json();
    const auto& blocks = info["records"][1]["blocks"];
    const std::size_t mesh = blocks[0]["filePos"].GetUint64(), array = blocks[1]["filePos"].GetUint64();

    struct Damage
    {
        std::size_t place;
        std::string put;
        const char* message;
        int code;
    };

    const Damage damages[] = {
        {array + 20, "\xff\xff\xff", "point array \"T\" of PolyDataNode_1: zlib data damaged", 5},
        {array, "\x7", "point array \"T\" of PolyDataNode_1: unknown compression method 7", 5},
        {bytes.rfind("\"DataType\":10", array), "\"DataType\":13", "\"T\" of PolyDataNode_1: unknown data type 13", 5},
        {bytes.rfind("\"Tag\":1", array), "\"Tag\":9", "block of unknown kind 9 \"T\" of PolyDataNode_1", 5},
        {mesh, "# not a dataset at all, whatever", "polydata of PolyDataNode_1: ", 5},
        {bytes.find("TRIANGLE_STRIPS", mesh), "TRIANGLE_STROPS", "warning: polydata of PolyDataNode_1: ", 1},
    };
    int number = 0;
    for (const Damage& damage : damages)
    {
        std::string damaged = bytes;
        test::writeBytes(path("d.sce"), damaged.replace(damage.place, damage.put.size(), damage.put));
        const std::string out = path("out" + std::to_string(number++));
        const auto run = tool({"export", path("d.sce"), "-o", out});
        EXPECT_EQ(run.code, damage.code) << run.err;
        EXPECT_THAT(run.err, HasSubstr("record 1 \"s\" (byte 0x")) << damage.message;
        EXPECT_THAT(run.err, HasSubstr(damage.message));
        EXPECT_EQ(std::filesystem::exists(out + "/record-0001"), damage.code == 1) << damage.message;
        EXPECT_EQ(test::textOf(*test::readVtp(out + "/record-0002/PolyDataNode_1.vtp")), test::textOf(*polys));
        EXPECT_EQ(tool({"export", path("d.sce:1"), "-o", out + ".1"}).code, damage.code);
        EXPECT_EQ(std::filesystem::exists(out + ".1"), damage.code == 1) << damage.message;
    }
}

TEST_F(ExportTest, recordsAreAddressedFromBothEnds)
{
    test::writeVtp(*test::allCellKinds(), path("a.vtp"));
    for (const char* const file : {"s.sce", "s.sce:1"})
    {
        ASSERT_EQ(tool({"import", "-o", path(file), path("a.vtp"), path("a.vtp"), path("a.vtp")}).code, 0);
    }
    const std::pair<const char*, int> addresses[] = {{"s.sce:0", 0}, {"s.sce:-1", 2}, {"s.sce:1:-3", 0}};
    for (const auto& [address, index] : addresses)
    {
        ASSERT_EQ(tool({"export", path(address), "-o", path("out"), "--force"}).code, 0);
        EXPECT_EQ(jsonOf("out/record.json")["index"].GetInt(), index) << address;
    }
    EXPECT_EQ(tool({"export", path("s.sce:1"), "-o", path("all"), "--json"}).json()["records"].Size(), 3U);
    EXPECT_TRUE(std::filesystem::exists(path("all/record-0002/PolyDataNode_1.vtp")));
}

} // namespace
