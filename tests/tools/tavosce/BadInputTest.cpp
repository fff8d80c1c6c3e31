#include "Interrupt.h"

#include "support/FileSizeLimit.h"
#include "support/ToolRun.h"

namespace
{

using namespace test;

constexpr const char* HEADER =
    R"({"UUID":"8bd8aea8-1887-4e74-a129-b7fc46214c8e","FileFormatVersion":0,"ReleaseNumber":"0.1"})";
const std::string VTK = "# vtk DataFile Version 3.0\nt\nASCII\nDATASET ";

/// A directory with one good file of each kind, and all sorts of bad ones.
class BadInputTest : public ToolTest
{
protected:
    BadInputTest()
    {
        write("good.vtp", *allCellKinds());
        EXPECT_EQ(run("import -o @good.sce @good.vtp @good.vtp").code, 0);
        const std::string scene = bytes("good.sce"), header = HEADER;
        for (const std::string folder : {"folder.vtp", "folder.sce", "full"})
        {
            std::filesystem::create_directory(path(folder));
        }
        const std::pair<const char*, std::string> files[] = {
            {"full/kept.txt", "kept"},
            {"empty.vtp", ""},
            {"empty.sce", ""},
            {"a.xyz", "1 2 3\n"},
            {"foreign.sce", "once upon a {time}\n"},
            {"version.sce", std::string(HEADER).replace(header.find(":0,"), 3, ":1,")},
            {"release.sce", std::string(HEADER).replace(header.find("0.1"), 3, "999")},
            {"truncated.sce", scene.substr(0, scene.size() - 5)},
            {"stray.sce", scene + "{\"a\":1}"},
            {"unfinished.sce", scene + R"({"DataField":"Header","FilePos":"0","Length":"0"})"},
            {"truncated.vtp", bytes("good.vtp").substr(0, 900)},
            {"points.vtp",
             R"(<VTKFile type="PolyData" version="0.1"><PolyData><Piece NumberOfPoints="1"/></PolyData></VTKFile>)"},
            {"foreign.stl", "not a solid"},
            {"nothing.stl", "solid\nendsolid\n"},
            {"nothing.ply", "ply\nformat ascii 1.0\nelement vertex 0\nproperty float x\nproperty float y\n"
                            "property float z\nelement face 0\nproperty list uchar int vertex_indices\nend_header\n"},
            {"truncated.stl", std::string(80, '\0') + std::string("\2\0\0\0", 4) + std::string(50, '\1')},
            {"nothing.obj", "nothing in here\n"},
            {"truncated.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                              "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                              "end_header\n0 0 0\n1 0 0\n"},
            {"ids.vtk", VTK + "POLYDATA\nPOINTS 3 float\n0 0 0 1 0 0 0 1 0\nPOLYGONS 1 4\n3 0 1 99\n"},
            {"counts.vtk", VTK + "POLYDATA\nPOINTS 1 float\n0 0 0\nPOLYGONS 1 4\n300000000 0 1 2\n"},
            {"grid.vtk", VTK + "STRUCTURED_POINTS\nDIMENSIONS 1 1 1\nORIGIN 0 0 0\nSPACING 1 1 1\n"},
        };
        for (const auto& [name, content] : files)
        {
            write(name, content);
        }
        std::filesystem::create_symlink("circle.sce", path("circle.sce"));
    }

