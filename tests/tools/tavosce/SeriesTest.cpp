#include "ImportTarget.h"

#include "support/TemporaryDirectory.h"
#include "support/ToolRun.h"
#include "support/VtpFiles.h"

#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <vtkFloatArray.h>

namespace
{

using test::tool;

/// A mesh with point arrays: name and first value.
vtkSmartPointer<vtkPolyData> frame(const std::vector<std::pair<std::string, double>>& arrays)
{
    constexpr int POINTS = 500;
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    const vtkNew<vtkPoints> points;
    for (int i = 0; i < POINTS; ++i)
    {
        points->InsertNextPoint(i, i % 7, 0.1 * i);
    }
    polys->SetPoints(points);
    for (const auto& [name, first] : arrays)
    {
        polys->GetPointData()->AddArray(test::counting(VTK_FLOAT, name, POINTS, 1, first));
    }
    return polys;
}

/// "name" of every block of a record, with "=" behind it if it is shared; polydata is "mesh".
std::vector<std::string> blocksOf(const rapidjson::Value& record)
{
    std::vector<std::string> res;
    for (const auto& block : record["blocks"].GetArray())
    {
        res.push_back(std::string(block["name"].IsNull() ? "mesh" : block["name"].GetString()) +
                      (block["shared"].GetBool() ? "=" : ""));
    }
    return res;
}

TEST(SeriesTest, whatStaysTheSameIsStoredOnce)
{
    const test::TemporaryDirectory dir;
    std::vector<std::string> arguments{"import", "-o", dir.file("s.sce").narrow, "--title", "run"};
    auto moved = frame({{"T", 2}});
    moved->GetPoints()->SetPoint(499, 0, 0, 0);
    const vtkSmartPointer<vtkPolyData> frames[] = {frame({{"T", 1}}), frame({{"T", 1}, {"p", 5}}),
                                                   frame({{"T", 2}, {"p", 5}}), moved, frame({{"T", 2}})};
    int number = 0;
    for (const auto& polys : frames)
    {
        arguments.push_back(dir.file("f" + std::to_string(number++) + ".vtp").narrow);
        test::writeVtp(*polys, arguments.back());
    }
    ASSERT_EQ(tool(arguments).code, 0);

    const auto run = tool({"info", dir.file("s.sce").narrow, "--json"});
    EXPECT_EQ(run.code, 0);
    const auto info = run.json();
    const std::vector<std::vector<std::string>> expected{
        {"mesh", "T"}, {"mesh=", "T=", "p"}, {"mesh=", "T", "p="}, {"mesh", "T="}, {"mesh", "T="}};
    ASSERT_EQ(info["records"].Size(), expected.size());
    for (unsigned i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(blocksOf(info["records"][i]), expected[i]) << "frame " << i;
        EXPECT_EQ(info["records"][i]["frame"].GetInt(), static_cast<int>(i));
        EXPECT_EQ(info["records"][i]["session"], info["records"][0]["session"]);
        EXPECT_EQ(info["records"][i]["description"].GetString(), "f" + std::to_string(i) + ".vtp");
    }
    EXPECT_EQ(info["totals"]["sharedBlocks"].GetInt(), 6);
    EXPECT_EQ(info["size"].GetUint64(), test::bytesOf(dir.file("s.sce").narrow).size());

    ASSERT_EQ(tool({"export", dir.file("s.sce").narrow, "-o", dir.file("out").narrow}).code, 0);
    for (unsigned i = 0; i < expected.size(); ++i)
    {
        const auto back = test::readVtp(dir.file("out/record-000" + std::to_string(i) + "/PolyDataNode_1.vtp").narrow);
        EXPECT_EQ(test::textOf(*back), test::textOf(*frames[i])) << "frame " << i;
    }
}

TEST(SeriesTest, appendingContinuesASessionOrBeginsOne)
{
    const test::TemporaryDirectory dir;
    const std::string file = dir.file("s.sce").narrow, input = dir.file("f.vtp").narrow;
    test::writeVtp(*frame({{"T", 1}}), input);
    ASSERT_EQ(tool({"import", "-o", file, "--append", "--session", "x", input}).code, 0);
    ASSERT_EQ(tool({"import", "-o", file, "--append", "--session", "x", input, input}).code, 0);
    const auto last = tool({"import", "-o", file, "--append", "--json", input});
    EXPECT_EQ(last.json()["records"][0]["index"].GetInt(), 3);

    const auto info = tool({"info", file, "--json"}).json();
    ASSERT_EQ(info["records"].Size(), 4U);
    const int frames[] = {0, 1, 2, 0};
    for (unsigned i = 0; i < 4; ++i)
    {
        EXPECT_EQ(info["records"][i]["frame"].GetInt(), frames[i]);
        EXPECT_EQ(info["records"][i]["session"] == "x", i < 3);
        EXPECT_EQ(blocksOf(info["records"][i]),
                  (i == 2 ? std::vector<std::string>{"mesh=", "T="} : std::vector<std::string>{"mesh", "T"}));
    }
}

TEST(SeriesTest, anOldStampNeverPassesForNewData)
{
    // In a new process stamps begin low again, so that new data comes with stamps that the file knows already.
    const test::TemporaryDirectory dir;
    const std::string file = dir.file("s.sce").narrow;
    const auto first = frame({{"T", 1}});
    tavosce::ImportGraph graph("t");
    graph.setPart(0, "n", *first);
    {
        tavosce::ImportTarget target({file, "x", false, false, false});
        target.addRecord("t", "d", graph);
        target.finish();
    }
    auto* const values = vtkFloatArray::SafeDownCast(first->GetPointData()->GetArray("T"));
    values->SetValue(0, 77);
    first->GetPoints()->SetPoint(0, -1, -1, -1);
    const vtkMTimeType sameStamp = values->GetMTime();
    EXPECT_EQ(tavosce::storedStamps(file, "x").count(sameStamp), 1U);
    EXPECT_EQ(tavosce::storedStamps(file, "other").size(), 0U);
    for (const char* const session : {"x", "other"})
    {
        tavosce::ImportTarget target({file, session, true, false, false});
        target.addRecord("t", "d", graph);
        target.finish();
    }
    ASSERT_EQ(tool({"export", file, "-o", dir.file("out").narrow}).code, 0);
    for (const char* const record : {"out/record-0001", "out/record-0002"})
    {
        const auto back = test::readVtp(dir.file(record).narrow + "/PolyDataNode_1.vtp");
        EXPECT_EQ(back->GetPointData()->GetArray("T")->GetTuple1(0), 77) << record;
        EXPECT_EQ(back->GetPoint(0)[0], -1) << record;
    }
}

} // namespace
