#include "Png.h"

#include "Failure.h"
#include "InputFile.h"
#include "Text.h"

#include <cerrno>
#include <vector>

#include <png.h>

namespace tavosce
{

namespace
{

/// What libpng knows of one picture; frees it.
class Image
{
public:
    Image() { _image.version = PNG_IMAGE_VERSION; }

    ~Image() { png_image_free(&_image); }

    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    png_image* get() { return &_image; }

    png_image* operator->() { return &_image; }

private:
    png_image _image = {};
};

std::vector<char> bytesOf(const std::string& path)
{
    InputFile file(path);
    std::vector<char> bytes(file.size());
    if (!file.stream().read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
    {
        throw Failure(CannotOpen, shown(path), "cannot be read: " + systemReason());
    }
    return bytes;
}

Failure damaged(const std::string& path, Image& image)
{
    return {TooDamaged, shown(path), std::string("no readable PNG: ") + shown(image->message)};
}

} // namespace

tsg::Bitmap<3> readPng(const std::string& path)
{
    const std::vector<char> bytes = bytesOf(path);
    Image image;
    if (png_image_begin_read_from_memory(image.get(), bytes.data(), bytes.size()) == 0)
    {
        throw damaged(path, image);
    }
    tsg::Bitmap<3> bitmap;
    const bool fits = image->width <= tsg::Bitmap<3>::MAX_SIDE && image->height <= tsg::Bitmap<3>::MAX_SIDE;
    if (fits)
    {
        bitmap.resize(static_cast<int>(image->width), static_cast<int>(image->height));
    }
    if (bitmap.getSize() == 0)
    {
        throw Failure(NotStorable, shown(path),
                      "a picture of " + std::to_string(image->width) + " x " + std::to_string(image->height) +
                          " pixels is larger than a scene database takes");
    }
    constexpr png_color WHITE = {255, 255, 255};
    image->format = PNG_FORMAT_RGB;
    if (png_image_finish_read(image.get(), &WHITE, bitmap.getData(), 0, nullptr) == 0)
    {
        throw damaged(path, image);
    }
    return bitmap;
}

void writePng(const tsg::Bitmap<3>& bitmap, const std::string& path, const std::string& place)
{
    Image image;
    image->width = static_cast<png_uint_32>(bitmap.getWidth());
    image->height = static_cast<png_uint_32>(bitmap.getHeight());
    image->format = PNG_FORMAT_RGB;
    errno = 0;
    if (png_image_write_to_file(image.get(), path.c_str(), 0, bitmap.getData(), 0, nullptr) == 0)
    {
        throw Failure(CannotWrite, place, "cannot write: " + (errno != 0 ? systemReason() : shown(image->message)));
    }
}

} // namespace tavosce
