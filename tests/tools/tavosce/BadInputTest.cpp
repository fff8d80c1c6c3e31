#include "Interrupt.h"

#include "support/TemporaryDirectory.h"
#include "support/ToolRun.h"
#include "support/VtpFiles.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace
{

using test::tool;
using testing::HasSubstr;

constexpr const char* HEADER =
    R"({"UUID":"8bd8aea8-1887-4e74-a129-b7fc46214c8e","FileFormatVersion":0,"ReleaseNumber":"0.1"})";

/// A directory with one good file of each kind, and all sorts of bad ones.
class BadInputTest : public testing::Test
{
protected:
    BadInputTest()
    {
        test::writeVtp(*test::allCellKinds(), path("good.vtp"));
        EXPECT_EQ(tool({"import", "-o", path("good.sce"), path("good.vtp"), path("good.vtp")}).code, 0);
        const std::string scene = test::bytesOf(path("good.sce"));
        std::string newer = HEADER, later = HEADER;
        write("empty.vtp", "");
        write("empty.sce", "");
        write("foreign.sce", "once upon a {time}\n");
        write("version.sce", newer.replace(newer.find(":0,"), 3, ":1,"));
        write("release.sce", later.replace(later.find("0.1"), 3, "999"));
        write("truncated.sce", scene.substr(0, scene.size() - 5));
        write("stray.sce", scene + "{\"a\":1}");
        write("unfinished.sce", scene + R"({"DataField":"Header","FilePos":"0","Length":"0"})");
        write("truncated.vtp", test::bytesOf(path("good.vtp")).substr(0, 900));
        write("foreign.stl", "not a solid");
        write("truncated.stl", std::string(80, '\0') + std::string("\2\0\0\0", 4) + std::string(50, '\1'));
        write("nothing.obj", "nothing in here\n");
        write("truncated.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                               "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                               "end_header\n0 0 0\n1 0 0\n");
        write("ids.vtk", "# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\nPOINTS 3 float\n0 0 0 1 0 0 0 1 0\n"
                         "POLYGONS 1 4\n3 0 1 99\n");
        write("counts.vtk", "# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\nPOINTS 1 float\n0 0 0\n"
                            "POLYGONS 1 4\n300000000 0 1 2\n");
        write("grid.vtk", "# vtk DataFile Version 3.0\nt\nASCII\nDATASET STRUCTURED_POINTS\nDIMENSIONS 1 1 1\n"
                          "ORIGIN 0 0 0\nSPACING 1 1 1\n");
        std::filesystem::create_directory(path("folder.vtp"));
        std::filesystem::create_directory(path("folder.sce"));
        std::filesystem::create_directory(path("full"));
        write("full/kept.txt", "kept");
    }

    std::string path(const std::string& name) const { return dir.file(name).narrow; }

    void write(const std::string& name, const std::string& bytes) const { test::writeBytes(path(name), bytes); }

    /// The names in the directory.
    std::vector<std::string> names() const
    {
        std::vector<std::string> res;
        for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        {
            res.push_back(entry.path().filename());
        }
        return res;
    }

    test::TemporaryDirectory dir;
};

TEST_F(BadInputTest, everyRefusalNamesFileAndReason)
{
    struct Case
    {
        std::vector<std::string> arguments; ///< "@name" is a file of the directory
        int code;
        const char* message; ///< what standard error holds; "@" is the directory
    };

    const Case cases[] = {
        {{}, 2, "subcommand"},
        {{"import", "@good.vtp"}, 2, "-o"},
        {{"import", "-o", "@o.sce", "@a.xyz"},
         2,
         "tavosce: @a.xyz: no dataset format has the extension \".xyz\"\nhint: "},
        {{"import", "-o", "@good.vtp", "--force", "@good.vtp"}, 2, "the output would replace this input"},
        {{"import", "-o", "@o.sce", "--append", "--force", "@good.vtp"}, 2, "excludes"},
        {{"import", "-o", "@o.sce", "@missing.vtp"}, 3, "@missing.vtp: cannot open: No such file or directory"},
        {{"import", "-o", "@o.sce", "@folder.vtp"}, 3, "@folder.vtp: cannot open: Is a directory"},
        {{"import", "-o", "@o.sce", "@good.vtp/x.vtp"}, 3, "x.vtp: cannot open: Not a directory"},
        {{"import", "-o", "@o.sce", "@empty.vtp"}, 5, "@empty.vtp: the file is empty"},
        {{"import", "-o", "@o.sce", "@good.vtp", "@truncated.vtp"}, 5, "tavosce: @truncated.vtp: "},
        {{"import", "-o", "@o.sce", "@foreign.stl"}, 5, "Expecting 'solid'"},
        {{"import", "-o", "@o.sce", "@truncated.stl"}, 5, "the file is truncated: it should hold 2 triangles"},
        {{"import", "-o", "@o.sce", "@truncated.ply"}, 5, "@truncated.ply: "},
        {{"import", "-o", "@o.sce", "@nothing.obj"}, 5, "no .obj file, or one without geometry"},
        {{"import", "-o", "@o.sce", "@ids.vtk"}, 5, "polygons refer to point 99, but there are 3 points"},
        {{"import", "-o", "@o.sce", "@counts.vtk"}, 5, "@counts.vtk: the file is damaged or truncated"},
        {{"import", "-o", "@o.sce", "@grid.vtk"}, 7, "@grid.vtk: the dataset is no polydata\nhint: "},
        {{"import", "-o", "@good.sce", "@good.vtp"}, 6, "@good.sce: exists already\nhint: --force"},
        {{"import", "-o", "@folder.sce", "--force", "@good.vtp"}, 6, "@folder.sce: cannot write: it is a directory"},
        {{"import", "-o", "@none/o.sce", "@good.vtp"}, 6, "o.sce: cannot write: No such file or directory"},
        {{"import", "-o", "@foreign.sce", "--append", "@good.vtp"}, 4, "@foreign.sce: no scene database"},
        {{"import", "-o", "@truncated.sce", "--append", "@good.vtp"}, 5, "cannot be added to"},
        {{"import", "-o", "@stray.sce", "--append", "@good.vtp"}, 5, "Expect to have only Headers here"},
        {{"info", "@missing.sce"}, 3, "tavosce: @missing.sce: cannot open: No such file or directory"},
        {{"info", "@folder.sce"}, 3, "@folder.sce: cannot open: Is a directory"},
        {{"info", "@empty.sce"}, 4, "@empty.sce: no scene database: the file is empty"},
        {{"info", "@foreign.sce"}, 4, "@foreign.sce: no scene database"},
        {{"info", "@version.sce"}, 4, "has file format version #1"},
        {{"info", "@release.sce"}, 4, "Corvel TavoFlow 999, whereas the current version is"},
        {{"info", "@truncated.sce"}, 1, "the file is truncated: its last item reaches beyond the end"},
        {{"info", "@stray.sce"}, 1, "warning: stray tag"},
        {{"info", "@unfinished.sce"}, 1, "warning: the file ends in an item that was never finished"},
        {{"export", "@missing.sce:0", "-o", "@o"}, 3, "@missing.sce: cannot open"},
        {{"export", "@good.sce:2", "-o", "@o"}, 2, "no record 2: the file has 2 records"},
        {{"export", "@good.sce:-3", "-o", "@o"}, 2, "no record -3: the file has 2 records"},
        {{"export", "@good.sce", "-o", "@good.vtp"}, 6, "@good.vtp: cannot write: it is no directory"},
        {{"export", "@good.sce", "-o", "@full"}, 6, "@full: the directory is not empty\nhint: --force"},
        {{"export", "@good.sce", "-o", "@good.vtp/o"}, 6, "cannot write: Not a directory"},
    };
    const auto place = [this](std::string text)
    {
        for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at))
        {
            text.replace(at, 1, dir.path() + "/");
        }
        return text;
    };
    const auto before = names();
    for (const Case& one : cases)
    {
        std::vector<std::string> arguments;
        std::string shown;
        for (const std::string& argument : one.arguments)
        {
            arguments.push_back(place(argument));
            shown += argument + " ";
        }
        const auto run = tool(arguments);
        EXPECT_EQ(run.code, one.code) << shown << run.err;
        EXPECT_THAT(run.err, HasSubstr(place(one.message))) << shown;
        EXPECT_TRUE(run.out.empty() || arguments[0] == "info") << shown;
    }
    EXPECT_THAT(names(), testing::UnorderedElementsAreArray(before)) << "left behind";
}

