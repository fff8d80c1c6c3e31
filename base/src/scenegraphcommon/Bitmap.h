#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tsg
{

/// A picture of N bytes a pixel, rows one after another in memory order.
template <int N>
class BitmapBase
{
public:
    /// Largest width and height, and most bytes, that a bitmap takes.
    static constexpr int MAX_SIDE = 32767;
    static constexpr std::int64_t MAX_BYTES = std::int64_t{1} << 30;

    int getWidth() const { return _width; }

    int getHeight() const { return _height; }

    /// Bytes of the whole picture: width x height x N.
    std::size_t getSize() const { return _data.size(); }

    unsigned char* getData() { return _data.data(); }

    const unsigned char* getData() const { return _data.data(); }

    /// Makes the bitmap width x height pixels, all bytes zero. Sides outside 0..MAX_SIDE or more than MAX_BYTES bytes
    /// give a bitmap of 0 x 0. When memory is out, the exception leaves the bitmap as it was.
    void resize(int width, int height)
    {
        const bool fits = width >= 0 && height >= 0 && width <= MAX_SIDE && height <= MAX_SIDE &&
                          std::int64_t{width} * height * N <= MAX_BYTES;
        _data.assign(fits ? static_cast<std::size_t>(std::int64_t{width} * height * N) : 0, 0);
        _width = fits ? width : 0;
        _height = fits ? height : 0;
    }

private:
    int _width = 0;
    int _height = 0;
    std::vector<unsigned char> _data;
};

/// A bitmap as it is passed about: N is 3 for RGB, 4 for RGBA.
template <int N>
class Bitmap : public BitmapBase<N>
{
};

} // namespace tsg
