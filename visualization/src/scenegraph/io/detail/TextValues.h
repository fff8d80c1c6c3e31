#pragma once

#include <cstdint>
#include <iosfwd>

/// The values of legacy files, and those that dataset blocks hold as text. They come in the form in which StoredValues
/// gives them, little-endian.
namespace tsg::detail
{

/// Writes values as text, a blank behind each and a line break behind every ninth. Types: those of TYPE_WORDS but bits;
/// nothing is written for others.
void writeAsText(std::ostream& out, int vtkType, const char* values, std::int64_t count);

/// Writes bits, packed with the first in the highest place, as text: a blank behind each, a line break behind every
/// eighth instead.
void writeBitsAsText(std::ostream& out, const unsigned char* bits, std::int64_t count);

/// Writes bits as they are packed; of the last byte the rest is zero.
void writeBits(std::ostream& out, const unsigned char* bits, std::int64_t count);

/// Writes values of `width` bytes (1, 2, 4 or 8) with their bytes in big-endian order.
void writeBigEndian(std::ostream& out, int width, const char* values, std::int64_t count);

} // namespace tsg::detail
