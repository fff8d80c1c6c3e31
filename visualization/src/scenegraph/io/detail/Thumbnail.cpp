#include "scenegraph/io/SDB.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <istream>

namespace sdb
{

namespace
{

/// Gives the bitmap the tag's size, unless a file of that size would not hold such a picture even if it were
/// compressed.
void resizeToTag(std::istream& in, const Properties& tag, tsg::Bitmap<3>& bitmap)
{
    const int width = tag.getInt(detail::key::WIDTH);
    const int height = tag.getInt(detail::key::HEIGHT);
    const bool isPlausible = detail::pixelBytes(tag) <= detail::loadMemory(detail::streamSize(in).value_or(0));
    bitmap.resize(isPlausible ? width : 0, isPlausible ? height : 0);
}

} // namespace

void getThumbnailData(std::istream& in, const Properties& tag, tsg::Bitmap<3>& bitmap)
{
    const std::uint64_t here = detail::readPosition(in);
    const std::ios::iostate state = in.rdstate();
    resizeToTag(in, tag, bitmap);
    const std::uint64_t length = hexFromProp(tag, detail::key::LENGTH);
    const std::uint64_t wanted = std::min<std::uint64_t>(length, bitmap.getSize());
    detail::seekTo(in, hexFromProp(tag, detail::key::FILE_POS));
    if (wanted > 0)
    {
        in.read(reinterpret_cast<char*>(bitmap.getData()), static_cast<std::streamsize>(wanted));
    }
    in.clear(state); // a short picture must not hide the next one
    detail::seekTo(in, here);
}

} // namespace sdb
