#include "Interrupt.h"

#include "support/ContainerBytes.h"
#include "support/FileSizeLimit.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"
#include "support/Unprivileged.h"

#include <png.h>
#include <zlib.h>

namespace
{

using namespace test;
using Bytes = std::vector<unsigned char>;

/// Writes a PNG file of a format of libpng.
void writePicture(const std::string& path, unsigned format, unsigned width, const Bytes& pixels)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.format = format;
    image.width = width;
    image.height = static_cast<unsigned>(pixels.size()) / (width * PNG_IMAGE_PIXEL_SIZE(format));
    ASSERT_NE(png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr), 0) << image.message;
}

Bytes readPicture(const std::string& path)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0) << image.message;
    image.format = PNG_FORMAT_RGB;
    Bytes pixels(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0) << image.message;
    return pixels;
}

std::string bigEndian(std::uint64_t value)
{
    return {char(value >> 24), char(value >> 16), char(value >> 8), char(value)};
}

/// The bytes of a picture with other sides in its header.
std::string withSides(std::string picture, unsigned width, unsigned height)
{
    picture.replace(16, 8, bigEndian(width) + bigEndian(height));
    const auto* const header = reinterpret_cast<const unsigned char*>(picture.data()) + 12;
    return picture.replace(29, 4, bigEndian(crc32(0, header, 17)));
}

const Bytes PIXELS = {1, 2, 3, 40, 50, 60, 7, 80, 9, 100, 110, 120, 130, 14, 150, 160, 170, 255}; // 3 x 2, no symmetry

class ThumbTest : public ToolTest
{
protected:
    ThumbTest()
    {
        tsg::SDBWriter writer;
        writer.open(dir.file("s.sce").wide, false, true);
        tsg::SceneNode root("SceneNode_1");
        add(writer, root);
        add(writer, root);
        writer.close();
        writePicture(path("in.png"), PNG_FORMAT_RGB, 3, PIXELS);
    }

    /// The bytes of the last thumbnail as they lie in the file.
    Bytes newestPixels(const std::string& name) const
    {
        const auto document = info(name);
        const std::string last = "/thumbnails/" + std::to_string(document["thumbnails"].Size() - 1);
        const std::string pixels =
            bytes(name).substr(std::stoul(at(document, last + "/filePos")), std::stoul(at(document, last + "/length")));
        return {pixels.begin(), pixels.end()};
    }
};

TEST_F(ThumbTest, aPictureThatIsSetComesBackAndTheNewestOfARecordCounts)
{
    const std::string before = bytes("s.sce");
    const Bytes other(12, 77);
    writePicture(path("other.png"), PNG_FORMAT_RGB, 2, other);
    for (const char* line : {"thumb @s.sce:0 --set @other.png", "thumb @s.sce:1 --set @other.png",
                             "thumb @s.sce:-2 --set @in.png", "thumb @s.sce:1 --set @other.png"})
    {
        EXPECT_EQ(run(line).code, 0) << line;
    }
    EXPECT_EQ(bytes("s.sce").substr(0, before.size()), before);
    EXPECT_EQ(run("thumb @s.sce:0 -o @out.png").out, path("out.png") + ": thumbnail of record 0, 3 x 2 pixels\n");
    EXPECT_EQ(readPicture(path("out.png")), PIXELS);
    EXPECT_EQ(run("thumb @s.sce -o @out.png").code, 6); // exists
    EXPECT_EQ(run("thumb @s.sce -o @out.png --force").code, 0);
    EXPECT_EQ(readPicture(path("out.png")), other);
    const auto document = info("s.sce");
    EXPECT_EQ(at(document, "/thumbnails/2/recordIndex"), "0");
    EXPECT_EQ(at(document, "/thumbnails/2/width") + at(document, "/thumbnails/2/height"), "32");
    std::string superseded;
    for (const auto& thumbnail : document["thumbnails"].GetArray())
    {
        superseded += thumbnail["superseded"].GetBool() ? 'x' : '-';
    }
    EXPECT_EQ(superseded, "xx--");
    EXPECT_THAT(run("info @s.sce").out, AllOf(HasSubstr("\n4 thumbnails, 2 of them superseded by later ones\n"),
                                              HasSubstr("of record 0: 3 x 2, 18 bytes at 0x")));

    const ToolRun again = run("thumb @s.sce:0 --set @out.png --json");
    for (const auto& [member, value] : {std::pair("/schema", std::string("1")),
                                        {"/file", '"' + path("s.sce") + '"'},
                                        {"/record", "0"},
                                        {"/picture", '"' + path("out.png") + '"'},
                                        {"/width", "2"},
                                        {"/height", "2"}})
    {
        EXPECT_EQ(at(again.json(), member), value) << member;
    }
    EXPECT_EQ(run("thumb @s.sce:0 --set @in.png").out, path("s.sce") + ": thumbnail of record 0 added, 3 x 2 pixels\n");
    EXPECT_EQ(newestPixels("s.sce"), PIXELS); // rows from top to bottom, red first
    writePicture(path("alpha.png"), PNG_FORMAT_RGBA, 2, {9, 8, 7, 255, 9, 8, 7, 0});
    EXPECT_EQ(run("thumb @s.sce:0 --set @alpha.png").code, 0);
    EXPECT_EQ(newestPixels("s.sce"), (Bytes{9, 8, 7, 255, 255, 255})) << "what cannot be seen is white";
    using namespace std::string_literals;
    write("wide.png", // one pixel of 16 bits a colour
          "\211PNG\015\012\032\012\000\000\000\015IHDR\000\000\000\001\000\000\000\001\020\002\000\000\000\300\347\217"
          "\235"
          "\000\000\000\017IDATx\234cpphh8p\000\000\010\207\003\001\263q\275\323"
          "\000\000\000\000IEND\256B`\202"s);
    EXPECT_EQ(run("thumb @s.sce:0 --set @wide.png").code, 0);
    EXPECT_EQ(newestPixels("s.sce"), (Bytes{64, 128, 192}));
}

