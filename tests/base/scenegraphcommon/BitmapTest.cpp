#include "scenegraphcommon/Bitmap.h"

#include <algorithm>
#include <climits>

#include <gtest/gtest.h>

namespace
{

TEST(BitmapTest, sizesAreBoundedAndBytesStartAsZero)
{
    struct Case
    {
        int width, height;
        bool fits;
    };

    const Case cases[] = {{3, 2, true},          {0, 5, true},          {32767, 1, true},    {1, 32767, true},
                          {32768, 1, false},     {1, 32768, false},     {-1, 1, false},      {1, -1, false},
                          {32767, 32767, false}, {18919, 18919, false}, {INT_MIN, 1, false}, {INT_MAX, INT_MAX, false}};
    tsg::Bitmap<3> bitmap;
    for (const Case& c : cases)
    {
        bitmap.resize(2, 2);
        std::fill_n(bitmap.getData(), bitmap.getSize(), 0xff);
        bitmap.resize(c.width, c.height);
        EXPECT_EQ(bitmap.getWidth(), c.fits ? c.width : 0) << c.width << " x " << c.height;
        EXPECT_EQ(bitmap.getHeight(), c.fits ? c.height : 0) << c.width << " x " << c.height;
        EXPECT_EQ(bitmap.getSize(), c.fits ? std::size_t{3} * c.width * c.height : 0);
        EXPECT_EQ(std::count(bitmap.getData(), bitmap.getData() + bitmap.getSize(), 0),
                  static_cast<std::ptrdiff_t>(bitmap.getSize()));
    }
}

} // namespace
