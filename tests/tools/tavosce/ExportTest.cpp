#include "DatasetArrays.h"
#include "DatasetOutput.h"
#include "Failure.h"
#include "Interrupt.h"
#include "NodeDataset.h"

#include "scenegraph/OpaqueNode.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneGraph.h"
#include "support/ContainerBytes.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <list>

namespace
{

using namespace test;
using std::filesystem::exists;

class ExportTest : public ToolTest
{
protected:
    void store(tsg::Node& root) const
    {
        tsg::SDBWriter writer;
        writer.open(dir.file("s.sce").wide, false, true);
        add(writer, root);
    }

    /// The sizes of the field arrays of an exported dataset by their names.
    std::map<std::string, vtkIdType> fields(const std::string& name) const
    {
        const auto polys = readVtp(path(name));
        std::map<std::string, vtkIdType> res;
        for (int i = 0; i < polys->GetFieldData()->GetNumberOfArrays(); ++i)
        {
            vtkDataArray* const array = polys->GetFieldData()->GetArray(i);
            res[array->GetName()] = array->GetNumberOfTuples();
        }
        return res;
    }
};

TEST_F(ExportTest, stringsAndNamesOfComponentsAreWrittenAsFarAsXmlHoldsThem)
{
    Scene root;
    tsg::PolyDataNode part("PolyDataNode_1");
    root.addChild(part);
    const auto polys = triangle();
    polys->GetPointData()->SetPedigreeIds(stringsOf("<ids>", {"a", "", "b"}));
    polys->GetPointData()->SetScalars(counting(VTK_INT, "n", 3, 4));
    polys->GetPointData()->AddArray(stringsOf("zero", {"a", std::string("b\0", 2), ""}));
    polys->GetPointData()->GetScalars()->SetComponentName(1, "\xff");
    polys->GetPointData()->GetScalars()->SetComponentName(3, "<&\">\n");
    polys->GetCellData()->SetPedigreeIds(stringsOf("cell", {"c"}));
    part.setPolyData(polys);
    const auto misfit = stringsOf("n", {"x", "y"}, 2);
    misfit->SetComponentName(1, "two");
    part.setArray(tsg::PolyDataNode::Cells, counting(VTK_INT, "n", 7, 2));
    part.setArray(tsg::PolyDataNode::Fields, misfit);
    part.findArray(tsg::PolyDataNode::Cells, "n")->SetComponentName(0, "one");
    store(root);

    const auto run = this->run("export @s.sce:0 -o @out");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr(R"(note: the component of "n" "\xff" is written as "%FF")"),
                               HasSubstr(R"(warning: point array "zero" is left out: its strings have zero bytes)")));
    EXPECT_THAT(bytes("out/record.json"), HasSubstr(R"("1": "b\u0000")"));
    const auto dataset = readVtp(path("out/PolyDataNode_1.vtp"));
    EXPECT_EQ(namesIn(*dataset->GetPointData()), "<ids>=a==b n.-.%FF.-.<&\">\n ");
    EXPECT_EQ(namesIn(*dataset->GetFieldData()), "n.-.two=x,y n_2.one.- ");
    EXPECT_EQ(tavosce::arrayName(dataset->GetPointData()->GetPedigreeIds()), "<ids>");
    EXPECT_STREQ(dataset->GetPointData()->GetScalars()->GetName(), "n");
    EXPECT_EQ(tavosce::arrayName(dataset->GetCellData()->GetPedigreeIds()), "cell");
    EXPECT_EQ(this->run("import @out/PolyDataNode_1.vtp -o @again.sce").err, "");
    EXPECT_EQ(this->run("export @again.sce:0 -o @again").err, "");
    EXPECT_EQ(bytes("again/PolyDataNode_1.vtp"), bytes("out/PolyDataNode_1.vtp"));
}

