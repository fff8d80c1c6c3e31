#include "scenegraph/io/SDB.h"

#include "support/Golden.h"

namespace
{

using namespace test;

std::string pixelsOf(const tsg::Bitmap<3>& bitmap)
{
    return {bitmap.getData(), bitmap.getData() + bitmap.getSize()};
}

TEST(ThumbnailTest, fillsWhatThereIsAndRestoresTheStream)
{
    // tag: of a picture whose pixels are the letters from byte 2 on
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {R"({"Width":2,"Height":1,"FilePos":"2","Length":"6"})", "abcdef", 2, 1},
        {R"({"Width":2,"Height":1,"FilePos":"2","Length":"ffff"})", "abcdef", 2, 1},
        {R"({"Width":2,"Height":1,"FilePos":"2","Length":"4"})", "abcd", 2, 1},
        {R"({"Width":3,"Height":2,"FilePos":"2","Length":"12"})", "abcdefgh", 3, 2},
        {R"({"Width":1,"Height":1,"FilePos":"ffffffffffffffff","Length":"3"})", "", 1, 1},
        {R"({"Width":-1,"Height":1,"FilePos":"2","Length":"6"})", "", 0, 0},
        {R"({"Width":40000,"Height":1,"FilePos":"2","Length":"6"})", "", 0, 0},
        {R"({"Width":30000,"Height":10000,"FilePos":"2","Length":"6"})", "", 0, 0}, // 900 MB for a file of ten bytes
        {"{}", "", 0, 0},
    };
    for (const auto& [tag, pixels, width, height] : cases)
    {
        SCOPED_TRACE(tag);
        std::istringstream in("..abcdefgh");
        in.seekg(1);
        tsg::Bitmap<3> bitmap;
        bitmap.resize(9, 9);
        for (int i = 0; i < 2; ++i)
        {
            sdb::getThumbnailData(in, Properties(tag), bitmap);
            EXPECT_EQ(bitmap.getWidth(), width);
            EXPECT_EQ(bitmap.getHeight(), height);
            EXPECT_STREQ(pixelsOf(bitmap).c_str(), pixels);
            EXPECT_EQ(in.tellg(), 1);
        }
    }
}

TEST(ThumbnailTest, theExampleOfTheFormatPageHasARedAndABluePixel)
{
    std::istringstream in(golden("two-records.sce"));
    tsg::Bitmap<3> bitmap;
    sdb::indexRecords(
        in, [](const Properties&) {}, [](unsigned, const Properties&) {},
        [&](const Properties& tag) { sdb::getThumbnailData(in, tag, bitmap); });
    EXPECT_EQ(pixelsOf(bitmap), std::string("\xff\0\0\0\0\xff", 6));
}

} // namespace
