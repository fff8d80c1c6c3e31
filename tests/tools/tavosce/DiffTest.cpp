#include "PolysDifference.h"
#include "Text.h"

#include "scenegraph/OpaqueNode.h"
#include "scenegraph/PolyDataNode.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <numeric>

namespace
{

using namespace test;
using testing::StartsWith;
using tsg::NodeData;
using tsg::NodeStream;
using tsg::PolyDataNode;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

/// A graph that has something of everything; tests change something about it before they write it.
struct Model
{
    Model()
    {
        polys->SetPoints(pointsOf(VTK_FLOAT, {0, 0, 0, 1, 0, 0.5, 2, 4, 0, 1, 9, 0.25, 4, 16, 0})); // exact as text
        polys->GetPointData()->AddArray(arrayOf(VTK_DOUBLE, "p", 1, {1, 2, 3, 4, NOT_A_NUMBER}));
        polys->GetPointData()->GetArray("p")->SetLookupTable(tableOf({{1, 0, 0, 1}, {0, 0, 1, 1}}));
        polys->GetPointData()->AddArray(counting(VTK_BIT, "bits", 5, 1));
        polys->GetPointData()->GetArray("bits")->SetComponentName(0, "on");
        polys->GetCellData()->AddArray(counting(VTK_INT, "c", 4, 2));
        polys->GetFieldData()->AddArray(stringsOf("words", {"x", "y"}));
        polys->GetFieldData()->AddArray(counting(VTK_ID_TYPE, "f", 3, 1));
        widget.setClassVersion(7);
        widget.restoreProperties(Properties(R"({"Text":"x","Deep":{"n":-5,"more":{"s":"a"}}})"));
        widget.addData(NodeData::ofNode(counting(VTK_SHORT, "samples", 4, 2), NodeStream::DataTag7, {}));
        root.addChild(part);
        root.addChild(widget);
    }

    vtkDataArray* pointArray(const char* name) const { return polys->GetPointData()->GetArray(name); }

    vtkSmartPointer<vtkPolyData> polys = allCellKinds();
    Scene root;
    PolyDataNode part{"PolyDataNode_1"};
    tsg::OpaqueNode widget{"Widget_1"};
    tsg::OpaqueNode other{"Widget_2"}; ///< not in the graph at first
};

using Change = std::function<void(Model&)>;

/// Lines as they are printed.
std::string textOf(const std::vector<std::string>& lines)
{
    return std::accumulate(lines.begin(), lines.end(), std::string(),
                           [](const std::string& text, const std::string& line) { return text + line + '\n'; });
}

class DiffTest : public ToolTest
{
protected:
    /// Writes a database with a record for each change, which is made to what the record before it holds.
    void write(const std::string& name, const std::vector<Change>& changes) const
    {
        Model model;
        tsg::SDBWriter writer;
        writer.open(dir.file(name).wide, false, true);
        for (const Change& change : changes)
        {
            if (change)
            {
                change(model);
            }
            model.part.setPolyData(model.polys);
            add(writer, model.root);
        }
    }