    /// The names in the directory.
    std::set<std::string> names() const
    {
        std::set<std::string> res;
        for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        {
            res.insert(entry.path().filename());
        }
        return res;
    }
};

TEST_F(BadInputTest, everyRefusalNamesFileAndReason)
{
    // the command line, the exit code, and what standard error holds
    const std::tuple<const char*, int, const char*> cases[] = {
        {"", 2, "subcommand"},
        {"import @good.vtp", 2, "-o"},
        {"import -o @o.sce @a.xyz", 2, "tavosce: @a.xyz: no dataset format has the extension \".xyz\"\nhint: "},
        {"import -o @o.sce @missing", 3, "@missing: cannot open: No such file or directory\nhint: "},
        {"import -o @good.vtp --force @good.vtp", 2, "the output would replace this input"},
        {"import -o @o.sce --append --force @good.vtp", 2, "excludes"},
        {"import -o @o.sce @missing.vtp", 3, "@missing.vtp: cannot open: No such file or directory"},
        {"import -o @o.sce @folder.vtp", 3, "@folder.vtp: cannot open: Is a directory"},
        {"import -o @o.sce @good.vtp/x.vtp", 3, "x.vtp: cannot open: Not a directory"},
        {"import -o @o.sce @empty.vtp", 5, "@empty.vtp: the file is empty"},
        {"import -o @o.sce @good.vtp @truncated.vtp", 5, "tavosce: @truncated.vtp: "},
        {"import -o @o.sce @points.vtp", 5, "@points.vtp: A piece is missing its Points element"},
        {"import -o @o.sce @nothing.stl", 5, "no .stl file, or one without geometry"},
        {"import -o @o.sce @nothing.ply", 5, "no .ply file, or one without geometry"},
        {"import -o @o.sce @foreign.stl", 5, "Expecting 'solid'"},
        {"import -o @o.sce @truncated.stl", 5, "the file is truncated: it should hold 2 triangles"},
        {"import -o @o.sce @truncated.ply", 5, "@truncated.ply: "},
        {"import -o @o.sce @nothing.obj", 5, "no .obj file, or one without geometry"},
        {"import -o @o.sce @ids.vtk", 5, "polygons refer to point 99, but there are 3 points"},
        {"import -o @o.sce @counts.vtk", 5, "@counts.vtk: the file is damaged or truncated"},
        {"import -o @o.sce @grid.vtk", 7, "@grid.vtk: the dataset is no polydata\nhint: "},
        {"import -o @good.sce @good.vtp", 6, "@good.sce: exists already\nhint: --force"},
        {"import -o @folder.sce --force @good.vtp", 6, "@folder.sce: cannot write: it is a directory"},
        {"import -o @circle.sce @good.vtp", 6, "@circle.sce: "},
        {"import -o @circle.sce --force @good.vtp", 6, "cannot write: Too many levels of symbolic links"},
        {"import -o @none/o.sce @good.vtp", 6, "o.sce: cannot write: No such file or directory"},
        {"import -o @foreign.sce --append @good.vtp", 4, "@foreign.sce: no scene database"},
        {"import -o @truncated.sce --append @good.vtp", 5, "cannot be added to"},
        {"import -o @stray.sce --append @good.vtp", 5, "Expect to have only Headers here"},
        {"info @missing.sce", 3, "tavosce: @missing.sce: cannot open: No such file or directory"},
        {"info @folder.sce", 3, "@folder.sce: cannot open: Is a directory"},
        {"info @empty.sce", 4, "@empty.sce: no scene database: the file is empty"},
        {"info @foreign.sce", 4, "@foreign.sce: no scene database"},
        {"info @version.sce", 4, "has file format version #1"},
        {"info @release.sce", 4, "Corvel TavoFlow 999, whereas the current version is"},
        {"info @truncated.sce", 1, "the file is truncated: its last item reaches beyond the end"},
        {"info @stray.sce", 1, "warning: stray tag"},
        {"info @unfinished.sce", 1, "warning: the file ends in an item that was never finished"},
        {"export @missing.sce:0 -o @o", 3, "@missing.sce: cannot open"},
        {"export @good.sce:2 -o @o", 2, "no record 2: the file has 2 records"},
        {"export @good.sce:-3 -o @o", 2, "no record -3: the file has 2 records"},
        {"export @good.sce -o @good.vtp", 6, "@good.vtp: cannot write: it is no directory"},
        {"export @good.sce -o @full", 6, "@full: the directory is not empty\nhint: --force"},
        {"export @good.sce -o @good.vtp/o", 6, "cannot write: Not a directory"},
    };
    const auto before = names();
    for (const auto& [line, code, message] : cases)
    {
        SCOPED_TRACE(line);
        const auto refused = run(line);
        EXPECT_EQ(refused.code, code) << refused.err;
        EXPECT_THAT(refused.err, HasSubstr(placed(message)));
        EXPECT_TRUE(refused.out.empty() || std::string(line).rfind("info", 0) == 0) << refused.out;
    }
    EXPECT_EQ(names(), before) << "left behind";
}

TEST_F(BadInputTest, whatCanBeReadIsStillThere)
{
    for (const std::string file : {"stray.sce", "unfinished.sce"})
    {
        const auto document = info(file);
        EXPECT_EQ(document["records"].Size(), 2U) << file;
        EXPECT_FALSE(document["whole"].GetBool()) << file;
        EXPECT_EQ(run("export @" + file + " -o @" + file + ".d").code, 1);
        EXPECT_EQ(exported(file + ".d/record-0001/PolyDataNode_1.vtp"), textOf(*allCellKinds()));
    }
    // What follows an unfinished item takes its place.
    EXPECT_EQ(run("import -o @unfinished.sce --append @good.vtp").code, 0);
    const auto repaired = run("info @unfinished.sce --json");
    EXPECT_EQ(repaired.code, 0) << repaired.err;
    EXPECT_EQ(repaired.json()["records"].Size(), 3U);
}

TEST_F(BadInputTest, forceReplacesOnlyWhatIsComplete)
{
    const std::string before = bytes("good.sce");
    EXPECT_EQ(run("import -o @good.sce --force @good.vtp @empty.vtp").code, 5);
    EXPECT_EQ(bytes("good.sce"), before);
    EXPECT_EQ(run("import -o @good.sce --force @good.vtp").code, 0);
    EXPECT_EQ(info("good.sce")["records"].Size(), 1U);

    std::filesystem::create_symlink(path("good.sce"), path("link.sce"));
    EXPECT_EQ(run("import -o @link.sce --force @good.vtp @good.vtp").code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("link.sce")));
    EXPECT_EQ(info("good.sce")["records"].Size(), 2U);

