#include "DatasetComparison.h"

#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/OpaqueNode.h"
#include "scenegraph/PolyDataNode.h"
#include "support/ContainerBytes.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <numeric>
#include <set>

namespace
{

using namespace test;
using std::filesystem::exists;
using tsg::NodeData;
using tsg::NodeStream;

/// Standard error has a text in it.
MATCHER_P(Says, text, "")
{
    return arg.err.find(text) != std::string::npos;
}

/// Expects the same datasets, with their arrays in any order.
void expectSame(vtkPolyData& expected, vtkPolyData& actual)
{
    EXPECT_TRUE(tavosce::sameGeometry(expected, actual));
    for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL, vtkDataObject::FIELD})
    {
        vtkFieldData& fields = *expected.GetAttributesAsFieldData(owner);
        vtkFieldData& others = *actual.GetAttributesAsFieldData(owner);
        EXPECT_EQ(fields.GetNumberOfArrays(), others.GetNumberOfArrays());
        for (int i = 0; i < fields.GetNumberOfArrays(); ++i)
        {
            const char* const name = fields.GetArrayName(i);
            vtkDataArray *const array = fields.GetArray(i), *const other = others.GetArray(name);
            EXPECT_EQ(array == nullptr, other == nullptr && others.HasArray(name)) << "strings: " << name;
            EXPECT_TRUE(array == nullptr || tavosce::sameArray(*array, *other)) << name;
        }
        for (int type = 0; owner != vtkDataObject::FIELD && type < vtkDataSetAttributes::NUM_ATTRIBUTES; ++type)
        {
            vtkDataArray* const active = expected.GetAttributes(owner)->GetAttribute(type);
            vtkDataArray* const other = actual.GetAttributes(owner)->GetAttribute(type);
            ASSERT_EQ(active == nullptr, other == nullptr) << type;
            EXPECT_TRUE(active == nullptr || std::string(active->GetName()) == other->GetName());
        }
    }
}

class SceneDirectoryVerbTest : public ToolTest
{
protected:
    /// Writes a database of one record.
    void writeDatabase(const std::string& name, tsg::Node& root) const
    {
        tsg::SDBWriter writer;
        writer.open(dir.file(name).wide, false, true);
        add(writer, root);
    }

    /// Nodes of a record with class versions, and its blocks without what differs from file to file.
    std::string contentsOf(const std::string& name, int record = 0) const
    {
        const auto document = info(name);
        const std::string place = "/records/" + std::to_string(record);
        std::string res = at(document, place + "/nodes") + at(document, place + "/classVersions") + '\n';
        const rapidjson::Value* const blocks = rapidjson::Pointer((place + "/blocks").c_str()).Get(document);
        std::set<std::string> lines; // directories list their files in another order
        for (const rapidjson::Value& block : blocks->GetArray())
        {
            lines.insert(at(block, "/objectKey") + at(block, "/tag") + at(block, "/name") + at(block, "/tuples") +
                         at(block, "/components") + at(block, "/dataType") + '\n');
        }
        return std::accumulate(lines.begin(), lines.end(), res);
    }

    void writeScene(const std::string& records) const
    {
        std::filesystem::create_directories(path("scene/tsg"));
        write("scene/scene.tsg", R"({"DataField":"ClassVersions","Versions":{"SceneNode":1}})"
                                 "\n" +
                                     records);
    }
};