TEST_F(ExportTest, nodesOfUnknownClassesLoseNothing)
{
    using tsg::NodeData;
    using tsg::NodeStream;
    Scene root;
    tsg::OpaqueNode tube("Tube/1"), chart("Chart%2F_1"), bare("Bare_1");
    for (tsg::Node* const child : {&tube, &chart, &bare})
    {
        root.addChild(*child);
    }
    const auto polys = allCellKinds();
    const auto fits = counting(VTK_FLOAT, "fits & \"100%41\"", 5, 3), misfit = counting(VTK_INT, "misfit", 3, 1),
               field = counting(VTK_DOUBLE, "misfit", 7, 2), alone = counting(VTK_SHORT, "alone", 4, 1),
               unnamed = counting(VTK_INT, "", 6, 1), strange = counting(VTK_INT, "&<\">\xe6\n%41", 2, 1);
    tube.addData(NodeData::ofPolys(polys, tsg::TimeStamp(polys->GetMTime())));
    tube.addData(NodeData::ofPoints(fits));
    tube.addData(NodeData::ofPoints(misfit));
    tube.addData(NodeData::ofNode(field, NodeStream::DataTag7, tsg::TimeStamp()));
    chart.addData(NodeData::ofCells(alone));
    chart.addData(NodeData::ofNode(strange, NodeStream::DataTag1, tsg::TimeStamp()));
    chart.addData(NodeData::ofNode(unnamed, NodeStream::DataTag7, tsg::TimeStamp()));
    store(root);

    const auto run = this->run("export @s.sce -o @out");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr(R"(note: the array "&<\">\xe6\n%41" is written as "&<\">%E6\n%2541")"));
    const auto dataset = readVtp(path("out/record-0000/Tube%2F1.vtp"));
    EXPECT_EQ(dataset->GetNumberOfCells(), 4);
    EXPECT_EQ(dataset->GetPointData()->GetNumberOfArrays(), 1);
    EXPECT_EQ(valuesOf(dataset->GetPointData()->GetArray("fits & \"100%41\"")), valuesOf(fits));
    EXPECT_THAT(fields("out/record-0000/Tube%2F1.vtp"), ElementsAre(Pair("misfit", 7), Pair("misfit_2", 3)));
    EXPECT_THAT(fields("out/record-0000/Chart%252F_1.vtp"),
                ElementsAre(Pair("%00", 6), Pair("&<\">%E6\n%2541", 2), Pair("alone", 4)));

    const auto record = parsed(bytes("out/record-0000/record.json"));
    EXPECT_EQ(record["nodes"].Size(), 4U);
    EXPECT_EQ(at(record, "/nodes/0/file"), "null");
    EXPECT_EQ(at(record, "/nodes/1/file"), R"("Chart%252F_1.vtp")");
    EXPECT_THAT(bytes("out/Tube%2F1.pvd"), HasSubstr("timestep=\"0\" part=\"0\" file=\"record-0000/Tube%2F1.vtp\""));
    EXPECT_FALSE(exists(path("out/Chart%252F_1.pvd")));
}

vtkSmartPointer<vtkPolyData> withRows(vtkSmartPointer<vtkPolyData> polys, const std::vector<double>& rows,
                                      const std::vector<double>& bits)
{
    polys->GetCellData()->SetScalars(arrayOf(VTK_SHORT, "row", 1, rows));
    polys->GetCellData()->AddArray(arrayOf(VTK_BIT, "bit", 1, bits));
    return polys;
}

