#include "DatasetCheck.h"
#include "RecordLoad.h"

#include "scenegraph/PolyDataNode.h"
#include "support/TemporaryDirectory.h"
#include "support/ToolRun.h"
#include "support/VtpFiles.h"

#include <functional>
#include <sstream>

#include <gmock/gmock.h>
#include <vtkLookupTable.h>
#include <vtkOBJReader.h>
#include <vtkOBJWriter.h>
#include <vtkPLYReader.h>
#include <vtkPLYWriter.h>
#include <vtkPolyDataReader.h>
#include <vtkPolyDataWriter.h>
#include <vtkSTLReader.h>
#include <vtkSTLWriter.h>
#include <vtkStringArray.h>

namespace
{

using test::tool;
using testing::HasSubstr;

template <class Reader>
vtkSmartPointer<vtkPolyData> readWith(const std::string& path)
{
    const vtkNew<Reader> reader;
    reader->SetFileName(path.c_str());
    reader->Update();
    return reader->GetOutput();
}

template <class Writer>
void writeWith(vtkPolyData& polys, const std::string& path, int fileType)
{
    const vtkNew<Writer> writer;
    writer->SetFileName(path.c_str());
    writer->SetInputData(&polys);
    if constexpr (!std::is_same_v<Writer, vtkOBJWriter>)
    {
        writer->SetFileType(fileType);
    }
    writer->Write();
}

/// Triangles with what the simple formats can say.
vtkSmartPointer<vtkPolyData> twoTriangles()
{
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    const vtkNew<vtkPoints> points;
    const vtkNew<vtkCellArray> cells;
    for (const double x : {0.0, 1.0})
    {
        points->InsertNextPoint(x, 0, 0.1);
        points->InsertNextPoint(x, 1, 0);
    }
    cells->InsertNextCell({0, 1, 2});
    cells->InsertNextCell({1, 3, 2});
    polys->SetPoints(points);
    polys->SetPolys(cells);
    polys->GetPointData()->SetNormals(test::counting(VTK_FLOAT, "Normals", 4, 3));
    polys->GetPointData()->SetTCoords(test::counting(VTK_FLOAT, "TCoords", 4, 2, 0));
    return polys;
}

struct FormatCase
{
    const char* file;
    vtkSmartPointer<vtkPolyData> (*make)();
    std::function<void(vtkPolyData&, const std::string&)> write;
    std::function<vtkSmartPointer<vtkPolyData>(const std::string&)> read;
};

void PrintTo(const FormatCase& format, std::ostream* out)
{
    *out << format.file;
}

class FormatTest : public testing::TestWithParam<FormatCase>
{
};

TEST_P(FormatTest, whatIsImportedIsExported)
{
    const FormatCase& format = GetParam();
    const test::TemporaryDirectory dir;
    const std::string input = dir.file(format.file).narrow;
    format.write(*format.make(), input);
    const std::string before = test::bytesOf(input);
    const vtkSmartPointer<vtkPolyData> expected = format.read(input);
    ASSERT_GT(expected->GetNumberOfPoints(), 0);
    for (const char* const compression : {"--force", "--no-compress"})
    {
        const std::string out = dir.file(std::string("out") + compression).narrow;
        const auto import = tool({"import", "-o", out + ".sce", compression, input});
        ASSERT_EQ(import.code, 0) << import.err;
        const auto exported = tool({"export", out + ".sce:0", "-o", out});
        ASSERT_EQ(exported.code, 0) << exported.err;
        const auto actual = test::readVtp(out + "/PolyDataNode_1.vtp");
        EXPECT_EQ(test::textOf(*actual), test::textOf(*expected));
    }
    EXPECT_EQ(test::bytesOf(input), before);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, FormatTest,
    testing::Values(
        FormatCase{"a.vtp", &test::everything, &test::writeVtp, &test::readVtp},
        FormatCase{"a.VTK", &test::allCellKinds,
                   [](vtkPolyData& polys, const std::string& path)
                   { writeWith<vtkPolyDataWriter>(polys, path, VTK_BINARY); },
                   &readWith<vtkPolyDataReader>},
        FormatCase{"a.vtk", &twoTriangles,
                   [](vtkPolyData& polys, const std::string& path)
                   { writeWith<vtkPolyDataWriter>(polys, path, VTK_ASCII); },
                   &readWith<vtkPolyDataReader>},
        FormatCase{"ascii.stl", &twoTriangles,
                   [](vtkPolyData& polys, const std::string& path) { writeWith<vtkSTLWriter>(polys, path, VTK_ASCII); },
                   &readWith<vtkSTLReader>},
        FormatCase{"binary.stl", &twoTriangles,
                   [](vtkPolyData& polys, const std::string& path)
                   { writeWith<vtkSTLWriter>(polys, path, VTK_BINARY); },
                   &readWith<vtkSTLReader>},
        FormatCase{"ascii.ply", &twoTriangles,
                   [](vtkPolyData& polys, const std::string& path) { writeWith<vtkPLYWriter>(polys, path, VTK_ASCII); },
                   &readWith<vtkPLYReader>},
        FormatCase{"binary.ply", &twoTriangles,
                   [](vtkPolyData& polys, const std::string& path)
                   { writeWith<vtkPLYWriter>(polys, path, VTK_BINARY); },
                   &readWith<vtkPLYReader>},
        FormatCase{"a.obj", &twoTriangles,
                   [](vtkPolyData& polys, const std::string& path) { writeWith<vtkOBJWriter>(polys, path, 0); },
                   &readWith<vtkOBJReader>},
        FormatCase{"groups.obj", &twoTriangles,
                   [](vtkPolyData&, const std::string& path)
                   { test::writeBytes(path, "g one\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\ng two\nv 0 0 1\nf 1 2 4\n"); },
                   &readWith<vtkOBJReader>}));

class ImportTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return dir.file(name).narrow; }

    std::string vtp(const std::string& name, vtkPolyData& polys) const
    {
        test::writeVtp(polys, path(name));
        return path(name);
    }

    /// The node with a key as a library user gets it.
    std::unique_ptr<tsg::SceneGraph> load(const std::string& file, std::size_t record) const
    {
        std::ostringstream messages;
        tavosce::Report report(messages, false);
        tavosce::SceneFile scene(path(file));
        tavosce::RecordLoader loader(scene, report);
        const auto contents = tavosce::walkRecord(scene.stream(), scene.records().at(record), scene.size());
        auto graph = std::make_unique<tsg::SceneGraph>(loader.load(record, contents, 0, 1));
        EXPECT_EQ(messages.str(), "");
        return graph;
    }

    test::TemporaryDirectory dir;
};