TEST_F(ThumbTest, aFullOrReadOnlyDiskLeavesFilesAsTheyWere)
{
    EXPECT_EQ(run("thumb @s.sce:0 --set @in.png").code, 0);
    const std::string before = bytes("s.sce");
    const auto refused = [&](const std::string& line, const std::string& reason)
    {
        ToolRun done{};
        EXPECT_EQ(stderrOf([&] { done = run(line); }), "") << "the library's own words";
        EXPECT_EQ(done.code, 6) << line;
        EXPECT_THAT(done.err, HasSubstr(reason)) << line;
        EXPECT_EQ(done.out, "") << line;
        EXPECT_EQ(bytes("s.sce"), before) << line;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2) << line;
    };
    {
        const FileSizeLimit limit(before.size() + 100);
        refused("thumb @s.sce:0 --set @in.png", "s.sce: cannot write: ");
    }
    {
        const FileSizeLimit limit(20);
        refused("thumb @s.sce:0 -o @out.png", "out.png: cannot write: File too large");
    }
    using std::filesystem::perms;
    constexpr perms READ = perms::owner_read | perms::group_read | perms::others_read;
    std::filesystem::permissions(path("s.sce"), READ);
    std::filesystem::permissions(dir.path(), READ | perms::owner_all | perms::group_exec | perms::others_exec);
    const Unprivileged user;
    if (!user)
    {
        GTEST_SKIP() << "the superuser may not become an ordinary user here";
    }
    refused("thumb @s.sce:0 --set @in.png", "s.sce: cannot write: Permission denied");
}

