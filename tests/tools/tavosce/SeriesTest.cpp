#include "support/ToolRun.h"

#include <vtkPolyDataWriter.h>

namespace
{

using namespace test;

/// A mesh with point arrays: name and first value.
vtkSmartPointer<vtkPolyData> frame(const std::vector<std::pair<std::string, double>>& arrays)
{
    constexpr int POINTS = 500;
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    polys->SetPoints(vtkNew<vtkPoints>());
    polys->GetPoints()->SetData(counting(VTK_FLOAT, "Points", POINTS, 3));
    for (const auto& [name, first] : arrays)
    {
        polys->GetPointData()->AddArray(counting(VTK_FLOAT, name, POINTS, 1, first));
    }
    return polys;
}

/// The names of the blocks of a record, each with a blank, shared ones with "=" in front of it; polydata is "mesh".
std::string blocksOf(const rapidjson::Value& record)
{
    std::string res;
    for (const auto& block : record["blocks"].GetArray())
    {
        res += block["name"].IsNull() ? "mesh" : block["name"].GetString();
        res += block["shared"].GetBool() ? "= " : " ";
    }
    return res;
}

using SeriesTest = ToolTest;

TEST_F(SeriesTest, whatStaysTheSameIsStoredOnce)
{
    auto moved = frame({{"T", 2}});
    moved->GetPoints()->SetPoint(499, 0, 0, 0);
    const std::pair<vtkSmartPointer<vtkPolyData>, const char*> frames[] = {{frame({{"T", 1}}), "mesh T "},
                                                                           {frame({{"T", 1}, {"p", 5}}), "mesh= T= p "},
                                                                           {frame({{"T", 2}, {"p", 5}}), "mesh= T p= "},
                                                                           {moved, "mesh T= "},
                                                                           {frame({{"T", 2}}), "mesh T= "}};
    std::string inputs;
    for (unsigned i = 0; i < std::size(frames); ++i)
    {
        const std::string name = "f" + std::to_string(i) + ".vtp";
        write(name, *frames[i].first);
        inputs += " @" + name;
    }
    ASSERT_EQ(run("import -o @s.sce --title run" + inputs).code, 0);
    ASSERT_EQ(run("export @s.sce -o @out").code, 0);
    const auto document = info("s.sce");
    ASSERT_EQ(document["records"].Size(), std::size(frames));
    for (unsigned i = 0; i < std::size(frames); ++i)
    {
        const std::string number = std::to_string(i);
        const auto& record = document["records"][i];
        EXPECT_EQ(blocksOf(record), frames[i].second);
        EXPECT_EQ(at(record, "/frame"), number);
        EXPECT_EQ(record["session"], document["records"][0]["session"]);
        EXPECT_EQ(at(record, "/description"), "\"f" + number + ".vtp\"");
        EXPECT_EQ(exported("out/record-000" + number + "/PolyDataNode_1.vtp"), textOf(*frames[i].first)) << number;
    }
    EXPECT_EQ(document["totals"]["sharedBlocks"].GetInt(), 6);
}

TEST_F(SeriesTest, framesMayBeEmpty)
{
    const vtkNew<vtkPolyData> nothing, bare;
    bare->GetPointData()->AddArray(counting(VTK_FLOAT, "T", 0, 1));
    bare->GetCellData()->SetVectors(counting(VTK_DOUBLE, "V", 0, 3));
    bare->GetFieldData()->AddArray(counting(VTK_INT, "time", 1, 1));
    const std::pair<vtkSmartPointer<vtkPolyData>, const char*> frames[] = {
        {nothing, "mesh= "}, {bare, "mesh= T V time "}, {frame({{"T", 1}}), "mesh T "}, {bare, "mesh T V time "}};
    std::string inputs;
    for (std::size_t i = 0; i < std::size(frames); ++i)
    {
        write(std::to_string(i) + ".vtp", *frames[i].first);
        inputs += " @" + std::to_string(i) + ".vtp";
    }
    writeWith<vtkPolyDataWriter>(*nothing, path("4.vtk"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(run("import -o @s.sce @4.vtk" + inputs).err, "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the library's own words";
    EXPECT_EQ(run("export @s.sce -o @out").err, "");
    nothing->SetPoints(vtkNew<vtkPoints>());
    bare->SetPoints(vtkNew<vtkPoints>());
    EXPECT_EQ(exported("out/record-0000/PolyDataNode_1.vtp"), textOf(*nothing));
    for (unsigned i = 0; i < std::size(frames); ++i)
    {
        EXPECT_EQ(blocksOf(info("s.sce")["records"][i + 1]), frames[i].second);
        EXPECT_EQ(exported("out/record-000" + std::to_string(i + 1) + "/PolyDataNode_1.vtp"), textOf(*frames[i].first));
    }
}

TEST_F(SeriesTest, appendingContinuesASessionOrBeginsOne)
{
    write("f.vtp", *frame({{"T", 1}}));
    ASSERT_EQ(run("import -o @s.sce --append --session x @f.vtp").code, 0);
    ASSERT_EQ(run("import -o @s.sce --append --session x @f.vtp @f.vtp").code, 0);
    EXPECT_EQ(at(run("import -o @s.sce --append --json @f.vtp").json(), "/records/0/index"), "3");

    const auto document = info("s.sce");
    ASSERT_EQ(document["records"].Size(), 4U);
    for (unsigned i = 0; i < 4; ++i)
    {
        const auto& record = document["records"][i];
        EXPECT_EQ(record["frame"].GetUint(), i % 3);
        EXPECT_EQ(record["session"] == "x", i < 3);
        EXPECT_EQ(blocksOf(record), i == 2 ? "mesh= T= " : "mesh T ");
    }
}

} // namespace
