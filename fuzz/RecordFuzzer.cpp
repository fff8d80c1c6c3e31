// A whole scene database: every record and every thumbnail is loaded and looked at.

#include "Delivery.h"
#include "FuzzTarget.h"
#include "MemoryWatch.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    static const fuzz::ScratchFile file;
    file.write(fuzz::asString(data, size));
    tsg::SDBReader reader;
    if (!fuzz::open(reader, file.path()))
    {
        return 0;
    }
    for (std::size_t i = 0; i < reader.getRecords().size(); ++i)
    {
        fuzz::Delivery delivery;
        {
            const fuzz::MemoryWatch watch(size);
            fuzz::load(reader, i, delivery);
        }
        delivery.touch();
    }
    for (const Properties& tag : reader.getThumbnails())
    {
        const fuzz::MemoryWatch watch(size);
        tsg::Bitmap<3> bitmap;
        reader.getThumbnailData(tag, bitmap);
        fuzz::require(bitmap.getSize() == std::uint64_t{3} * bitmap.getWidth() * bitmap.getHeight(),
                      "a bitmap has as many bytes as pixels");
    }
    return 0;
}
