#include "scenegraph/io/SDB.h"

#include "support/Golden.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{

struct PictureCase
{
    const char* tag; ///< of a picture whose pixels are the letters from byte 2 on
    const char* pixels;
    int width;
    int height;
};

class ThumbnailTest : public testing::TestWithParam<PictureCase>
{
};

TEST_P(ThumbnailTest, fillsWhatThereIsAndRestoresTheStream)
{
    std::istringstream in("..abcdefgh");
    in.seekg(1);
    tsg::Bitmap<3> bitmap;
    bitmap.resize(9, 9);
    for (int i = 0; i < 2; ++i)
    {
        sdb::getThumbnailData(in, Properties(GetParam().tag), bitmap);
        EXPECT_EQ(bitmap.getWidth(), GetParam().width);
        EXPECT_EQ(bitmap.getHeight(), GetParam().height);
        EXPECT_STREQ(std::string(bitmap.getData(), bitmap.getData() + bitmap.getSize()).c_str(), GetParam().pixels);
        EXPECT_EQ(in.tellg(), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(
    PictureCases, ThumbnailTest,
    testing::Values(PictureCase{R"({"Width":2,"Height":1,"FilePos":"2","Length":"6"})", "abcdef", 2, 1},
                    PictureCase{R"({"Width":2,"Height":1,"FilePos":"2","Length":"ffff"})", "abcdef", 2, 1},
                    PictureCase{R"({"Width":2,"Height":1,"FilePos":"2","Length":"4"})", "abcd", 2, 1},
                    PictureCase{R"({"Width":3,"Height":2,"FilePos":"2","Length":"12"})", "abcdefgh", 3, 2},
                    PictureCase{R"({"Width":1,"Height":1,"FilePos":"ffffffffffffffff","Length":"3"})", "", 1, 1},
                    PictureCase{R"({"Width":-1,"Height":1,"FilePos":"2","Length":"6"})", "", 0, 0},
                    PictureCase{R"({"Width":40000,"Height":1,"FilePos":"2","Length":"6"})", "", 0, 0},
                    // 900 MB for a file of ten bytes
                    PictureCase{R"({"Width":30000,"Height":10000,"FilePos":"2","Length":"6"})", "", 0, 0},
                    PictureCase{"{}", "", 0, 0}));

TEST(ThumbnailTest, theExampleOfTheFormatPageHasARedAndABluePixel)
{
    std::istringstream in(test::golden("two-records.sce"));
    tsg::Bitmap<3> bitmap;
    sdb::indexRecords(
        in, [](const Properties&) {}, [](unsigned, const Properties&) {},
        [&](const Properties& tag) { sdb::getThumbnailData(in, tag, bitmap); });
    EXPECT_EQ(std::string(bitmap.getData(), bitmap.getData() + bitmap.getSize()), std::string("\xff\0\0\0\0\xff", 6));
}

} // namespace
