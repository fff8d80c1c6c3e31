#include "Png.h"

#include "Failure.h"
#include "InputFile.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdio>
#include <cstring>
#include <istream>

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

Failure damaged(const std::string& path, const std::string& reason)
{
    return {TooDamaged, shown(path), "no readable PNG: " + shown(reason)};
}

Failure tooLarge(const std::string& path, std::uint32_t width, std::uint32_t height)
{
    return {NotStorable, shown(path),
            "a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels is larger than a scene database takes"};
}

/// Refuses sides that no bitmap has, as they stand at the beginning of a PNG. libpng refuses sides that are still
/// larger, but does not say that it is for their size.
void checkSides(std::istream& in, const std::string& path)
{
    constexpr char BEGIN[] = "\x89PNG\r\n\x1a\n\0\0\0\rIHDR";
    constexpr std::size_t WIDTH = sizeof BEGIN - 1, HEIGHT = WIDTH + 4;
    std::array<unsigned char, HEIGHT + 4> header{};
    in.read(reinterpret_cast<char*>(header.data()), header.size());
    if (!in || std::memcmp(header.data(), BEGIN, WIDTH) != 0)
    {
        return; // libpng says what it is instead
    }
    const std::uint32_t width = png_get_uint_32(&header[WIDTH]), height = png_get_uint_32(&header[HEIGHT]);
    if (std::max(width, height) > tsg::Bitmap<3>::MAX_SIDE)
    {
        throw tooLarge(path, width, height);
    }
}

/// Opens the picture and reads what stands before its pixels.
void begin(Image& image, const std::string& path)
{
    {
        InputFile file(path); // refuses what is no regular file, with a reason
        checkSides(file.stream(), path);
    }
    if (png_image_begin_read_from_file(image.get(), path.c_str()) == 0)
    {
        throw damaged(path, image->message);
    }
    image->format = PNG_FORMAT_RGB;
    image->flags |= PNG_IMAGE_FLAG_16BIT_sRGB; // libpng would take them for amounts of light
}

} // namespace

tsg::Bitmap<3> readPng(const std::string& path)
{
    Image image;
    begin(image, path);
    tsg::Bitmap<3> bitmap;
    bitmap.resize(static_cast<int>(image->width), static_cast<int>(image->height));
    if (bitmap.getSize() == 0)
    {
        throw tooLarge(path, image->width, image->height);
    }
    constexpr png_color WHITE = {255, 255, 255};
    if (png_image_finish_read(image.get(), &WHITE, bitmap.getData(), 0, nullptr) == 0)
    {
        throw damaged(path, image->message);
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
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    const bool written =
        file != nullptr && png_image_write_to_stdio(image.get(), file, 0, bitmap.getData(), 0, nullptr) != 0;
    const int reason = errno;
    const bool closed = file != nullptr && std::fclose(file) == 0;
    if (!written || !closed)
    {
        errno = written ? errno : reason;
        throw cannotWrite(place, errno != 0 ? systemReason() : shown(image->message));
    }
}

} // namespace tavosce