TEST_F(SceneDirectoryVerbTest, aRecordComesBackFromADirectoryAsItWas)
{
    Scene root;
    tsg::PolyDataNode part("PolyDataNode_1");
    tsg::OpaqueNode widget("Widget_1"), inner("Widget_2");
    auto polys = withAllArrays(allCellKinds(), {VTK_BIT, VTK_CHAR, VTK_SHORT, VTK_INT, VTK_LONG, VTK_UNSIGNED_LONG,
                                                VTK_FLOAT, VTK_DOUBLE, VTK_ID_TYPE, VTK_LONG_LONG});
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    polys->SetPoints(pointsOf(VTK_FLOAT, {0, 0, 0, 1, 0, 0.5, 2, 4, 0, 1, 9, 0.25, INFINITE, 16, 0})); // exact as text
    polys->GetPointData()->AddArray(counting(VTK_FLOAT, "U", 5, 3));
    polys->GetCellData()->AddArray(counting(VTK_FLOAT, "U", 4, 3));
    polys->GetPointData()->AddArray(arrayOf(VTK_DOUBLE, "values", 1, {0.1, -0.0, 1e300, INFINITE, 1 / 3.0}));
    polys->GetCellData()->GetArray("U")->SetComponentName(2, "z");
    polys->GetCellData()->AddArray(stringsOf("words", {"{", "", "\xff\n", "d"}));
    polys->GetPointData()->GetArray("U")->SetLookupTable(tableOf({{1, 0, 0, 1}, {0, 0, 128 / 255.0, 1}}));
    part.setPolyData(polys);
    root.addChild(part);
    root.addChild(widget);
    widget.setClassVersion(7);
    widget.restoreProperties(Properties(R"({"Holds":"Widget_2","Text":"\u007b \"","Deep":{"n":-5}})"));
    widget.addData(NodeData::ofNode(counting(VTK_UNSIGNED_SHORT, "samples", 7, 2), NodeStream::DataTag7, {}));
    inner.addData(NodeData::ofPolys(triangle(), tsg::TimeStamp(1)));
    root.addHandle(inner);
    writeDatabase("a.sce", root);

    ASSERT_THAT(run("export @a.sce --scene-directory -o @sz\xc3\xa9ne\xff"), Field(&ToolRun::err, ""));
    EXPECT_TRUE(exists(path("sz\xc3\xa9ne\xff/tsg/PolyDataNode_1.U.dataArray")));
    ASSERT_THAT(run("import @sz\xc3\xa9ne\xff/ -o @b.sce"), Field(&ToolRun::err, ""));
    EXPECT_EQ(contentsOf("b.sce"), contentsOf("a.sce"));
    run("export @a.sce:0 -o @a");
    run("export @b.sce:0 -o @b");
    for (const char* file : {"PolyDataNode_1.vtp", "Widget_1.vtp", "Widget_2.vtp"})
    {
        SCOPED_TRACE(file);
        expectSame(*readVtp(path(std::string("a/") + file)), *readVtp(path(std::string("b/") + file)));
    }
}

TEST_F(SceneDirectoryVerbTest, directoriesAndDatasetsBecomeRecordsOfTheirOwn)
{
    Scene first, second;
    first.with(triangle());
    second.setName("other");
    writeDatabase("a.sce", first);
    writeDatabase("b.sce", second);
    ASSERT_EQ(run("export @a.sce --scene-directory -o @a").code, 0);
    ASSERT_EQ(run("export @b.sce --scene-directory -o @b").code, 0);
    write("t.vtp", *triangle());
    const auto done = run("import @t.vtp @a @t.vtp @b -o @all.sce");
    EXPECT_THAT(done, Field(&ToolRun::out, HasSubstr("4 records added, indices 0 to 3")));
    EXPECT_EQ(contentsOf("all.sce", 1), contentsOf("a.sce"));
    EXPECT_EQ(contentsOf("all.sce", 3), contentsOf("b.sce"));
    EXPECT_EQ(contentsOf("all.sce", 2), contentsOf("all.sce", 0));
    EXPECT_EQ(run("import --append @a -o @all.sce").code, 0);
    EXPECT_EQ(contentsOf("all.sce", 4), contentsOf("a.sce"));
    EXPECT_EQ(run("import --single-record @t.vtp @a -o @one.sce").code, 2);

    ASSERT_EQ(run("export @all.sce --scene-directory -o @scenes").code, 0);
    EXPECT_TRUE(exists(path("scenes/record-0003/scene.tsg")));
    ASSERT_EQ(run("import @scenes/record-0003 -o @back.sce").code, 0);
    EXPECT_EQ(contentsOf("back.sce"), contentsOf("b.sce"));
}