TEST_F(ThumbTest, whatCannotBeDoneIsRefusedAndChangesNothing)
{
    const std::string scene = bytes("s.sce"), picture = bytes("in.png");
    write("wide.png", withSides(picture, 32768, 1));
    write("cut.png", picture.substr(0, picture.size() - 20));
    write("text.png", "no picture");
    write("many.png", withSides(picture, 20000, 20000));
    write("wider.png", withSides(picture, 2000000, 1));
    write("flipped.png", std::string(picture).replace(picture.size() - 30, 1, 1, char(~picture[picture.size() - 30])));
    const Edit none = [](Properties& tag)
    {
        tag.set("Width", 0, Properties::Overwrite);
        tag.set("Height", 0, Properties::Overwrite);
    };
    write("none.sce", ContainerBytes().record("t").thumbnail(0, none, "").str());
    write("stray.sce", scene + R"({"a":1})");
    const std::string pictured = ContainerBytes().record("t").thumbnail(0).str();
    write("good.sce", pictured);
    write("torn.sce", pictured.substr(0, pictured.size() - 1));
    write("unfinished.sce", scene + R"({"DataField":"Header","FilePos":"0","Length":"0"})");
    const Edit narrow = [](Properties& tag) { tag.set("Width", 1, Properties::Overwrite); };
    write("wrong.sce", ContainerBytes().record("t").thumbnail(0, narrow).str());
    write("cut.sce", ContainerBytes().record("t").thumbnail(0, {}, "abc").str());
    write("empty.sce", ContainerBytes().record("t").thumbnail(0, position("Length", 0), "").str());
    write("beyond.sce", ContainerBytes().record("t", {}, position("Length", 99999)).str());

    const struct
    {
        const char* line;
        int code;
        const char* message;
    } refusals[] = {
        {"thumb @s.sce -o @out.png", 2, "there is no thumbnail"},
        {"thumb @s.sce:1 -o @out.png", 2, "record 1 \"t\""},
        {"thumb @s.sce:2 -o @out.png", 2, "no record 2: the file has 2"},
        {"thumb @s.sce:1", 2, ""},
        {"thumb @s.sce:1 -o @out.png --set @in.png", 2, ""},
        {"thumb @s.sce --set @in.png", 2, "--set needs to know the record"},
        {"thumb @s.sce:0 --set @none.png", 3, "No such file"},
        {"thumb @missing.sce:0 --set @in.png", 3, "No such file"},
        {"thumb @in.png:0 --set @in.png", 4, "no scene database"},
        {"thumb @s.sce:0 --set @cut.png", 5, "no readable PNG"},
        {"thumb @s.sce:0 --set @text.png", 5, "no readable PNG"},
        {"thumb @s.sce:0 --set @wide.png", 7, "32768 x 1 pixels is larger"},
        {"thumb @s.sce:0 --set @wider.png", 7, "2000000 x 1 pixels is larger"},
        {"thumb @s.sce:0 --set @many.png", 7, "20000 x 20000 pixels is larger"},
        {"thumb @s.sce:0 --set @flipped.png", 5, "no readable PNG"},
        {"thumb @stray.sce:0 --set @in.png", 5, "cannot be added to: Expect to have only Headers here"},
        {"thumb @beyond.sce:0 --set @in.png", 5, "cannot be added to"},
        {"thumb @none.sce -o @out.png", 7, "the picture is empty: 0 x 0 pixels"},
        {"thumb @torn.sce:0 -o @out.png", 5, "the picture reaches beyond the end of the file"},
        {"thumb @torn.sce:0 --set @in.png", 5, "cannot be added to"},
        {"thumb @s.sce:0 -o @in.png", 2, "there is no thumbnail"},
        {"thumb @wrong.sce -o @out.png", 5, "12 bytes for 1 x 2 pixels"},
        {"thumb @cut.sce -o @out.png", 5, "no picture: 3 bytes"},
        {"thumb @empty.sce -o @out.png", 5, "no picture: 0 bytes"},
    };

    for (const auto& refusal : refusals)
    {
        const ToolRun done = run(refusal.line);
        EXPECT_EQ(done.code, refusal.code) << refusal.line << '\n' << done.err;
        EXPECT_THAT(done.err, HasSubstr(refusal.message)) << refusal.line;
        EXPECT_EQ(done.out, "") << refusal.line;
    }
    for (const char* const line : {"thumb @s.sce:0 --set @in.png", "thumb @good.sce -o @out.png"})
    {
        tavosce::setInterrupted(true);
        EXPECT_EQ(run(line).code, 130) << line;
        tavosce::setInterrupted(false);
    }
    EXPECT_EQ(bytes("s.sce"), scene);
    EXPECT_FALSE(std::filesystem::exists(path("out.png")));
    EXPECT_EQ(run("thumb @wrong.sce:0 --set @in.png").code, 0); // a picture that is right takes its place
    EXPECT_EQ(run("thumb @wrong.sce -o @out.png").code, 0);
    EXPECT_EQ(run("thumb @wrong.sce -o @wrong.sce --force").code, 2);
    write("tail.sce", pictured + R"({"DataField":"Header","FilePos":"0","Length":"0"})");
    EXPECT_EQ(run("thumb @tail.sce -o @out.png --force").code, 0);   // the picture is whole
    EXPECT_EQ(run("thumb @unfinished.sce:1 --set @in.png").code, 0); // takes the place of what was never finished
    EXPECT_EQ(bytes("unfinished.sce").substr(0, scene.size()), scene);
    EXPECT_EQ(newestPixels("unfinished.sce"), PIXELS);
}

} // namespace
