#include "DatasetCheck.h"
#include "RecordLoad.h"

#include "scenegraph/PolyDataNode.h"
#include "support/ToolRun.h"

#include <vtkBitArray.h>
#include <vtkOBJReader.h>
#include <vtkOBJWriter.h>
#include <vtkPLYReader.h>
#include <vtkPLYWriter.h>
#include <vtkPolyDataReader.h>
#include <vtkPolyDataWriter.h>
#include <vtkSTLReader.h>
#include <vtkSTLWriter.h>
#include <vtkVariantArray.h>

namespace
{

using namespace test;

/// Triangles with what the simple formats can say.
vtkSmartPointer<vtkPolyData> twoTriangles()
{
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    polys->SetPoints(pointsOf(VTK_FLOAT, {0, 0, 0.1, 0, 1, 0, 1, 0, 0.1, 1, 1, 0}));
    polys->SetPolys(cellsOf({{0, 1, 2}, {1, 3, 2}}));
    polys->GetPointData()->SetNormals(counting(VTK_FLOAT, "Normals", 4, 3));
    polys->GetPointData()->SetTCoords(counting(VTK_FLOAT, "TCoords", 4, 2, 0));
    return polys;
}

/// All kinds of cells, arrays of all types, odd numbers, strings, names of components, and an active attribute of every
/// kind.
vtkSmartPointer<vtkPolyData> everything()
{
    auto polys = withAllArrays(allCellKinds(), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15, 16, 17});
    polys->GetCellData()->SetPedigreeIds(counting(VTK_ID_TYPE, "p", 4, 1));
    using Limits = std::numeric_limits<double>;
    polys->GetPointData()->AddArray(
        arrayOf(VTK_DOUBLE, "odd", 1, {Limits::quiet_NaN(), -Limits::infinity(), -0.0, Limits::denorm_min(), 0.1}));
    for (vtkFieldData* const fields : {static_cast<vtkFieldData*>(polys->GetPointData()), polys->GetFieldData()})
    {
        fields->AddArray(stringsOf("words", {"{", "", "\xff\n\x01", "\"\\", "}"}));
        fields->GetAbstractArray("words")->SetComponentName(0, "word");
        fields->AddArray(counting(VTK_BIT, "last", 5, 1));
        fields->GetArray("last")->SetComponentName(0, "bit");
    }
    polys->GetFieldData()->AddArray(stringsOf("none", {}, 3));
    polys->GetCellData()->GetVectors()->SetComponentName(0, "along");
    polys->GetCellData()->GetVectors()->SetComponentName(2, "");
    return polys;
}

void writeGroups(vtkPolyData&, const std::string& path)
{
    writeBytes(path, "g one\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\ng two\nv 0 0 1\nf 1 2 4\n");
}

class ImportTest : public ToolTest
{
protected:
    /// A record as a library user gets it.
    std::unique_ptr<tsg::SceneGraph> load(const std::string& file) const
    {
        std::ostringstream messages;
        tavosce::Report report(messages, false);
        tavosce::SceneFile scene(path(file));
        tavosce::RecordLoader loader(scene, report);
        const auto contents = tavosce::walkRecord(scene.stream(), scene.records().at(0), scene.size());
        auto graph = std::make_unique<tsg::SceneGraph>(loader.load(0, contents, 0, 1));
        EXPECT_EQ(messages.str(), "");
        return graph;
    }

    static const tsg::PolyDataNode& node(const tsg::SceneGraph& graph, const std::string& key)
    {
        return dynamic_cast<const tsg::PolyDataNode&>(*graph.find(key));
    }
};