TEST_F(SceneDirectoryVerbTest, whatADirectoryCannotHoldIsNamedOrLeftOut)
{
    Scene root;
    tsg::OpaqueNode odd("A/B_1");
    odd.addData(NodeData::ofPoints(counting(VTK_INT, "p", 2, 1)));
    root.addChild(odd);
    root.with(counting(VTK_INT, "a/b", 3, 1)).with(counting(VTK_INT, "c", 3, 1)).with(counting(VTK_FLOAT, "c", 9, 1));
    writeDatabase("a.sce", root);
    tsg::ChartCanvasCollection charts("ChartCanvasCollection_1");
    writeDatabase("charts.sce", charts);

    const auto refused = run("export @a.sce --scene-directory -o @scene");
    EXPECT_EQ(refused.code, 7);
    for (const char* text :
         {"record 0 \"t\" (byte 0x7d): point array \"p\" of A/B_1 cannot be stored: no file can be named",
          "point array \"a/b\" of SceneNode_1 cannot be stored: no file can be named",
          "point array \"c\" of SceneNode_1 cannot be stored: there is another one",
          "hint: --skip-unsupported leaves them out"})
    {
        EXPECT_THAT(refused, Says(text));
    }
    EXPECT_FALSE(exists(path("scene")));
    const auto skipped = run("export @a.sce --scene-directory --skip-unsupported -o @scene");
    EXPECT_EQ(skipped.code, 0);
    EXPECT_THAT(skipped, Says("point array \"a/b\" of SceneNode_1 is left out"));
    ASSERT_EQ(run("import @scene -o @b.sce").code, 0);
    EXPECT_EQ(at(info("b.sce"), "/records/0/blocks/1"), "null");
    EXPECT_EQ(at(info("b.sce"), "/records/0/blocks/0/tuples"), "3");
    EXPECT_EQ(at(info("b.sce"), "/records/0/nodes"), at(info("a.sce"), "/records/0/nodes"));

    EXPECT_EQ(run("export @charts.sce --scene-directory -o @c").code, 7);
    EXPECT_EQ(run("export @charts.sce --skip-unsupported -o @c").code, 2);
    EXPECT_FALSE(exists(path("c")));
}

TEST_F(SceneDirectoryVerbTest, damagedDirectoriesAreReportedAndTheRestIsImported)
{
    const std::string root = R"({"ObjectKey":"SceneNode_1","Properties":{"Name":"n"}})"
                             "\n";
    const std::string array = R"("Name":"x","DataType":6,"NumberOfComponents":1,"NumberOfTuples":1,"Size":1,"Tag":)";
    writeScene(root + R"({"ObjectKey":"Cut)");
    write("scene/tsg/good.dataArray", R"({"ObjectKey":"SceneNode_1",)" + array + "0}\nabcd");
    write("scene/tsg/lone.dataArray", R"({"ObjectKey":"Lone_1",)" + array + "0}\nabcd");
    write("scene/tsg/note.txt", "hello");
    write("scene/tsg/poly.polyData", R"({"ObjectKey":"SceneNode_1","Tag":2})"
                                     "\nDATASET");
    const auto done = run("import @scene -o @s.sce");
    EXPECT_EQ(done.code, 1);
    for (const std::string place :
         {"scene.tsg: byte 0x6f: warning: this record cannot be read, nor what follows",
          "tsg/note.txt: warning: cannot be loaded", "tsg/poly.polyData: warning: cannot be loaded"})
    {
        EXPECT_THAT(done, Says(path("scene/" + place)));
    }
    EXPECT_EQ(at(info("s.sce"), "/records/0/nodes/0/objectKey"), "\"Lone_1\"");
    EXPECT_EQ(at(info("s.sce"), "/records/0/blocks/1/objectKey"), "\"SceneNode_1\"");

    write("scene/tsg/kind.dataArray", R"({"ObjectKey":"SceneNode_1",)" + array + "5}\nabcd");
    const auto refused = run("import @scene -o @t.sce");
    EXPECT_EQ(refused.code, 7);
    EXPECT_THAT(refused, Says("scene: node data \"x\" of SceneNode_1 cannot be stored: node data of kind 2"));
    EXPECT_EQ(run("import @scene --skip-unsupported -o @t.sce").code, 1);

    const std::string other = R"({"ObjectKey":"SceneNode_2","Properties":{}})"
                              "\n";
    const std::pair<std::string, const char*> roots[] = {
        {"", "there is no scene node"},
        {R"({"ObjectKey":"Widget_1","Properties":{}})"
         "\n",
         "there is no scene node"},
        {root + other, "there are several scene nodes that could be the root: SceneNode_1, SceneNode_2"},
    };
    for (const auto& [records, message] : roots)
    {
        writeScene(records);
        const auto rootless = run("import @scene -o @u.sce");
        EXPECT_EQ(rootless.code, 5);
        EXPECT_THAT(rootless, Says(message));
    }
    EXPECT_FALSE(exists(path("u.sce")));
    EXPECT_THAT(run("import @scene/tsg -o @u.sce"), Says("no scene directory"));
    const std::string before = bytes("scene/scene.tsg");
    for (const char* output : {"@scene/scene.tsg", "@scene/tsg/good.dataArray", "@scene/new.sce"})
    {
        EXPECT_EQ(run(std::string("import @scene --force -o ") + output).code, 2) << output;
    }
    EXPECT_EQ(bytes("scene/scene.tsg"), before);
}