TEST_F(BadInputTest, whatCanBeReadIsStillThere)
{
    for (const char* const file : {"stray.sce", "unfinished.sce"})
    {
        const auto info = tool({"info", path(file), "--json"}).json();
        EXPECT_EQ(info["records"].Size(), 2U) << file;
        EXPECT_FALSE(info["whole"].GetBool()) << file;
        const auto run = tool({"export", path(file), "-o", path(std::string(file) + ".d")});
        EXPECT_EQ(run.code, 1) << run.err;
        const auto back = test::readVtp(path(std::string(file) + ".d/record-0001/PolyDataNode_1.vtp"));
        EXPECT_EQ(test::textOf(*back), test::textOf(*test::allCellKinds()));
    }
    // What follows an unfinished item takes its place.
    EXPECT_EQ(tool({"import", "-o", path("unfinished.sce"), "--append", path("good.vtp")}).code, 0);
    const auto info = tool({"info", path("unfinished.sce"), "--json"});
    EXPECT_EQ(info.code, 0) << info.err;
    EXPECT_EQ(info.json()["records"].Size(), 3U);
}

TEST_F(BadInputTest, forceReplacesOnlyWhatIsComplete)
{
    const std::string before = test::bytesOf(path("good.sce"));
    EXPECT_EQ(tool({"import", "-o", path("good.sce"), "--force", path("good.vtp"), path("empty.vtp")}).code, 5);
    EXPECT_EQ(test::bytesOf(path("good.sce")), before);
    EXPECT_EQ(tool({"import", "-o", path("good.sce"), "--force", path("good.vtp")}).code, 0);
    EXPECT_EQ(tool({"info", path("good.sce"), "--json"}).json()["records"].Size(), 1U);

    EXPECT_EQ(tool({"export", path("good.sce:0"), "-o", path("full"), "--force"}).code, 0);
    EXPECT_EQ(test::bytesOf(path("full/kept.txt")), "kept");
    EXPECT_THAT(test::bytesOf(path("full/record.json")), HasSubstr("\"index\": 0"));
}

TEST_F(BadInputTest, anInterruptLeavesNothingBehind)
{
    const auto before = names();
    const std::string bytes = test::bytesOf(path("good.sce"));
    for (const auto& arguments : {std::vector<std::string>{"import", "-o", path("o.sce"), path("good.vtp")},
                                  {"import", "-o", path("good.sce"), "--append", path("good.vtp")},
                                  {"export", path("good.sce"), "-o", path("o")}})
    {
        tavosce::setInterrupted(true);
        const auto run = tool(arguments);
        tavosce::setInterrupted(false);
        EXPECT_EQ(run.code, 130);
        EXPECT_EQ(run.err, "tavosce: interrupted\n");
    }
    EXPECT_THAT(names(), testing::UnorderedElementsAreArray(before));
    EXPECT_EQ(test::bytesOf(path("good.sce")), bytes);
}

} // namespace
