#pragma once

#include "PieceScan.h"

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <vector>

namespace tavosce
{

/// By which number the writer of a file knew each of its records, that is, which number their thumbnails have. Records
/// that are destroyed count as well as long as what is left of them shows how many they were; none for the records
/// behind bytes that do not show it. One entry for each piece that is a record, in the order of the file. Position and
/// state of the stream afterwards are unspecified.
std::vector<std::optional<std::size_t>> recordNumbers(std::istream& in, const std::vector<FilePiece>& pieces);

} // namespace tavosce