TEST_F(ImportTest, lookupTablesOfLegacyFilesComeBack)
{
    auto polys = twoTriangles();
    const auto scalars = test::counting(VTK_FLOAT, "heat", 4, 1);
    const vtkNew<vtkLookupTable> table;
    table->SetNumberOfTableValues(3);
    for (int i = 0; i < 3; ++i)
    {
        table->SetTableValue(i, i / 2.0, 0, 1, 0.2);
    }
    scalars->SetLookupTable(table);
    polys->GetPointData()->SetScalars(scalars);
    polys->GetCellData()->AddArray(test::counting(VTK_BIT, "flags", 2, 1));
    writeWith<vtkPolyDataWriter>(*polys, path("a.vtk"), VTK_BINARY);
    ASSERT_EQ(tool({"import", "-o", path("a.sce"), path("a.vtk")}).code, 0);

    const auto graph = load("a.sce", 0);
    const auto& node = dynamic_cast<const tsg::PolyDataNode&>(*graph->find("PolyDataNode_1"));
    vtkDataArray* const heat = node.findArray(tsg::PolyDataNode::Points, "heat");
    ASSERT_TRUE(heat && heat->GetLookupTable());
    EXPECT_EQ(node.getActive(tsg::PolyDataNode::Points, vtkDataSetAttributes::SCALARS), "heat");
    for (int i = 0; i < 3; ++i)
    {
        double colour[4];
        heat->GetLookupTable()->GetTableValue(i, colour);
        EXPECT_THAT(colour, testing::ElementsAre(testing::DoubleNear(i / 2.0, 0.01), 0, 1, 0.2));
    }
    EXPECT_TRUE(vtkBitArray::SafeDownCast(node.findArray(tsg::PolyDataNode::Cells, "flags")));

    ASSERT_EQ(tool({"export", path("a.sce"), "-o", path("out")}).code, 0);
    const auto exported = test::readVtp(path("out/record-0000/PolyDataNode_1.vtp"));
    vtkDataArray* const colours = exported->GetFieldData()->GetArray("heat");
    ASSERT_TRUE(colours);
    EXPECT_EQ(colours->GetNumberOfTuples(), 3);
    EXPECT_EQ(colours->GetComponent(2, 0), 255);
}

