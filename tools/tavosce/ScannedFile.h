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

    /// Whether the file begins with a header that readers accept.
    bool isHeaded() const { return _headed; }

    const std::vector<FilePiece>& pieces() const { return _pieces; }

    /// How many records were finished once, those that are damaged now included.
    std::size_t recordCount() const { return _recordCount; }

private:
    std::string _path;
    InputFile _file;
    std::vector<FilePiece> _pieces;
    std::size_t _recordCount;
    bool _headed = true;
};

} // namespace tavosce
