#include "FileCheck.h"

#include "Interrupt.h"
#include "LibraryLog.h"
#include "ScannedFile.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/FileIndex.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

class Check
{
public:
    Check(const std::string& path, CheckDepth depth, const Progress& progress)
        : _file(path)
        , _depth(depth)
        , _records(_file.stream(), _file.size(), depth, &_unchecked)
        , _progress(progress)
    {
    }

    CheckedFile run()
    {
        const LibraryLog log; // the findings say it all
        _res.bytes = _file.size();
        if (_file.header() == nullptr)
        {
            add(FindingCode::HeaderDamaged, 0);
        }
        for (std::size_t i = 0; i < _file.pieces().size(); ++i)
        {
            throwIfInterrupted();
            _progress(static_cast<double>(_file.pieces()[i].begin) / static_cast<double>(_file.size()));
            checkPiece(i);
        }
        if (_depth == CheckDepth::Everything)
        {
            _res.unchecked = _unchecked;
        }
        return std::move(_res);
    }

private:
    void checkPiece(std::size_t index)
    {
        const FilePiece& piece = _file.pieces()[index];
        if (piece.kind == FilePiece::Record || piece.kind == FilePiece::Thumbnail)
        {
            _inRemains = piece.kind == FilePiece::Record && !piece.fault.empty();
        }
        switch (piece.kind)
        {
        case FilePiece::FileHeader:
            return &piece != _file.header() && index > 0 ? add(FindingCode::HeaderRepeated, piece.begin) : void();
        case FilePiece::Record:
            return checkRecord(piece);
        case FilePiece::Thumbnail:
            return checkThumbnail(piece);
        case FilePiece::Unfinished:
            return add(unfinishedCode(piece), piece.begin);
        case FilePiece::UnknownTag:
            return checkUnknownTag(piece);
        case FilePiece::StrayTag:
            return add(FindingCode::TagStray, piece.begin);
        case FilePiece::Unreadable:
            return checkUnreadable(index);
        }
    }

    /// The first tag of a record without a header says it all, and behind a broken record there is nothing more to say.
    void checkUnknownTag(const FilePiece& piece)
    {
        const bool isLost = isTagOfRecord(piece.tag) && !_inRemains;
        _inRemains = _inRemains || isLost;
        add(isLost ? FindingCode::RecordLost : FindingCode::TagUnknown, piece.begin);
    }

    static FindingCode unfinishedCode(const FilePiece& piece)
    {
        if (wasFinished(piece))
        {
            return FindingCode::PositionDamaged;
        }
        const bool isThumbnail = piece.tag.getString(key::DATA_FIELD) == sdb::detail::field::THUMBNAIL;
        return isThumbnail ? FindingCode::ThumbnailUnfinished : FindingCode::RecordUnfinished;
    }

    /// Readers pass over bytes without a brace, and come to what is behind them.
    void checkUnreadable(std::size_t index)
    {
        const FilePiece& piece = _file.pieces()[index];
        const bool isLast = index + 1 == _file.pieces().size();
        if (index == 0 && _file.header() == nullptr)
        {
            return; // that is the header
        }
        const bool isPassed = isLast ? !hasBrace(piece) : piece.reached && _file.pieces()[index + 1].reached;
        add(isPassed ? FindingCode::Gap : FindingCode::Unreadable, piece.begin,
            isPassed ? counted(piece.end - piece.begin, "byte") + " that belong to nothing" : std::string());
    }

    bool hasBrace(const FilePiece& piece)
    {
        std::istream& in = _file.stream();
        in.clear();
        in.seekg(static_cast<std::streamoff>(piece.begin));
        std::uint64_t left = piece.end - piece.begin;
        int byte = 0;
        while (left-- > 0 && byte != '{' && byte != EOF)
        {
            byte = in.get();
        }
        return byte == '{';
    }

    void checkRecord(const FilePiece& piece)
    {
        const std::size_t index = _res.records++;
        const std::size_t before = _res.findings.size();
        RecordContents contents;
        if (piece.fault.empty())
        {
            contents = walkRecordAt(_file.stream(), piece.tag, piece.begin, _file.size());
        }
        if (!piece.reached && contents.isInPlace)
        {
            add(FindingCode::ItemHidden, piece.begin);
        }
        checkFrame(piece);
        if (!piece.fault.empty())
        {
            add(FindingCode::RecordBroken, piece.faultPosition, piece.fault);
        }
        else
        {
            const auto found = _records.check(piece.tag, contents);
            _res.readable += gravest(found) == Severity::Error ? 0 : 1;
            _res.findings.insert(_res.findings.end(), found.begin(), found.end());
        }
        for (std::size_t i = before; i < _res.findings.size(); ++i)
        {
            _res.findings[i].record = index;
            _res.findings[i].title = piece.tag.getString(key::TITLE);
        }
    }

    void checkFrame(const FilePiece& piece)
    {
        if (piece.reached)
        {
            const int next = _index.nextFrame(piece.tag.getString(key::SESSION_ID), piece.tag.getString(key::TITLE));
            const int frame = piece.tag.getInt(key::FRAME);
            if (frame != next)
            {
                add(FindingCode::RecordFrame, piece.begin,
                    "frame " + std::to_string(frame) + " where " + std::to_string(next) + " is next");
            }
            _index.registerRecord(piece.tag);
        }
    }

    void checkThumbnail(const FilePiece& piece)
    {
        ++_res.thumbnails;
        if (!piece.reached)
        {
            add(FindingCode::ItemHidden, piece.begin);
        }
        if (piece.fault.empty())
        {
            _unchecked.add(piece.end - piece.tagEnd);
        }
        else
        {
            const bool isOfRecord = piece.tag.hasName(key::RECORD_INDEX);
            add(FindingCode::ThumbnailDamaged, piece.begin,
                !isOfRecord ? "its tag does not say of which record it is"
                            : counted(sdb::hexFromProp(piece.tag, key::LENGTH), "byte") + " at " +
                                  hexadecimal(sdb::hexFromProp(piece.tag, key::FILE_POS)) + " for " +
                                  std::to_string(piece.tag.getInt(key::WIDTH)) + " x " +
                                  std::to_string(piece.tag.getInt(key::HEIGHT)) + " pixels");
        }
        const int record = piece.tag.getInt(key::RECORD_INDEX);
        if (record < 0 || static_cast<std::size_t>(record) >= _file.recordCount())
        {
            add(FindingCode::ThumbnailRecord, piece.begin,
                "a thumbnail of record " + std::to_string(record) + ", which is not there");
        }
    }

    void add(FindingCode code, std::uint64_t byte, const std::string& detail = {})
    {
        _res.findings.push_back({code, byte, detail});
    }

    ScannedFile _file;
    CheckDepth _depth;
    UncheckedData _unchecked;
    RecordCheck _records;
    const Progress& _progress;
    sdb::detail::FileIndex _index;
    bool _inRemains = false; ///< whether what comes next may be what is left of a record that was told of
    CheckedFile _res;
};

} // namespace

CheckedFile checkFile(const std::string& path, CheckDepth depth, const Progress& progress)
{
    return Check(path, depth, progress).run();
}

} // namespace tavosce