    /// Changes the payload of a block of the first record so that it cannot be decoded.
    void damage(const std::string& name, std::size_t block) const
    {
        std::string content = bytes(name);
        const auto document = info(name);
        const auto& stored = document["records"][0]["blocks"][static_cast<unsigned>(block)];
        content.replace(stored["filePos"].GetUint64() + 17, 4, "????"); // behind method and sizes
        ToolTest::write(name, content);
    }
};

TEST_F(DiffTest, everythingThatDiffersIsNamed)
{
    const std::pair<Change, std::vector<std::string>> cases[] = {
        {nullptr, {}},
        {[](Model& m)
         {
             m.root.addChild(m.other);
             m.other.addData(NodeData::ofPoints(counting(VTK_INT, "own", 2, 1)));
         },
         {R"(property "Children.Widget_2" of SceneNode_1: only in the second)", "node Widget_2: only in the second"}},
        {[](Model& m)
         { m.widget.restoreProperties(Properties(R"({"Deep":{"more":{"s":"b","t":""},"n":6},"Text":5})")); },
         {R"(property "Text" of Widget_1: "x" and 5)", R"(property "Deep.n" of Widget_1: -5 and 6)",
          R"(property "Deep.more.s" of Widget_1: "a" and "b")",
          R"(property "Deep.more.t" of Widget_1: only in the second)"}},
        {[](Model& m) { m.widget.setClassVersion(8); }, {R"(class version "Widget": 7 and 8)"}},
        {[](Model& m) { m.polys->GetPoints()->SetPoint(3, 1, 9.5, 0); },
         {"points of PolyDataNode_1: 2 of 15 values differ, first in tuple 3, component 1: 9 and 9.5; "
          "largest difference 0.5"}},
        {[](Model& m) { m.polys->GetPoints()->SetData(arrayOf(VTK_INT, nullptr, 3, std::vector<double>(15))); },
         {"points of PolyDataNode_1: type float and int"}},
        {[](Model& m)
         {
             m.polys->SetVerts(cellsOf({{4}, {3}}));
             m.polys->SetLines(cellsOf({{0, 1}}));
             m.polys->SetPolys(cellsOf({{0, 1, 3}}));
             m.polys->SetStrips(nullptr);
         },
         {"verts of PolyDataNode_1: number 1 and 2",
          "lines of PolyDataNode_1: 1 of 1 cell differs, first cell 0: 0 1 2 and 0 1",
          "polys of PolyDataNode_1: 1 of 1 cell differs, first cell 0: 0 1 4 and 0 1 3",
          "strips of PolyDataNode_1: number 1 and 0"}},
        {[](Model& m) { m.pointArray("p")->SetName("q"); },
         {R"(property "PointLookupTables.p" of PolyDataNode_1: only in the first)",
          R"(property "PointLookupTables.q" of PolyDataNode_1: only in the second)",
          R"(point array "p" of PolyDataNode_1: only in the first)",
          R"(lookup table "p" of PolyDataNode_1: only in the first)",
          R"(point array "q" of PolyDataNode_1: only in the second)",
          R"(lookup table "q" of PolyDataNode_1: only in the second)"}},
        {[](Model& m)
         {
             m.pointArray("p")->SetComponent(1, 0, NOT_A_NUMBER);
             m.pointArray("p")->SetComponent(2, 0, 5);
         },
         {R"(point array "p" of PolyDataNode_1: 2 of 5 values differ, first in tuple 1, component 0: 2 and nan; )"
          "largest difference inf"}},
        {[](Model& m) { m.pointArray("bits")->SetComponent(0, 0, 0); },
         {R"(point array "bits" of PolyDataNode_1: 1 of 5 values differs, first in tuple 0, component 0: 1 and 0; )"
          "largest difference 1"}},
        {[](Model& m)
         {
             m.pointArray("bits")->SetComponentName(0, "off");
             m.polys->GetFieldData()->AddArray(stringsOf("words", {"x", "z"}));
         },
         {R"(property "PointComponentNames.bits.0" of PolyDataNode_1: "on" and "off")",
          R"(property "FieldStringArrays.words.Values.1" of PolyDataNode_1: "y" and "z")"}},
        {[](Model& m) { m.polys->GetCellData()->AddArray(counting(VTK_INT, "c", 4, 1)); },
         {R"(cell array "c" of PolyDataNode_1: components 2 and 1)"}},
        {[](Model& m) { m.polys->GetFieldData()->AddArray(counting(VTK_ID_TYPE, "f", 9, 1)); },
         {R"(field array "f" of PolyDataNode_1: tuples 3 and 9)"}},
        {[](Model& m)
         {
             m.pointArray("p")->GetLookupTable()->SetTableValue(1, 0, 1, 1, 1);
             m.pointArray("p")->GetLookupTable()->SetTableRange(0, 9);
         },
         {R"(property "PointLookupTables.p.Range" of PolyDataNode_1: "0 1" and "0 9")",
          R"(lookup table "p" of PolyDataNode_1: 1 of 8 values differs, first in tuple 1, component 1: 0 and 255; )"
          "largest difference 255"}},
        {[](Model& m)
         { m.widget.addData(NodeData::ofNode(counting(VTK_SHORT, "samples", 4, 2), NodeStream::DataTag7, {})); },
         {R"(field array "samples" of Widget_1: only in the second)"}},
    };
    write("a.sce", {nullptr});
    for (const auto& [change, lines] : cases)
    {
        write("b.sce", {change});
        const std::string summary =
            lines.empty() ? "no differences" : "1 differs, " + tavosce::counted(lines.size(), "difference");
        const auto found = run("diff @a.sce:0 @b.sce");
        EXPECT_EQ(found.out, textOf(lines) + "1 record compared: " + summary + '\n');
        EXPECT_EQ(found.code, lines.empty() ? 0 : 1) << found.err;
        const auto quiet = run("diff --quiet --json @a.sce @b.sce:-1");
        EXPECT_EQ(quiet.code, found.code);
        EXPECT_EQ(quiet.out + quiet.err, "");
    }
}

TEST_F(DiffTest, polydataAreComparedWithAllThatTheyCarry)
{
    const auto carrying = []
    {
        auto polys = withAllArrays(allCellKinds(), {VTK_BIT});
        polys->GetPointData()->GetScalars()->SetLookupTable(tableOf({{1, 0, 0, 1}, {0, 0, 1, 1}}));
        return polys;
    };
    const auto found = [&](vtkPolyData& changed)
    {
        std::ostringstream res;
        tavosce::Differences differences([&](const auto& difference) { printDifference(res, difference); }, false);
        tavosce::comparePolys("N_1", *carrying(), changed, {}, differences);
        return res.str();
    };
    const auto changed = carrying();
    EXPECT_EQ(found(*changed), "");
    changed->GetPointData()->SetActiveVectors("n");
    vtkLookupTable& table = *changed->GetPointData()->GetScalars()->GetLookupTable();
    table.SetTableValue(0, 1, 1, 0, 1);
    table.SetTableRange(0, 0.1);
    changed->GetPointData()->GetNormals()->SetLookupTable(&table);
    changed->GetCellData()->RemoveArray("v");
    changed->GetCellData()->GetArray("t")->SetComponent(2, 1, 100);
    changed->GetFieldData()->GetArray("type 1")->SetComponent(3, 0, 0);
    const std::vector<std::string> lines = {
        R"(lookup table of the polydata's point array "colour of 100%" of N_1: range 0 to 1 and 0 to 0.1)",
        R"(lookup table of the polydata's point array "colour of 100%" of N_1: 1 of 8 values differs, first in tuple 0, )"
        "component 1: 0 and 255; largest difference 255",
        R"(lookup table of the polydata's point array "n" of N_1: only in the second)",
        R"(active Vectors of the polydata's point arrays of N_1: "v" and "n")",
        R"(polydata's cell array "v" of N_1: only in the first)",
        R"(polydata's cell array "t" of N_1: 1 of 8 values differs, first in tuple 2, component 1: 6 and 100; )"
        "largest difference 94",
        R"(active Vectors of the polydata's cell arrays of N_1: "v" and "")",
        R"(polydata's field array "type 1" of N_1: 1 of 9 values differs, first in tuple 3, component 0: 1 and 0; )"
        "largest difference 1",
    };
    EXPECT_EQ(found(*changed), textOf(lines));
}

TEST_F(DiffTest, toleranceIsTheLargerOfTheTwo)
{
    struct Case
    {
        double a, b, abs, rel;
        bool equal;
    };

    constexpr Case CASES[] = {
        {0.0, -0.0, 0, 0, true},
        {1, 1.5, 0.5, 0, true},
        {1, 1.5, 0.25, 0, false},
        {100, 101, 0, 0.01, true},
        {-101, -100, 0, 0.01, true},
        {100, 102, 0.5, 0.01, false},
        {100, -100, 1, 1, false},
        {0, 1, 0, 1, true},
        {NOT_A_NUMBER, -NOT_A_NUMBER, 0, 0, true},
        {NOT_A_NUMBER, 1, 1e300, 1e300, false},
        {INFINITE, INFINITE, 0, 0, true},
        {INFINITE, -INFINITE, 1e300, 1, false},
        {INFINITE, 1, 1e300, 1, false},
    };
    for (const Case& row : CASES)
    {
        tavosce::Differences differences([](const tavosce::Difference&) {}, false);
        tavosce::compareArrays({"array"}, *arrayOf(VTK_DOUBLE, "a", 1, {7, row.a}),
                               *arrayOf(VTK_DOUBLE, "a", 1, {7, row.b}), {row.abs, row.rel}, differences);
        EXPECT_EQ(differences.count(), row.equal ? 0 : 1) << row.a << ' ' << row.b;
    }
    write("a.sce", {nullptr});
    write("b.sce", {[](Model& m) { m.polys->GetPoints()->SetPoint(4, 4, 16.5, 0); }});
    EXPECT_EQ(run("diff @a.sce @b.sce --abs 0.5").code, 0);
    EXPECT_EQ(run("diff @a.sce @b.sce --rel 0.01").code, 1);
    for (const char* wrong : {"--abs -1", "--rel nan", "--abs inf", "--abs x"})
    {
        EXPECT_EQ(run(std::string("diff @a.sce @b.sce ") + wrong).code, 2) << wrong;
    }
}

TEST_F(DiffTest, valuesOfEveryTypeAreToldApart)
{
    for (const int type : {VTK_BIT, VTK_CHAR, VTK_SIGNED_CHAR, VTK_UNSIGNED_CHAR, VTK_SHORT, VTK_UNSIGNED_SHORT,
                           VTK_INT, VTK_UNSIGNED_INT, VTK_LONG, VTK_UNSIGNED_LONG, VTK_LONG_LONG,
                           VTK_UNSIGNED_LONG_LONG, VTK_ID_TYPE, VTK_FLOAT, VTK_DOUBLE})
    {
        const auto left = counting(type, "a", 40, 3), right = counting(type, "a", 40, 3);
        const bool isSigned = type != VTK_BIT && left->GetDataTypeMin() < 0;
        left->SetComponent(37, 2, type == VTK_BIT ? 0 : 100);
        right->SetComponent(37, 2, type == VTK_BIT ? 1 : isSigned ? -1 : 0);
        std::vector<tavosce::Spread> found;
        tavosce::Differences differences([&](const tavosce::Difference& d) { found.push_back(*d.spread); }, false);
        tavosce::compareArrays({"array"}, *left, *right, {}, differences);
        ASSERT_EQ(found.size(), 1U) << type;
        EXPECT_EQ(std::make_tuple(found[0].differing, found[0].total, found[0].first, found[0].component),
                  std::make_tuple(1U, 120U, 37, 2));
        EXPECT_EQ(found[0].b, type == VTK_BIT ? "1" : isSigned ? "-1" : "0") << type;
        EXPECT_EQ(found[0].largest, type == VTK_BIT ? "1" : isSigned ? "101" : "100") << type;
    }
}

TEST_F(DiffTest, largeDistancesAreNotRounded)
{
    const auto zero = counting(VTK_LONG_LONG, "a", 2, 1), far = counting(VTK_LONG_LONG, "a", 2, 1);
    auto* const ends = vtkLongLongArray::SafeDownCast(far);
    vtkLongLongArray::SafeDownCast(zero)->SetValue(0, VTK_LONG_LONG_MIN);
    ends->SetValue(0, VTK_LONG_LONG_MAX);
    const auto largestOf = [&](const tavosce::Tolerance& tolerance)
    {
        std::string res;
        tavosce::Differences differences([&](const tavosce::Difference& d) { res = d.spread->largest; }, false);
        tavosce::compareArrays({"array"}, *zero, *far, tolerance, differences);
        return res;
    };
    EXPECT_EQ(largestOf({}), "18446744073709551615");
    EXPECT_EQ(largestOf({1e300, 0}), "");
    vtkLongLongArray::SafeDownCast(zero)->SetValue(0, 0);
    ends->SetValue(0, 9007199254740993); // a double has no odd numbers here
    EXPECT_EQ(largestOf({9007199254740992.0, 0}), "9007199254740993");
}

TEST_F(DiffTest, jsonSaysTheSame)
{
    write("a.sce", {nullptr, nullptr, nullptr});
    write("b.sce", {nullptr, [](Model& m)
                    {
                        m.widget.restoreProperties(Properties(R"({"Deep":{"n":-5,"more":1},"Text":"x"})"));
                        m.polys->SetPolys(cellsOf({{0, 1, 3}}));
                        m.pointArray("p")->SetComponent(1, 0, NOT_A_NUMBER);
                        m.pointArray("p")->Modified();
                        m.polys->GetFieldData()->RemoveArray("f");
                    }});
    const auto found = run("diff --json @a.sce @b.sce");
    EXPECT_EQ(found.code, 1);
    const auto document = found.json();
    const std::string first = "/records/1/differences";
    const std::pair<std::string, std::string> members[] = {
        {"/a", '"' + path("a.sce") + '"'},
        {"/equal", "false"},
        {first + "/0", R"({"what":"property","name":"Deep.more","node":"Widget_1","aspect":"value",)"
                       R"("sides":{"a":{"s":"a"},"b":1}})"},
        {first + "/1",
         R"({"what":"polys","name":null,"node":"PolyDataNode_1","aspect":"cells","spread":{"differing":1,)"
         R"("total":1,"first":{"cell":0,"a":"0 1 4","b":"0 1 3"}}})"},
        {first + "/2",
         R"({"what":"point array","name":"p","node":"PolyDataNode_1","aspect":"values","spread":{)"
         R"("differing":1,"total":5,"first":{"tuple":1,"component":0,"a":2,"b":"nan"},"largest":"inf"}})"},
        {first + "/3", R"({"what":"field array","name":"f","node":"PolyDataNode_1","aspect":"presence","onlyIn":"a"})"},
        {"/records/0", R"({"a":0,"b":0,"differences":[],"complete":true})"},
        {"/records/2", R"({"a":2,"b":null,"differences":[],"complete":true})"},
    };
    for (const auto& [member, value] : members)
    {
        EXPECT_EQ(at(document, member), value) << member;
    }
    EXPECT_THAT(run("diff @b.sce @a.sce").out,
                AllOf(HasSubstr("record 1: polys of"), HasSubstr("record 2: only in the second\n"),
                      HasSubstr("3 records compared: 2 differ, 5 differences")));
    const auto unclear = run("diff @a.sce:1 @b.sce");
    EXPECT_EQ(unclear.code, 2);
    EXPECT_THAT(unclear.err, HasSubstr("which of its 2 records?"));
    EXPECT_EQ(run("diff @a.sce:3 @b.sce:0").code, 2);
    EXPECT_EQ(run("diff @a.sce @none.sce").code, 3);
}

TEST_F(DiffTest, damageIsNamedAndTheRestCompared)
{
    write("a.sce", {nullptr});
    write("b.sce", {[](Model& m) { m.polys->GetCellData()->AddArray(counting(VTK_INT, "c", 4, 1)); }});
    const std::string whole = bytes("a.sce");
    const std::pair<std::size_t, const char*> blocks[] = {
        {0, "polydata of PolyDataNode_1: "},
        {1, R"(point array "p" of PolyDataNode_1: zlib data damaged)"},
    };
    for (const auto& [block, message] : blocks)
    {
        ToolTest::write("a.sce", whole);
        damage("a.sce", block);
        const auto found = run("diff @a.sce @b.sce");
        EXPECT_EQ(found.code, 5);
        EXPECT_THAT(found.err, AllOf(HasSubstr("record 0 \"t\" (byte 0x"), HasSubstr(message)));
        EXPECT_THAT(found.out,
                    AllOf(HasSubstr("components 2 and 1"), HasSubstr("1 difference; not all could be compared")));
        EXPECT_EQ(at(run("diff --json @a.sce @a.sce").json(), "/equal"), "true"); // the same bytes are the same data
    }
    ToolTest::write("copy.sce", bytes("a.sce"));
    EXPECT_THAT(run("diff @a.sce @copy.sce").err, AllOf(HasSubstr(path("a.sce")), HasSubstr(path("copy.sce"))));
    for (const std::size_t size : {whole.size() / 2, whole.size() - 1})
    {
        ToolTest::write("cut.sce", whole.substr(0, size));
        const auto found = run("diff @b.sce @cut.sce");
        EXPECT_EQ(found.code, 5) << found.out;
        EXPECT_THAT(found.err, HasSubstr(path("cut.sce") + ": record 0 \"t\" (byte 0x"));
    }
    ToolTest::write("foreign.sce", "hello");
    EXPECT_EQ(run("diff @b.sce @foreign.sce").code, 4);
}

TEST_F(DiffTest, sceneDirectoriesAreComparedLikeRecords)
{
    write("a.sce", {nullptr});
    ASSERT_THAT(run("export @a.sce:0 --scene-directory -o @scene"), Field(&ToolRun::err, ""));
    EXPECT_EQ(run("diff @a.sce @scene").out, "1 record compared: no differences\n");
    write("b.sce", {[](Model& m) { m.pointArray("p")->SetComponent(0, 0, 1.5); }});
    EXPECT_THAT(run("diff @scene/ @b.sce").out,
                StartsWith(R"(point array "p" of PolyDataNode_1: 1 of 5 values differs)"));
    ToolTest::write("scene/tsg/PolyDataNode_1.p.dataArray", "hello");
    const auto damaged = run("diff @scene:0 @scene");
    EXPECT_EQ(damaged.code, 5);
    EXPECT_THAT(damaged.out, HasSubstr("no differences; not all"));
    EXPECT_THAT(damaged.err, HasSubstr(path("scene/tsg/PolyDataNode_1.p.dataArray")));
}

} // namespace
