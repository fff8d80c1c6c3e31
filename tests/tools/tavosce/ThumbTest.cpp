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

/// Writes a PNG file of a format of libpng; 16-bit values where the format asks for them.
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

enum Colours
{
    GREY = 0,
    RGB = 2,
    PALETTE = 3,
    RGBA = 6
};

struct PngHeader
{
    unsigned width;
    unsigned height;
    unsigned char depth;
    Colours colours;
    unsigned char interlaced = 0;
};

std::string bigEndian(std::uint64_t value)
{
    return {char(value >> 24), char(value >> 16), char(value >> 8), char(value)};
}

std::string chunk(const std::string& type, const Bytes& data)
{
    const std::string body = type + std::string(data.begin(), data.end());
    const auto* const first = reinterpret_cast<const unsigned char*>(body.data());
    return bigEndian(data.size()) + body + bigEndian(crc32(0, first, static_cast<unsigned>(body.size())));
}

/// A PNG that libpng has not made.
std::string pngBytes(const PngHeader& header, const std::string& before, const Bytes& rows)
{
    const std::string sides = bigEndian(header.width) + bigEndian(header.height);
    Bytes start(sides.begin(), sides.end());
    start.insert(start.end(), {header.depth, static_cast<unsigned char>(header.colours), 0, 0, header.interlaced});
    Bytes packed(compressBound(rows.size()));
    uLongf size = packed.size();
    compress(packed.data(), &size, rows.data(), rows.size());
    packed.resize(size);
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", start) + before + chunk("IDAT", packed) + chunk("IEND", {});
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
}

TEST_F(ThumbTest, picturesOfEveryKindBecomeRgbOnWhite)
{
    const struct
    {
        PngHeader header;
        std::string before; ///< chunks in front of the pixels
        Bytes rows;         ///< each with its filter, 0, in front
        Bytes stored;
    } kinds[] = {
        {{2, 1, 8, GREY}, "", {0, 200, 9}, {200, 200, 200, 9, 9, 9}},
        {{1, 1, 16, GREY}, "", {0, 128, 128}, {128, 128, 128}},
        {{1, 1, 16, RGB}, "", {0, 64, 64, 128, 128, 192, 192}, {64, 128, 192}},
        {{2, 1, 8, RGBA}, "", {0, 9, 8, 7, 255, 9, 8, 7, 0}, {9, 8, 7, 255, 255, 255}},
        {{2, 1, 1, PALETTE},
         chunk("PLTE", {9, 8, 7, 6, 5, 4}) + chunk("tRNS", {0}), // the first colour cannot be seen
         {0, 0x40},
         {255, 255, 255, 6, 5, 4}},
        {{2, 2, 8, RGB, 1},
         "",
         {0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 10, 11, 12},
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
    };

    for (const auto& kind : kinds)
    {
        write("kind.png", pngBytes(kind.header, kind.before, kind.rows));
        EXPECT_EQ(run("thumb @s.sce:0 --set @kind.png").code, 0);
        EXPECT_EQ(newestPixels("s.sce"), kind.stored) << kind.header.depth << " bits, kind " << kind.header.colours;
    }
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
    write("wide.png", pngBytes({32768, 1, 8, GREY}, "", Bytes(9)));
    write("cut.png", picture.substr(0, picture.size() - 20));
    write("text.png", "no picture");
    write("many.png", pngBytes({20000, 20000, 8, GREY}, "", Bytes(9)));
    write("wider.png", pngBytes({2000000, 1, 8, GREY}, "", Bytes(9)));
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