TEST_F(ExportTest, cellsWithTooFewPointsAreLeftOutWithTheirRows)
{
    constexpr vtkIdType LEAST[] = {1, 2, 3, 3}, IDS[] = {0, 1, 2};
    tsg::SceneGraph graph;
    auto& root = graph.create<tsg::SceneNode>();
    std::vector<vtkSmartPointer<vtkPolyData>> expected;
    for (std::size_t kind = 0; kind < 4; ++kind)
    {
        for (vtkIdType size = 0; size < LEAST[kind]; ++size)
        {
            std::vector<double> rows{10, 11, 12, 13, 14}, bits{1, 0, 1, 1, 0};
            const auto polys = withRows(allCellKinds(), rows, bits);
            (polys->*tavosce::CELL_KINDS[kind].cells)()->InsertNextCell(size, IDS);
            rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(kind) + 1);
            bits.erase(bits.begin() + static_cast<std::ptrdiff_t>(kind) + 1);
            expected.push_back(withRows(allCellKinds(), rows, bits));
            auto& node = graph.create<tsg::PolyDataNode>();
            node.setPolyData(polys);
            root.addChild(node);
        }
    }
    store(root);

    const auto run = this->run("export @s.sce:0 -o @out");
    ASSERT_EQ(run.code, 0) << run.err;
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const std::string name = "PolyDataNode_" + std::to_string(i + 1);
        EXPECT_THAT(run.err, HasSubstr(name + ".vtp: note: left out: 1 cell with too few points\n"));
        EXPECT_EQ(exported("out/" + name + ".vtp"), textOf(*expected[i])) << name;
    }
}

TEST_F(ExportTest, longKeysAreCutBetweenCharactersAndToldApart)
{
    Scene root;
    std::list<tsg::PolyDataNode> parts;
    const std::string start = std::string(239, 'k') + "\u00e9";
    for (const char* const end : {"", "1", "2"})
    {
        parts.emplace_back(start + end).setPolyData(triangle());
        root.addChild(parts.back());
    }
    store(root);
    ASSERT_EQ(run("export @s.sce -o @out").code, 0);
    for (const char* const end : {"~2", "~3", "~4"})
    {
        const std::string name = std::string(239, 'k') + end;
        EXPECT_TRUE(exists(path("out/" + name + ".pvd")));
        EXPECT_TRUE(exists(path("out/record-0000/" + name + ".vtp")));
    }
}

TEST_F(ExportTest, theWriterOfDatasetsMayCrashAndBeInterrupted)
{
    const auto polys = triangle();
    polys->GetPointData()->AddArray(counting(VTK_INT, "v", 3, 2));
    polys->GetPointData()->GetArray("v")->SetComponentName(1, "<&>");
    tsg::PolyDataNode node("N_1");
    node.setPolyData(polys);
    const auto write = [&](const tavosce::NodeDataset& dataset)
    { tavosce::writeDataset(dataset, path("a.vtp"), "a.vtp"); };
    write(tavosce::datasetOf(node));
    EXPECT_STREQ(readVtp(path("a.vtp"))->GetPointData()->GetArray("v")->GetComponentName(1), "<&>");

    const tavosce::NodeDataset unchecked{polys, true, {}, {}, {}, {}};
    tavosce::setInterrupted(true);
    EXPECT_THROW(write(unchecked), tavosce::Interruption);
    tavosce::setInterrupted(false);
    polys->SetPolys(cellsOf({{0, 1}}));
    EXPECT_THAT([&] { write(unchecked); }, ThrowsMessage<tavosce::Failure>(HasSubstr("VTK's writer breaks down")));
}

