#include "ScannedFile.h"

#include "Failure.h"
#include "LibraryLog.h"
#include "SceneFile.h"

#include "scenegraph/io/SDB.h"

#include <algorithm>

namespace tavosce
{

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
    try
    {
        const SceneFile accepted(path);
    }
    catch (const Failure& failure)
    {
        const bool isTooNew =
            !_pieces.empty() && _pieces[0].kind == FilePiece::FileHeader && sdb::isUuidCorrect(_pieces[0].tag);
        if (failure.code() != WrongFormat || isTooNew || _recordCount == 0)
        {
            throw;
        }
        _headed = false;
    }
}

} // namespace tavosce