TEST_F(ImportTest, whatIsImportedIsExported)
{
    struct Format
    {
        const char* file;
        void (*write)(vtkPolyData&, const std::string&);
        vtkSmartPointer<vtkPolyData> (*read)(const std::string&);
        vtkSmartPointer<vtkPolyData> polys = twoTriangles();
    };

    const Format formats[] = {
        {"a.vtp", writeVtp, readVtp, everything()},
        {"a.VTK", writeWith<vtkPolyDataWriter, VTK_BINARY>, readWith<vtkPolyDataReader>, allCellKinds()},
        {"ascii.vtk", writeWith<vtkPolyDataWriter, VTK_ASCII>, readWith<vtkPolyDataReader>},
        {"ascii.stl", writeWith<vtkSTLWriter, VTK_ASCII>, readWith<vtkSTLReader>},
        {"binary.stl", writeWith<vtkSTLWriter, VTK_BINARY>, readWith<vtkSTLReader>},
        {"ascii.ply", writeWith<vtkPLYWriter, VTK_ASCII>, readWith<vtkPLYReader>},
        {"binary.ply", writeWith<vtkPLYWriter, VTK_BINARY>, readWith<vtkPLYReader>},
        {"a.obj", writeWith<vtkOBJWriter>, readWith<vtkOBJReader>},
        {"groups.obj", writeGroups, readWith<vtkOBJReader>},
    };
    for (const Format& format : formats)
    {
        SCOPED_TRACE(format.file);
        format.write(*format.polys, path(format.file));
        const std::string before = bytes(format.file);
        const vtkSmartPointer<vtkPolyData> expected = format.read(path(format.file));
        ASSERT_GT(expected->GetNumberOfPoints(), 0);
        for (const std::string compression : {"", "--no-compress "})
        {
            ASSERT_EQ(run("import -o @s.sce --force " + compression + "@" + format.file).err, "");
            ASSERT_EQ(run("export @s.sce:0 --force -o @out").err, "");
            EXPECT_EQ(exported("out/PolyDataNode_1.vtp"), textOf(*expected));
        }
        EXPECT_EQ(bytes(format.file), before);
    }
}

TEST_F(ImportTest, lookupTablesOfLegacyFilesComeBack)
{
    auto polys = twoTriangles();
    polys->GetPointData()->SetScalars(counting(VTK_FLOAT, "heat", 4, 1));
    polys->GetPointData()->GetScalars()->SetLookupTable(tableOf({{0, 0, 1, 0.2}, {0.5, 0, 1, 0.2}, {1, 0, 1, 0.2}}));
    polys->GetCellData()->AddArray(counting(VTK_BIT, "flags", 2, 1));
    writeWith<vtkPolyDataWriter, VTK_BINARY>(*polys, path("a.vtk"));
    ASSERT_EQ(run("import -o @a.sce @a.vtk").code, 0);

    const auto graph = load("a.sce");
    const auto& stored = node(*graph, "PolyDataNode_1");
    vtkDataArray* const heat = stored.findArray(tsg::PolyDataNode::Points, "heat");
    ASSERT_TRUE(heat && heat->GetLookupTable());
    EXPECT_EQ(stored.getActive(tsg::PolyDataNode::Points, vtkDataSetAttributes::SCALARS), "heat");
    EXPECT_TRUE(vtkBitArray::SafeDownCast(stored.findArray(tsg::PolyDataNode::Cells, "flags")));
    const std::vector<double> colors{0, 0, 255, 51, 128, 0, 255, 51, 255, 0, 255, 51};
    EXPECT_EQ(valuesOf(heat->GetLookupTable()->GetTable()), colors);

    ASSERT_EQ(run("export @a.sce -o @out").code, 0);
    const auto written = readVtp(path("out/record-0000/PolyDataNode_1.vtp"));
    EXPECT_EQ(valuesOf(written->GetFieldData()->GetArray("heat")), colors);
}

TEST_F(ImportTest, whatCannotBeStoredIsAnErrorOrLeftOut)
{
    auto polys = allCellKinds();
    polys->GetPointData()->AddArray(counting(VTK_ID_TYPE, "far", 5, 1, 3e9));
    polys->GetCellData()->AddArray(counting(VTK_LONG, "wide", 4, 1, 3e9));
    polys->GetCellData()->GetArray("wide")->SetComponentName(0, "w");
    write("a.vtp", *polys);

    const auto refused = run("import -o @a.sce @a.vtp");
    EXPECT_EQ(refused.code, 7);
    EXPECT_THAT(refused.err,
                AllOf(HasSubstr(placed("tavosce: @a.vtp: point array \"far\" cannot be stored: value 3000000000")),
                      HasSubstr("hint: --skip-unsupported")));
    EXPECT_EQ(bytes("a.sce"), "");

    const auto skipped = run("import -o @a.sce --skip-unsupported @a.vtp");
    EXPECT_EQ(skipped.code, 0);
    EXPECT_THAT(skipped.err, HasSubstr("note: point array \"far\" is left out"));
    polys->GetPointData()->RemoveArray("far");
    ASSERT_EQ(run("export @a.sce:0 -o @out").code, 0);
    EXPECT_EQ(exported("out/PolyDataNode_1.vtp"), textOf(*polys));
}