TEST_F(ExportTest, damagedBlocksAreNamedAndOtherRecordsExported)
{
    auto polys = allCellKinds();
    polys->GetPointData()->AddArray(counting(VTK_FLOAT, "T", 5, 1));
    write("a.vtp", *polys);
    for (const std::string session : {"a", "b", "c"})
    {
        ASSERT_EQ(run("import -o @s.sce --append --session " + session + " @a.vtp").code, 0);
    }
    const std::string content = bytes("s.sce");
    const auto document = info("s.sce");
    const auto& blocks = document["records"][1]["blocks"];
    const std::size_t mesh = blocks[0]["filePos"].GetUint64(), array = blocks[1]["filePos"].GetUint64();
    // where, what is put there, what is said and returned
    const std::tuple<std::size_t, std::string, const char*, int> damages[] = {
        {array + 20, "\xff\xff\xff", "point array \"T\" of PolyDataNode_1: zlib data damaged", 5},
        {array, "\x7", "point array \"T\" of PolyDataNode_1: unknown compression method 7", 5},
        {content.rfind("\"DataType\":10", array), "\"DataType\":13", "of PolyDataNode_1: unknown data type 13", 5},
        {content.rfind("\"Tag\":1", array), "\"Tag\":9", "block of unknown kind 9 \"T\" of PolyDataNode_1", 5},
        {mesh, "# not a dataset at all, whatever", "polydata of PolyDataNode_1: ", 5},
        {content.find("TRIANGLE_STRIPS", mesh), "TRIANGLE_STROPS", "warning: polydata of PolyDataNode_1: ", 1},
    };
    for (const auto& [place, put, message, code] : damages)
    {
        SCOPED_TRACE(message);
        write("d.sce", std::string(content).replace(place, put.size(), put));
        std::filesystem::remove_all(path("all"));
        std::filesystem::remove_all(path("one"));
        const auto all = run("export @d.sce -o @all");
        EXPECT_EQ(all.code, code);
        EXPECT_THAT(all.err, AllOf(HasSubstr("record 1 \"s\" (byte 0x"), HasSubstr(message)));
        EXPECT_EQ(exists(path("all/record-0001")), code == 1);
        EXPECT_EQ(exported("all/record-0002/PolyDataNode_1.vtp"), textOf(*polys));
        EXPECT_EQ(run("export @d.sce:1 -o @one").code, code);
        EXPECT_EQ(exists(path("one")), code == 1);
    }
}

TEST_F(ExportTest, aHeaderThatNamesAnotherRecordsPlaceLoadsNothing)
{
    ContainerBytes file;
    file.record("a", {{"T", std::string("\0abc", 4), {}, chars()}});
    const std::uint64_t begin = ContainerBytes().str().size();
    const Edit elsewhere = [begin](Properties& tag)
    {
        const std::uint64_t own = sdb::hexFromProp(tag, "FilePos");
        position("Length", sdb::hexFromProp(tag, "Length") + own - begin)(tag);
        position("FilePos", begin)(tag);
    };
    write("s.sce", file.record("b", {}, elsewhere).record("c").str());
    for (const char* const line : {"export @s.sce -o @out", "export @s.sce:1 -o @scene --scene-directory"})
    {
        const auto run = this->run(line);
        EXPECT_EQ(run.code, 5);
        EXPECT_THAT(run.err, HasSubstr("record 1 \"b\" (byte 0x"));
        EXPECT_THAT(run.err, HasSubstr("): the record's header is not where it says\n"));
    }
    EXPECT_TRUE(exists(path("out/record-0000")) && !exists(path("out/record-0001")) && exists(path("out/record-0002")));
    EXPECT_EQ(info("s.sce")["records"].Size(), 3U);
}

TEST_F(ExportTest, recordsAreAddressedFromBothEnds)
{
    write("a.vtp", *allCellKinds());
    for (const std::string file : {"s.sce", "s.sce:1"})
    {
        ASSERT_EQ(run("import -o @" + file + " @a.vtp @a.vtp @a.vtp").code, 0);
    }
    for (const auto& [address, index] : {std::pair("s.sce:0", "0"), {"s.sce:-1", "2"}, {"s.sce:1:-3", "0"}})
    {
        ASSERT_EQ(run(std::string("export -o @out --force @") + address).code, 0);
        EXPECT_EQ(at(parsed(bytes("out/record.json")), "/index"), index) << address;
    }
    EXPECT_EQ(run("export @s.sce:1 -o @all --json").json()["records"].Size(), 3U);
    EXPECT_TRUE(exists(path("all/record-0002/PolyDataNode_1.vtp")));
}

} // namespace
