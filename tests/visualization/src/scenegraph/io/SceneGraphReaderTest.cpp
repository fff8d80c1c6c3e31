#include "scenegraph/io/SceneGraphReader.h"

#include "support/FullDisk.h"
#include "support/LogCapture.h"
#include "support/SceneDirectories.h"
#include "support/Unprivileged.h"

#include <sys/stat.h>

namespace
{

using namespace test;

using SceneGraphReaderTest = SceneDirectoryTest;

const std::string ONE_POINT =
    "# vtk DataFile Version 3.0\nvtk output\nASCII\nDATASET POLYDATA\nPOINTS 1 float\n1 2 3 \n";
const std::string HEADER = R"({"ObjectKey":"N_1","Name":"a","DataType":3,"NumberOfComponents":1,"NumberOfTuples":3,)";

/// The header of a file of three unsigned chars.
std::string arrayHeader(int tag)
{
    return HEADER + R"("Size":3,"Tag":)" + std::to_string(tag) + "}";
}

std::string polysHeader(const std::string& key = "N_1")
{
    return R"({"ObjectKey":")" + key + R"(","Tag":2})";
}

TEST_F(SceneGraphReaderTest, nodesAreUpgradedAndDelivered)
{
    int postUpgrades = 0;
    stream.registry.addUpgradeStep("N", 2, 3, [](Properties& properties) { properties.set("from2", 1); });
    stream.registry.addUpgradeStep("N", 5, 6, [](Properties& properties) { properties.set("from5", 1); });
    stream.registry.setPostUpgradeStep([&](const ClassVersions& versions)
                                       { postUpgrades += versions.getClassVersion("N") == 5 ? 100 : 1; });
    tsg::SceneGraphReader reader(stream);
    std::istringstream empty;
    EXPECT_TRUE(reader.loadSceneFileFromInputStream(empty));
    EXPECT_EQ(postUpgrades, 1);
    EXPECT_EQ(reader.getSceneName(), "");

    std::istringstream scene(R"({"DataField":"ClassVersions","Versions":{"N":2,"M":1}})"
                             "\n"
                             R"({"DataField":"ClassVersions","Versions":{"N":5}})"
                             "\n"
                             R"({"ObjectKey":"N_1","Properties":{"PolyDataNodesCollection":"c"}})"
                             "\r\n"
                             R"({"ObjectKey":"SceneNode_12","Properties":{"Name":"first"}})"
                             "\n"
                             R"({"ObjectKey":"SceneNode","Properties":{"Name":"last"}})"
                             "\n"
                             R"({"ObjectKey":"SceneNode_1_2","Properties":{"Name":"other"}})"
                             "\n"
                             R"({"DataField":"ClassVersions","Versions":{"PolyDataCollectionDrawable":1}})"
                             "\n"
                             R"({"ObjectKey":"M_1","Properties":{"PolyDataNodesCollection":"c"}})"
                             "\n{}\n{cut\n"
                             R"({"ObjectKey":"unreachable"})");
    stream.registry.registerClass("M", nullptr, 2);
    const LogCapture log;
    EXPECT_TRUE(reader.loadSceneFileFromInputStream(scene));
    EXPECT_THAT(
        log.entries,
        ElementsAre("M is stored with version 1, and this program knows version 2: nothing brings it up to that"));
    EXPECT_THAT(stream.calls, ElementsAre("node N_1", "node SceneNode_12", "node SceneNode", "node SceneNode_1_2",
                                          "node M_1", "node "));
    EXPECT_EQ(stream.nodes["N_1"].toString(), R"({"PolyDataNodes":"c","from5":1})");
    EXPECT_EQ(stream.nodes["M_1"].toString(), R"({"PolyDataNodesCollection":"c"})");
    EXPECT_EQ(postUpgrades, 101);
    EXPECT_EQ(reader.getSceneName(), "last");
    const tsg::SceneGraphReader copy(reader), moved(std::move(reader));
    EXPECT_EQ(copy.getSceneName() + moved.getSceneName(), "lastlast");
}

TEST_F(SceneGraphReaderTest, lineEndsOtherThanThoseOfTextFilesAreReported)
{
    const std::string found = "SceneGraphReader::getNextProperty() found 0x";
    const std::string noEnd = ", expected line feed 0x0a or 0x0d0a.\n";
    const std::string lone = "SceneGraphReader::getNextProperty() expected Windows line feed 0x0d0a, got 0x0d";
    const std::tuple<std::string, std::string, std::vector<double>> cases[] = {
        {"\n\n\1\2", "", {10, 1, 2}},
        {"\r\n\1\2\3", "", {1, 2, 3}},
        {"\1\2", found + "01" + noEnd, {1, 2, 0}},
        {"x\2", found + "120" + noEnd, {120, 2, 0}},
        {"", found + "-1" + noEnd, {0, 0, 0}},
        {"\r\7\2\3", lone + "07\n", {7, 2, 3}},
        {"\r", lone + "ffffffff\n", {0, 0, 0}},
        {"", found + "ffffffff" + noEnd, {0, 0, 0}}, // the base stays
    };
    tsg::SceneGraphReader reader(stream);
    for (const auto& [rest, message, values] : cases)
    {
        std::istringstream in(arrayHeader(0) + rest);
        EXPECT_EQ(stderrOf([&] { EXPECT_TRUE(reader.loadVtkDataFromInputStream(in)); }), message);
        EXPECT_EQ(valuesOf(stream.arrays["point N_1/a"]), values);
    }
    std::cerr << std::dec;
}

TEST_F(SceneGraphReaderTest, theTagOfTheHeaderDecides)
{
    const std::pair<int, std::string> cases[] = {{-1, ""},           {0, "point N_1/a"},
                                                 {1, "cell N_1/a"},  {2, ""}, // no polydata
                                                 {3, "node7 N_1/a"}, {4, "node1 N_1/a"},
                                                 {5, "node2 N_1/a"}, {6, "node3 N_1/a"},
                                                 {7, "node4 N_1/a"}, {8, ""}};
    tsg::SceneGraphReader reader(stream);
    for (const auto& [tag, call] : cases)
    {
        stream.calls.clear();
        std::istringstream in(arrayHeader(tag) + "\n\1\2\3");
        EXPECT_EQ(stdoutOf([&] { EXPECT_EQ(reader.loadVtkDataFromInputStream(in), !call.empty()) << tag; }), "");
        EXPECT_EQ(stream.calls, call.empty() ? std::vector<std::string>() : std::vector{call});
    }
    EXPECT_THAT(valuesOf(stream.arrays["node4 N_1/a"]), ElementsAre(1, 2, 3));
}

TEST_F(SceneGraphReaderTest, headersThatLieTakeNoMemory)
{
    const auto allocation = [](const std::string& bytes)
    { return "SceneGraphReader: failed to allocate " + bytes + " bytes!\n"; };
    const std::string nothing;
    // type, components, size; then the values, or what is printed
    const std::tuple<int, int, int, std::vector<double>, std::string> cases[] = {
        {VTK_SHORT, 2, 4, {258, -1, 3, 0}, nothing},
        {VTK_LONG, 1, 3, {-65278, 3, 0}, nothing},
        {VTK_UNSIGNED_LONG, 1, 1, {4294902018}, nothing},
        {VTK_ID_TYPE, 1, 2, {-65278, 3}, nothing},
        {VTK_BIT, 1, 9, std::vector<double>(9), nothing},
        {VTK_DOUBLE, 3, 0, {}, nothing},
        {VTK_LONG_LONG, 1, 2, {17179803906, 0}, nothing},
        {VTK_SHORT, 0, 1, {258}, nothing},
        {VTK_FLOAT, 1, -1, {}, allocation("-4")},
        {VTK_FLOAT, 1, 536870911, {}, allocation("2147483644")},
        {VTK_FLOAT, 1, 536870912, {}, allocation("-2147483648")},
        {VTK_FLOAT, 1, 1073741824, {}, "refused"},
        {VTK_DOUBLE, 1, 8000000, {}, allocation("64000000")},
        {VTK_BIT, 1, 2147483647, {}, allocation("0")},
        {VTK_BIT, 1, -5, {}, "refused"},
        {VTK_FLOAT, -1, 1, {}, "refused"},
        {VTK_FLOAT, 1048577, 1, {}, "refused"},
        {VTK_STRING, 1, 1, {}, "refused"},
        {20, 1, 1, {}, "refused"},
        {99, 1, 1, {}, "refused"},
        {0, 1, 1, {}, "refused"},
    };
    tsg::SceneGraphReader reader(stream);
    for (const auto& [type, components, size, values, message] : cases)
    {
        stream.arrays.clear();
        Properties header;
        header.set("DataType", type);
        header.set("NumberOfComponents", components);
        header.set("Size", size);
        std::istringstream in(header.toString() + std::string("\n\2\1\xff\xff\3\0\0\0", 9));
        const std::string printed = stdoutOf([&] { (void)reader.loadVtkDataFromInputStream(in); });
        EXPECT_EQ(stream.arrays.size(), message.empty() ? 1U : 0U) << type << " " << size;
        EXPECT_EQ(printed, message == "refused" ? "" : message) << type << " " << size;
        if (message.empty())
        {
            EXPECT_EQ(valuesOf(stream.arrays["point /"]), values) << type;
        }
    }
}

TEST_F(SceneGraphReaderTest, streamsThatCannotSeekAreReadToTheirEnd)
{
    Properties header;
    header.set("DataType", VTK_FLOAT);
    header.set("NumberOfComponents", 1);
    header.set("Size", 5000000);
    OneWayStream array(header.toString() + '\n' + std::string(20000000, '\0'));
    OneWayStream polys("{\"ObjectKey\":\"N_1\",\"Tag\":2}\n# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\n"
                       "POINTS 1 float\n1 2 3\n");
    tsg::SceneGraphReader reader(stream);
    EXPECT_TRUE(reader.loadVtkDataFromInputStream(array));
    EXPECT_TRUE(reader.loadVtkDataFromInputStream(polys));
    EXPECT_EQ(stream.arrays["point /"]->GetNumberOfValues(), 5000000);
    EXPECT_EQ(stream.polys["N_1"]->GetNumberOfPoints(), 1);
}

TEST_F(SceneGraphReaderTest, directoriesWithoutASceneFileAreRefused)
{
    const std::string missing = directory + " does not contain scene.tsg!\n";
    EXPECT_EQ(stdoutOf([&] { EXPECT_FALSE(load()); }), missing);
    writeData("x.dataArray", "");
    ASSERT_EQ(mkfifo((directory + "/scene.tsg").c_str(), 0600), 0);
    EXPECT_EQ(stdoutOf([&] { EXPECT_FALSE(load()); }), missing);
    std::filesystem::remove(directory + "/scene.tsg");
    writeScene("");
    std::filesystem::remove_all(directory + "/tsg");
    EXPECT_EQ(stdoutOf([&] { EXPECT_TRUE(load()); }), "") << "no data directory";

    std::filesystem::permissions(directory + "/scene.tsg", std::filesystem::perms::none);
    std::filesystem::permissions(parent.path(), std::filesystem::perms::all);
    const Unprivileged user;
    if (!user)
    {
        GTEST_SKIP() << "the superuser may not become an ordinary user here";
    }
    EXPECT_EQ(stdoutOf([&] { EXPECT_FALSE(load()); }), "Failed to load scene.tsg!\n");
}

TEST_F(SceneGraphReaderTest, whatIsWholeInTheDataDirectoryIsLoaded)
{
    writeScene(R"({"ObjectKey":"N_1","Properties":{}})"
               "\n");
    writeData("1.dataArray", polysHeader("first") + "\n" + ONE_POINT);
    writeData("2.polyData", arrayHeader(1) + "\n123");
    writeData("3.txt", "notes of somebody");
    writeData("4.polyData", polysHeader() + "\r\n" + ONE_POINT);
    writeData("5.polyData", polysHeader("bad") + "\n" + ONE_POINT + "POLYGONS 1 3\n300000000 0 1 2\n");
    writeData("6.polyData", polysHeader("none"));
    writeData("7.dataArray", arrayHeader(8) + "\n123");
    ASSERT_EQ(mkfifo((directory + "/tsg/8.polyData").c_str(), 0600), 0);
    std::filesystem::create_directory(directory + "/tsg/9.polyData");
    std::filesystem::create_symlink("/dev/zero", directory + "/tsg/zero.dataArray");
    const std::string refused = "Can't load vtk data!\n";
    const std::string messages =
        stderrOf([&] { EXPECT_EQ(stdoutOf([&] { EXPECT_TRUE(load()); }), refused + refused + refused + refused); });
    EXPECT_THAT(messages, StartsWith("SceneGraphReader::getNextProperty() found 0x-1"));
    EXPECT_THAT(stream.calls, ElementsAre("node N_1", "polys first", "cell N_1/a", "polys N_1"));
    EXPECT_EQ(stream.polys["N_1"]->GetPoint(0)[2], 3);

    // Files that each may take little take no more together.
    std::filesystem::remove(directory + "/tsg/6.polyData");
    for (int i = 0; i < 9; ++i)
    {
        writeData(std::to_string(i) + ".dataArray", HEADER + R"("Size":4000000,"Tag":0})" + "\n");
    }
    stream.calls.clear();
    EXPECT_THAT(stdoutOf([&] { EXPECT_TRUE(load()); }), HasSubstr("failed to allocate 4000000 bytes!\n" + refused));
    EXPECT_THAT(std::count(stream.calls.begin(), stream.calls.end(), "point N_1/a"), AllOf(Ge(4), Lt(9)));
}

TEST_F(SceneGraphReaderTest, aReceiverMayThrow)
{
    writeScene("{}\n");
    writeData("1", arrayHeader(0) + "\n123");
    writeData("2", polysHeader() + "\n" + ONE_POINT);
    tsg::SceneGraphReader reader(stream);
    for (const char* const last : {"node ", "point N_1/a", "polys N_1"})
    {
        stream.calls.clear();
        stream.onCall = [&]
        {
            if (stream.calls.back() == last)
            {
                throw std::runtime_error("cancelled");
            }
        };
        EXPECT_THROW(reader.load(path.wide), std::runtime_error);
        EXPECT_EQ(stream.calls.back(), last);
    }
    stream.onCall = nullptr;
    EXPECT_TRUE(reader.load(path.wide));
    EXPECT_EQ(stream.calls.back(), "polys N_1");
}

} // namespace