TEST_F(ImportTest, stringsAreLeftOutWhereANodeHasNoRoomForThem)
{
    const auto polys = allCellKinds();
    vtkFieldData& fields = *polys->GetFieldData();
    const vtkNew<vtkVariantArray> variants;
    variants->SetName("variants");
    fields.AddArray(variants);
    fields.AddArray(stringsOf("wide", {"a"}, 1025));
    fields.AddArray(stringsOf("long", {std::string(64 << 20, 'x')}));
    const std::string braces(6 << 20, '{'); // six bytes each where they are stored
    fields.AddArray(stringsOf("fits", {braces}));
    fields.AddArray(counting(VTK_INT, "named", 5, 1));
    fields.GetArray("named")->SetComponentName(0, braces.c_str());
    for (int i = 0; i < 1024; ++i)
    {
        fields.AddArray(stringsOf(std::to_string(i).c_str(), {}));
    }
    std::ostringstream messages;
    tavosce::Report report(messages, false);
    tavosce::makeStorable(*polys, "a", true, report);
    std::string reasons = messages.str();
    reasons.erase(std::remove_if(reasons.begin(), reasons.end(), [](char c) { return c >= '0' && c <= '9'; }),
                  reasons.end());
    const std::string begin = "tavosce: a: note: field array ",
                      room = " or more, and the node's properties have room for ";
    EXPECT_EQ(reasons, begin + "\"variants\" is left out: it holds variants, neither numbers nor strings\n" +  //
                           begin + "\"wide\" is left out: it has more than  components, and fewer strings\n" + //
                           begin + "\"long\" is left out: its strings take  bytes" + room + "\n" +             //
                           begin + "\"named\" is left out: the names of its components take  bytes" + room + "\n" +
                           begin + "\"\" is left out: there are  arrays of strings besides, and no room for more\n");
    EXPECT_EQ(fields.GetNumberOfArrays(), 1024);
}

TEST_F(ImportTest, arraysWithoutNamesGetOne)
{
    auto polys = allCellKinds();
    polys->GetPointData()->SetScalars(counting(VTK_INT, "", 5, 1));
    polys->GetPointData()->AddArray(counting(VTK_INT, "unnamed_1", 5, 1));
    std::ostringstream messages;
    tavosce::Report report(messages, false);
    tavosce::makeStorable(*polys, "a.vtp", false, report);
    EXPECT_EQ(messages.str(), "tavosce: a.vtp: note: point array 0 has no name and is stored as \"unnamed_2\"\n");
    EXPECT_STREQ(polys->GetPointData()->GetScalars()->GetName(), "unnamed_2");
    EXPECT_EQ(report.exitCode(), tavosce::Fine);
}

TEST_F(ImportTest, singleRecordMakesANodeOfEveryInput)
{
    const auto second = twoTriangles();
    write("first part.vtp", *allCellKinds());
    write("second.vtp", *second);
    ASSERT_EQ(
        tool({"import", "-o", path("both.sce"), "--single-record", path("first part.vtp"), path("second.vtp")}).code,
        0);
    const auto document = info("both.sce");
    ASSERT_EQ(document["records"].Size(), 1U);
    EXPECT_EQ(at(document, "/records/0/title"), R"("both")");
    EXPECT_EQ(at(document, "/records/0/description"), R"("first part.vtp, second.vtp")");
    const auto graph = load("both.sce");
    EXPECT_EQ(graph->find("SceneNode_1")->getChildren().size(), 2U);
    EXPECT_EQ(node(*graph, "PolyDataNode_2").getName(), "second");
    EXPECT_EQ(textOf(*node(*graph, "PolyDataNode_2").assemble()), textOf(*second));
}

} // namespace
