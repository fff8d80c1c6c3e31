#include "scenegraph/OpaqueNode.h"
#include "scenegraph/PolyDataNode.h"
#include "support/ContainerBytes.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

namespace
{

using namespace test;
using tsg::NodeData;
using tsg::NodeStream;
using tsg::PolyDataNode;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

class LookTest : public ToolTest
{
protected:
    /// Writes "s.sce": two records of one graph with something of everything, and a thumbnail of the first.
    void writeScene() const
    {
        auto polys = allCellKinds();
        polys->GetPointData()->AddArray(arrayOf(VTK_DOUBLE, "p", 1, {1, 2.5, NOT_A_NUMBER, INFINITE, -4}));
        polys->GetPointData()->AddArray(counting(VTK_BIT, "bits", 5, 1));
        polys->GetCellData()->AddArray(counting(VTK_INT, "p", 4, 2));
        Scene root;
        PolyDataNode part("PolyDataNode_1");
        tsg::OpaqueNode widget("Widget/1.2"), below("Widget/1");
        part.setPolyData(polys);
        widget.restoreProperties(Properties(R"({"Text":"x","a.b":{"c":-5,"d":{}},"a":{"b":{"c":1}},"To":"Widget/1"})"));
        below.restoreProperties(Properties(R"({"Back":"Widget/1.2"})"));
        below.addData(NodeData::ofNode(counting(VTK_SHORT, "2/p", 4, 2), NodeStream::DataTag7, {}));
        root.addChild(part);
        root.addChild(widget);
        tsg::SDBWriter writer;
        writer.open(dir.file("s.sce").wide, false, true);
        root.afterSerialize = [&](NodeStream& stream) { below.serialize(stream); };
        add(writer, root, "s", "one");
        tsg::Bitmap<3> picture;
        picture.resize(4, 2);
        writer.addThumbnail(0, picture);
        add(writer, root, "s", "\x1b[31mtwo");
    }
};

TEST_F(LookTest, aLinePerRecord)
{
    writeScene();
    const auto document = info("s.sce");
    const auto length = [&](const char* record) { return at(document, std::string("/records/") + record + "/length"); };
    const std::string lines = "0  frame 0  " + length("0") + " bytes  \"one\", thumbnail\n" + //
                              "1  frame 0  " + length("1") + " bytes  \"\\x1b[31mtwo\"\n";
    EXPECT_EQ(run("ls @s.sce").out, lines);
    const auto several = run("ls @s.sce @none.sce @s.sce");
    EXPECT_EQ(several.out, placed("@s.sce: 2 records\n" + lines + "@s.sce: 2 records\n" + lines));
    EXPECT_EQ(several.code, 3);
    const auto json = run("ls --json @s.sce @none.sce").json();
    EXPECT_THAT(at(json, "/files/1/failure"), HasSubstr("No such file"));
    EXPECT_EQ(at(json, "/files/0/records/0/thumbnail"), "true");
    EXPECT_EQ(at(json, "/files/0/records/1/length"), length("1"));
    write("torn.sce", bytes("s.sce").substr(0, bytes("s.sce").size() - 1));
    const auto torn = run("ls @torn.sce");
    EXPECT_EQ(torn.out, lines); // the header is there
    EXPECT_EQ(torn.code, 1);
    EXPECT_THAT(torn.err, HasSubstr("reaches beyond the end"));
}

TEST_F(LookTest, theTreeShowsEachNodeOnceAndEveryReference)
{
    writeScene();
    const auto tree = run("tree @s.sce:0");
    EXPECT_EQ(tree.code, 0) << tree.err;
    std::istringstream in(tree.out);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
    {
        lines.push_back(line.substr(0, line.find_first_of("{:")));
    }
    EXPECT_THAT(lines,
                ElementsAre("SceneNode_1 ", "  PolyDataNode_1 ", "    - polydata",
                            "    - point array \"p\", 5 x 1 double", "    - point array \"bits\", 5 x 1 unsigned char",
                            "    - cell array \"p\", 4 x 2 int", "  Widget/1.2 ", "    Widget/1 ",
                            "      - field array \"2/p\", 4 x 2 short", "      Widget/1.2 (cycle)"));
    const auto json = run("tree --json @s.sce").json();
    EXPECT_EQ(at(json, "/root"), R"("SceneNode_1")");
    EXPECT_EQ(at(json, "/nodes/3/objectKey") + at(json, "/nodes/3/parent"), R"("Widget/1""Widget/1.2")");
    EXPECT_EQ(at(json, "/nodes/3/references"), R"(["Widget/1.2"])");
    EXPECT_EQ(at(json, "/nodes/3/data/0/shared") + at(json, "/nodes/4"), "truenull");
}

TEST_F(LookTest, whatBelongsNowhereIsShownToo)
{
    const std::string more = R"({"DataField":"Node","ObjectKey":"N_1","Properties":{"Name":"again"}})"
                             R"({"DataField":"Node","ObjectKey":"Loop_1","Properties":{"To":"Loop_2"}})"
                             R"({"DataField":"Node","ObjectKey":"Loop_2","Properties":{"To":"Loop_1"}})";
    std::string content = ContainerBytes().record("t").str();
    const std::size_t begin = content.rfind(R"({"DataField":"Header")");
    content += more + R"({"DataField":"BinaryData","ObjectKey":"M_1","Tag":0,"FilePos":"0000000000000001",)"
                      R"("Length":"0000000000000002","Name":""})";
    const std::string length = sdb::detail::hexPosition(content.size() - begin);
    content.replace(content.find(R"("Length":")", begin) + 10, length.size(), length);
    write("s.sce", content);
    const auto tree = run("tree @s.sce");
    EXPECT_EQ(tree.out, "N_1 {\"Name\":\"n\"}\n"
                        "not reached from the root:\n"
                        "Loop_1 {\"To\":\"Loop_2\"}\n"
                        "  Loop_2 {\"To\":\"Loop_1\"}\n"
                        "    Loop_1 (cycle)\n"
                        "one more node with the key N_1 {\"Name\":\"again\"}\n"
                        "without a node: polydata of M_1: 2 bytes, shared\n");
    EXPECT_EQ(run("cat @s.sce M_1").code, 2);
    EXPECT_EQ(run("cat @s.sce M_1/points").code, 5);
}

TEST_F(LookTest, targetsAreFoundWhateverTheirNamesHold)
{
    writeScene();
    const std::pair<const char*, const char*> cases[] = {
        {"PolyDataNode_1/point:p", "1\n2.5\nnan\ninf\n-4\n"},
        {"PolyDataNode_1/point:p --slice 1:-2", "2.5\nnan\n"},
        {"PolyDataNode_1/point:p --slice=-2:9", "inf\n-4\n"},
        {"PolyDataNode_1/point:p --slice 3:1", ""},
        {"PolyDataNode_1/point:p --stats",
         "component 0: count 5, min -4, max 2.5, mean -0.16666666666666666, nan 1, inf 1\n"},
        {"PolyDataNode_1/bits --slice :3", "1\n0\n0\n"},
        {"PolyDataNode_1/cell:p --slice 3:", "7 8\n"},
        {"PolyDataNode_1/lines", "0 1 2\n"},
        {"PolyDataNode_1/polys --stats", "points of a cell: count 1, min 3, max 3, mean 3, nan 0, inf 0\n"
                                         "point ids: count 3, min 0, max 4, mean 1.6666666666666667, nan 0, inf 0\n"},
        {"Widget/1/2/p --slice 0:1", "1 2\n"},
        {"Widget/1.2.a.b.c", "-5\n"},
        {"Widget/1.2.a.b", "c: -5\nd: {}\n"},
        {"Widget/1.2.Text", "x\n"},
        {"Widget/1", "Back: \"Widget/1.2\"\n"},
    };
    for (const auto& [target, text] : cases)
    {
        const auto found = run(std::string("cat @s.sce:0 ") + target);
        EXPECT_EQ(found.out + found.err, text) << target;
    }
    const auto json = run("cat --json @s.sce PolyDataNode_1/point:p").json();
    EXPECT_EQ(at(json, "/values"), R"([[1],[2.5],["nan"],["inf"],[-4]])");
    EXPECT_EQ(at(json, "/type") + at(json, "/tuples"), R"("double"5)");
    EXPECT_EQ(at(run("cat --json --stats @s.sce PolyDataNode_1/point:p").json(), "/statistics/0/inf"), "1");
    EXPECT_EQ(at(run("cat --json @s.sce Widget/1.2.a.b").json(), "/value"), R"({"c":-5,"d":{}})");
}

TEST_F(LookTest, whoMistypesIsToldWhatWasMeantAndWhatExists)
{
    writeScene();
    const std::tuple<const char*, int, const char*> cases[] = {
        {"tere @s.sce", 2, "no verb \"tere\"\nhint: did you mean \"tree\"? the verbs are \"import\", "},
        {"ls --jsno @s.sce", 2, "no option \"--jsno\"\nhint: did you mean \"--json\"? the options are \"--help\" and"},
        {"tree @t.sce", 3, "No such file or directory\nhint: did you mean \"s.sce\"? the folder holds \"s.sce\""},
        {"tree @folder/s.sce", 3, " holds \"s.sce\""},
        {"verify @t.sce", 3, "hint: did you mean \"s.sce\"?"},
        {"import @t.vtk -o @new.sce", 3, "the folder holds \"s.sce\""},
        {"tree @s.sce:2", 2, "no record 2: the file has 2 records\nhint: the nearest is @s.sce:1"},
        {"help", 2, "; `tavosce --help` describes them"},
        {"ls @s.sce:0", 3, "hint: the file is @s.sce; `tavosce ls` lists its records"},
        {"tree @s.sce:99999999999999999999", 3, "hint: the file is @s.sce; `tavosce ls` lists its records"},
        {"completion \x1b", 2, "\\x1b"},
        {"tree @s.sce:last", 3, "hint: a record is a number: @s.sce:0 is the first"},
        {"cat @s.sce:-3 N", 2, "the nearest is @s.sce:0"},
        {"cat @s.sce PolydataNode_2", 2,
         "no node \"PolydataNode_2\"\nhint: did you mean \"PolyDataNode_1\"? the record has"},
        {"cat @s.sce Widget/1.2.Txet", 2, "no property \"Txet\"\nhint: did you mean \"Text\"? it has \"Text\", "},
        {"cat @s.sce Widget/1.2.a.b.cc", 2, "Widget/1.2.a.b has no property \"cc\"\nhint: did you mean \"c\"?"},
        {"cat @s.sce PolyDataNode_1/bit", 2,
         "no array \"bit\"\nhint: did you mean \"bits\"? it has \"point:p\", \"bits\", "},
        {"cat @s.sce PolyDataNode_1/p", 2, "\"p\" may be any of point:p and cell:p"},
        {"cat @s.sce PolyDataNode_1 --stats", 2, "only arrays have slices and statistics"},
        {"cat @s.sce PolyDataNode_1/bits --slice 1", 2, "no slice: \"1\""},
    };
    for (const auto& [line, code, message] : cases)
    {
        const auto answered = run(line);
        EXPECT_EQ(answered.code, code) << line;
        EXPECT_THAT(answered.err, HasSubstr(placed(message))) << line;
        EXPECT_EQ(answered.out, "") << line;
    }
}

TEST_F(LookTest, everyByteIsAccountedForWhateverTheFileHolds)
{
    writeScene();
    const std::string content = bytes("s.sce");
    const auto usage = [&](const std::string& bytes)
    {
        write("part.sce", bytes);
        const auto document = run("du --json @part.sce").json();
        const auto& file = document["files"][0];
        for (const char* const grouping : {"byRecord", "byNode", "byKind"})
        {
            std::uint64_t sum = 0;
            for (const auto& row : file[grouping].GetArray())
            {
                sum += row["total"].GetUint64();
            }
            EXPECT_EQ(sum, bytes.size()) << grouping;
        }
        return at(file, "/own") + ' ' + at(file, "/gaps") + ' ' + at(file, "/shared");
    };
    const auto document = info("s.sce");
    const std::uint64_t payload = document["totals"]["payloadBytes"].GetUint64();
    EXPECT_EQ(usage(content), std::to_string(payload + 24) + " 0 " + at(document, "/totals/savedBytes")); // and pixels
    EXPECT_THAT(usage(content + std::string(100, '\0')), HasSubstr(" 100 "));
    for (std::size_t cut = info("s.sce")["records"][0]["filePos"].GetUint64(); cut < content.size(); cut += 23)
    {
        SCOPED_TRACE(cut);
        usage(content.substr(0, cut));
        std::string damaged = content;
        damaged[cut] = '\0';
        usage(damaged);
    }
    EXPECT_THAT(run("du @s.sce").out, AllOf(HasSubstr("record 1 \"\\x1b[31mtwo\""), HasSubstr("PolyDataNode_1\n"),
                                            HasSubstr("(thumbnail)\n"), HasSubstr("in all\n")));
}

} // namespace
