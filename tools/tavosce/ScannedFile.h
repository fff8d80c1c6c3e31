#pragma once

#include "InputFile.h"
#include "PieceScan.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tavosce
{

/// A scene database that is open for reading, damaged as it may be, and all its pieces.
class ScannedFile
{
public:
    /// Throws Failure: CannotOpen; WrongFormat for a file of a newer format version or release, and for one without a
    /// header in which no record is in its place.
    explicit ScannedFile(const std::string& path);

    const std::string& path() const { return _path; }

    std::istream& stream() { return _file.stream(); }

    std::uint64_t size() const { return _file.size(); }

    /// The file header, if readers accept it; else null.
    const FilePiece* header() const { return _headed ? &_pieces[_header] : nullptr; }

    const std::vector<FilePiece>& pieces() const { return _pieces; }

    /// How many records were finished once, those that are damaged now included.
    std::size_t recordCount() const { return _recordCount; }

private:
    std::string _path;
    InputFile _file;
    std::vector<FilePiece> _pieces;
    std::size_t _recordCount;
    std::size_t _header; ///< place of the first file header; the number of pieces if there is none
    bool _headed;        ///< whether readers accept it
};

} // namespace tavosce