TEST_F(ImportTest, whatCannotBeStoredIsAnErrorOrLeftOut)
{
    auto polys = test::allCellKinds();
    const vtkNew<vtkStringArray> words;
    words->SetName("words");
    words->InsertNextValue("w");
    polys->GetFieldData()->AddArray(words);
    const auto ids = test::counting(VTK_ID_TYPE, "far", 5, 1, 3e9);
    polys->GetPointData()->AddArray(ids);
    polys->GetCellData()->AddArray(test::counting(VTK_LONG, "wide", 4, 1, 3e9));
    const std::string input = vtp("a.vtp", *polys);

    const auto refused = tool({"import", "-o", path("a.sce"), input});
    EXPECT_EQ(refused.code, 7);
    EXPECT_THAT(refused.err, HasSubstr("tavosce: " + input + ": field array \"words\" cannot be stored"));
    EXPECT_THAT(refused.err, HasSubstr("point array \"far\" cannot be stored: value 3000000000"));
    EXPECT_THAT(refused.err, HasSubstr("hint: --skip-unsupported"));
    EXPECT_EQ(test::bytesOf(path("a.sce")), "");

    const auto skipped = tool({"import", "-o", path("a.sce"), "--skip-unsupported", input});
    EXPECT_EQ(skipped.code, 0);
    EXPECT_THAT(skipped.err, HasSubstr("note: field array \"words\" is left out"));
    EXPECT_THAT(skipped.err, HasSubstr("note: point array \"far\" is left out"));
    polys->GetFieldData()->RemoveArray("words");
    polys->GetPointData()->RemoveArray("far");
    ASSERT_EQ(tool({"export", path("a.sce:0"), "-o", path("out")}).code, 0);
    EXPECT_EQ(test::textOf(*test::readVtp(path("out/PolyDataNode_1.vtp"))), test::textOf(*polys));
}

TEST_F(ImportTest, arraysWithoutNamesGetOne)
{
    auto polys = test::allCellKinds();
    for (const char* const name : {"", "unnamed_1"})
    {
        polys->GetPointData()->AddArray(test::counting(VTK_INT, name, 5, 1));
    }
    polys->GetPointData()->SetActiveScalars("");
    std::ostringstream messages;
    tavosce::Report report(messages, false);
    tavosce::makeStorable(*polys, "a.vtp", false, report);
    EXPECT_EQ(messages.str(), "tavosce: a.vtp: note: point array 0 has no name and is stored as \"unnamed_2\"\n");
    EXPECT_STREQ(polys->GetPointData()->GetScalars()->GetName(), "unnamed_2");
    EXPECT_EQ(report.exitCode(), tavosce::Fine);
}

TEST_F(ImportTest, singleRecordMakesANodeOfEveryInput)
{
    auto first = test::allCellKinds(), second = twoTriangles();
    const std::string a = vtp("first part.vtp", *first), b = vtp("second.vtp", *second);
    ASSERT_EQ(tool({"import", "-o", path("both.sce"), "--single-record", a, b}).code, 0);
    const auto info = tool({"info", path("both.sce"), "--json"}).json();
    ASSERT_EQ(info["records"].Size(), 1U);
    EXPECT_STREQ(info["records"][0]["title"].GetString(), "both");
    EXPECT_STREQ(info["records"][0]["description"].GetString(), "first part.vtp, second.vtp");

    const auto graph = load("both.sce", 0);
    const tsg::DataNode& root = *graph->find("SceneNode_1");
    ASSERT_EQ(root.getChildren().size(), 2U);
    const auto& node = dynamic_cast<const tsg::PolyDataNode&>(*graph->find("PolyDataNode_2"));
    EXPECT_EQ(node.getName(), "second");
    EXPECT_EQ(test::textOf(*node.assemble()), test::textOf(*second));
}

} // namespace
