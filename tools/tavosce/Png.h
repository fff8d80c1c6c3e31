#pragma once

#include "scenegraphcommon/Bitmap.h"

#include <string>

namespace tavosce
{

/// Reads a picture from a PNG file of any kind: grey, palettes and 16 bits become 8-bit RGB, and what is transparent
/// is laid on white, mixed by amounts of light. Values mean sRGB where the file does not say otherwise. Takes the
/// memory of the picture, and none for one that is refused for its size. Throws Failure: CannotOpen; TooDamaged when it
/// is no PNG or is damaged; NotStorable when it is larger than a bitmap takes.
tsg::Bitmap<3> readPng(const std::string& path);

/// Writes a picture, which is not empty, to a new file. `place` is how messages name it. Throws Failure CannotWrite.
void writePng(const tsg::Bitmap<3>& bitmap, const std::string& path, const std::string& place);

} // namespace tavosce