    EXPECT_EQ(run("export @good.sce:0 -o @full --force").code, 0);
    EXPECT_EQ(bytes("full/kept.txt"), "kept");
    EXPECT_THAT(bytes("full/record.json"), HasSubstr("\"index\": 0"));
}

TEST_F(BadInputTest, allInputsAreImportedOrNoneUnlessTheToolIsToKeepGoing)
{
    const std::string before = bytes("good.sce"), inputs = " @good.vtp @empty.vtp @missing.vtp @a.xyz @good.vtp";
    EXPECT_EQ(run("import -o @good.sce --append @good.vtp @empty.vtp @good.vtp").code, 5);
    EXPECT_EQ(bytes("good.sce"), before);

    // the options, and how many records there are afterwards
    const std::pair<const char*, unsigned> cases[] = {
        {"-o @good.sce --append", 4}, {"-o @new.sce", 2}, {"-o @one.sce --single-record", 1}};
    for (const auto& [options, records] : cases)
    {
        const auto done = run("import --json --keep-going " + std::string(options) + inputs);
        EXPECT_EQ(done.code, 1) << options;
        EXPECT_THAT(done.err, AllOf(HasSubstr(placed("@empty.vtp: the file is empty\n")),
                                    HasSubstr(placed("@missing.vtp: cannot open: No such file or directory\n")),
                                    HasSubstr(placed("@a.xyz: no dataset format has the extension"))));
        EXPECT_EQ(at(done.json(), "/failed"), placed(R"(["@empty.vtp","@missing.vtp","@a.xyz"])"));
        EXPECT_EQ(info(done.json()["file"].GetString() + dir.path().size() + 1)["records"].Size(), records);
    }
    EXPECT_EQ(info("one.sce")["records"][0]["nodes"].Size(), 3U) << "a root and two datasets";

    const auto nothing = run("import --keep-going -o @none.sce @empty.vtp @missing.vtp");
    EXPECT_EQ(nothing.code, 5);
    EXPECT_THAT(nothing.err, HasSubstr(placed("@none.sce: nothing is written: no input could be imported\n")));
    EXPECT_EQ(bytes("none.sce"), "");
}

TEST_F(BadInputTest, anInterruptLeavesNothingBehind)
{
    const auto before = names();
    const std::string content = bytes("good.sce");
    for (const char* const line :
         {"import -o @o.sce @good.vtp", "import -o @good.sce --append @good.vtp", "export @good.sce -o @o"})
    {
        tavosce::setInterrupted(true);
        const auto stopped = run(line);
        tavosce::setInterrupted(false);
        EXPECT_EQ(stopped.code, 130);
        EXPECT_EQ(stopped.err, "tavosce: interrupted\n");
    }
    EXPECT_EQ(names(), before);
    EXPECT_EQ(bytes("good.sce"), content);
}

TEST_F(BadInputTest, aDiskThatIsFullAtAnyByteIsToldAndLeavesNothing)
{
    write("a.vtp", *withAllArrays(allCellKinds(), {VTK_INT}));
    ASSERT_EQ(run("import @a.vtp -o @s.sce --no-compress").code, 0);
    const auto entries = [this] { return std::distance(std::filesystem::directory_iterator(dir.path()), {}); };
    const auto before = entries();
    testing::internal::CaptureStderr();
    for (const std::string line :
         {"import @a.vtp -o @out", "export @s.sce -o @out", "export @s.sce --scene-directory -o @out"})
    {
        int code = 6;
        for (std::size_t room = 0; code == 6; room = room * 9 / 8 + 20)
        {
            const FileSizeLimit limit(room);
            const ToolRun done = run(line);
            code = done.code;
            EXPECT_TRUE(code == 0 || (code == 6 && done.err.find("cannot write: ") != std::string::npos))
                << line << ' ' << room << '\n'
                << done.err;
            EXPECT_EQ(entries(), before + (code == 0 ? 1 : 0)) << line;
        }
        std::filesystem::remove_all(path("out"));
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the library's own words";
}

} // namespace
