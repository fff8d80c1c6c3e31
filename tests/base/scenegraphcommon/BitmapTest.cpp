#include "scenegraphcommon/Bitmap.h"

#include "support/Testing.h"

#include <climits>

namespace
{

TEST(BitmapTest, sizesAreBoundedAndBytesStartAsZero)
{
    const std::tuple<int, int, bool> cases[] = {{3, 2, true},          {0, 5, true},        {32767, 1, true},
                                                {1, 32767, true},      {32768, 1, false},   {1, 32768, false},
                                                {-1, 1, false},        {1, -1, false},      {32767, 32767, false},
                                                {18919, 18919, false}, {INT_MIN, 1, false}, {INT_MAX, INT_MAX, false}};
    tsg::Bitmap<3> bitmap;
    for (const auto& [width, height, fits] : cases)
    {
        bitmap.resize(2, 2);
        std::fill_n(bitmap.getData(), bitmap.getSize(), 0xff);
        bitmap.resize(width, height);
        EXPECT_EQ(bitmap.getWidth(), fits ? width : 0) << width << " x " << height;
        EXPECT_EQ(bitmap.getHeight(), fits ? height : 0) << width << " x " << height;
        EXPECT_EQ(bitmap.getSize(), fits ? std::size_t{3} * width * height : 0);
        EXPECT_EQ(std::count(bitmap.getData(), bitmap.getData() + bitmap.getSize(), 0),
                  static_cast<std::ptrdiff_t>(bitmap.getSize()));
    }
}

} // namespace
