#include "support/ContainerBytes.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <png.h>

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
    EXPECT_EQ(at(info("s.sce"), "/thumbnails/2/recordIndex"), "0");
    EXPECT_EQ(at(info("s.sce"), "/thumbnails/2/length"), "18");

    tsg::SDBReader reader;
    reader.open(dir.file("s.sce").wide);
    tsg::Bitmap<3> stored; // rows from top to bottom, red first
    reader.getThumbnailData(reader.getThumbnails()[2], stored);
    EXPECT_EQ(Bytes(stored.getData(), stored.getData() + stored.getSize()), PIXELS);
}

TEST_F(ThumbTest, picturesOfEveryKindBecomeRgbOnWhite)
{
    const struct
    {
        unsigned format;
        Bytes pixels; ///< one
        Bytes stored;
    } kinds[] = {
        {PNG_FORMAT_GRAY, {200}, {200, 200, 200}},
        {PNG_FORMAT_RGBA, {9, 8, 7, 255}, {9, 8, 7}},
        {PNG_FORMAT_RGBA, {9, 8, 7, 0}, {255, 255, 255}},
        {PNG_FORMAT_LINEAR_Y, {0xff, 0xff}, {255, 255, 255}}, // 16 bits
    };

    for (const auto& kind : kinds)
    {
        writePicture(path("kind.png"), kind.format, 1, kind.pixels);
        EXPECT_EQ(run("thumb @s.sce:0 --set @kind.png").code, 0);
        EXPECT_EQ(run("thumb @s.sce:0 -o @out.png --force").code, 0);
        EXPECT_EQ(readPicture(path("out.png")), kind.stored) << kind.format;
    }
}

TEST_F(ThumbTest, whatCannotBeDoneIsRefusedAndChangesNothing)
{
    const std::string scene = bytes("s.sce"), picture = bytes("in.png");
    writePicture(path("wide.png"), PNG_FORMAT_GRAY, 32768, Bytes(32768));
    write("cut.png", picture.substr(0, picture.size() - 20));
    write("text.png", "no picture");
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
        {"thumb @none.sce:0 --set @in.png", 3, "No such file"},
        {"thumb @in.png:0 --set @in.png", 4, "no scene database"},
        {"thumb @s.sce:0 --set @cut.png", 5, "no readable PNG"},
        {"thumb @s.sce:0 --set @text.png", 5, "no readable PNG"},
        {"thumb @s.sce:0 --set @wide.png", 7, "32768 x 1 pixels is larger"},
        {"thumb @beyond.sce:0 --set @in.png", 5, "cannot be added to"},
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
    EXPECT_EQ(bytes("s.sce"), scene);
    EXPECT_FALSE(std::filesystem::exists(path("out.png")));
    EXPECT_EQ(run("thumb @wrong.sce:0 --set @in.png").code, 0); // a picture that is right takes its place
    EXPECT_EQ(run("thumb @wrong.sce -o @out.png").code, 0);
    EXPECT_EQ(run("thumb @wrong.sce -o @wrong.sce --force").code, 2);
}

} // namespace