TEST_F(SceneDirectoryVerbTest, classesThatTheToolKnowsOtherwiseAreWarnedOf)
{
    const std::string warning =
        "warning: SceneNode is stored with version 9, and this program knows version 1: what is "
        "new in it is not understood\n";
    Scene root;
    root.setClassVersion(9);
    writeDatabase("a.sce", root);
    writeScene("{\"DataField\":\"ClassVersions\",\"Versions\":{\"SceneNode\":9}}\n"
               "{\"ObjectKey\":\"SceneNode_1\",\"Properties\":{}}\n");
    const std::pair<const char*, std::string> cases[] = {
        {"export @a.sce:0 -o @out", "@a.sce: record 0 \"t\" (byte 0x7d): "},
        {"import @scene -o @b.sce", "@scene/scene.tsg: "},
        {"diff @scene @b.sce", "@scene/scene.tsg: "},
    };
    for (const auto& [line, place] : cases)
    {
        const auto done = run(line);
        EXPECT_EQ(done.code, 1);
        EXPECT_EQ(done.err, "tavosce: " + placed(place) + warning);
    }
}

TEST_F(SceneDirectoryVerbTest, anExportOverAnEarlierSceneLeavesNothingOfIt)
{
    Scene first, second;
    first.with(counting(VTK_INT, "old", 3, 1));
    second.with(counting(VTK_INT, "new", 3, 1));
    writeDatabase("a.sce", first);
    writeDatabase("b.sce", second);
    ASSERT_EQ(run("export @a.sce --scene-directory -o @scene").code, 0);
    write("scene/tsg/note.txt", "mine");
    write("scene/tsg/notes.dataArray", "mine");
    EXPECT_EQ(run("export @b.sce --scene-directory -o @scene").code, 6);
    ASSERT_EQ(run("export @b.sce --scene-directory -o @scene --force").code, 0);
    EXPECT_FALSE(exists(path("scene/tsg/SceneNode_1.old.dataArray")));
    EXPECT_EQ(bytes("scene/tsg/note.txt"), "mine");
    EXPECT_EQ(bytes("scene/tsg/notes.dataArray"), "mine");
    std::filesystem::remove(path("scene/tsg/note.txt"));
    std::filesystem::remove(path("scene/tsg/notes.dataArray"));
    ASSERT_EQ(run("import @scene -o @c.sce").code, 0);
    EXPECT_EQ(contentsOf("c.sce"), contentsOf("b.sce"));
    write("none.sce", ContainerBytes().str());
    EXPECT_EQ(run("export @none.sce --scene-directory -o @empty").code, 0);

    std::filesystem::rename(path("scene/tsg"), path("precious"));
    std::filesystem::create_directory_symlink(path("precious"), path("scene/tsg"));
    const auto linked = run("export @a.sce --scene-directory -o @scene --force");
    EXPECT_EQ(linked.code, 6);
    EXPECT_THAT(linked, Says(placed("@scene: cannot write: tsg: it is a link\n")));
    EXPECT_TRUE(exists(path("precious/SceneNode_1.new.dataArray")));
    EXPECT_EQ(run("import @scene -o @c.sce --force").code, 0) << "nothing has changed";
    EXPECT_EQ(contentsOf("c.sce"), contentsOf("b.sce"));
}

} // namespace
