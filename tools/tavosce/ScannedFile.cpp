#include "ScannedFile.h"

#include "Failure.h"
#include "LibraryLog.h"
#include "SceneFile.h"

#include "scenegraph/io/SDB.h"

#include <algorithm>

namespace tavosce
{

namespace
{

/// True if a refused header may be one that a newer program has written, and not a damaged one.
bool isPlausible(const Properties& header)
{
    int version = 0;
    const std::string release = sdb::tavoFlowReleaseNumber(header);
    const auto isPartOfRelease = [](char c)
    { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || c == '.' || c == '-'; };
    return sdb::isUuidCorrect(header) && sdb::fileFormatVersion(header, version) &&
           std::all_of(release.begin(), release.end(), isPartOfRelease);
}

} // namespace

ScannedFile::ScannedFile(const std::string& path)
    : _path(path)
    , _file(path)
{
    {
        const LibraryLog log; // the pieces say it all
        _pieces = scanPieces(_file.stream(), _file.size());
    }
    _recordCount = static_cast<std::size_t>(std::count_if(
        _pieces.begin(), _pieces.end(), [](const FilePiece& piece) { return piece.kind == FilePiece::Record; }));
    const auto header = std::find_if(_pieces.begin(), _pieces.end(),
                                     [](const FilePiece& piece) { return piece.kind == FilePiece::FileHeader; });
    _header = static_cast<std::size_t>(header - _pieces.begin());
    _headed = header != _pieces.end();
    try
    {
        const SceneFile accepted(path);
    }
    catch (const Failure& failure)
    {
        const bool isTooNew = _header == 0 && _headed && isPlausible(header->tag);
        if (failure.code() != WrongFormat || isTooNew || _recordCount == 0)
        {
            throw;
        }
        _headed = false;
    }
}

} // namespace tavosce
