#pragma once

#include "Findings.h"
#include "RecordCheck.h"
#include "ScannedFile.h"
#include "TagText.h"

#include "scenegraph/io/detail/FileIndex.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavosce
{

/// What became of one piece of the damaged file.
struct Rescue
{
    FilePiece::Kind kind;
    std::uint64_t begin;
    std::uint64_t end;
    std::optional<std::size_t> record;  ///< in the damaged file: its own index, or the one that a thumbnail belongs to
    std::optional<std::size_t> written; ///< the same in the new file; none if the piece is dropped
    std::string title;                  ///< of a record
    std::string reason;                 ///< why it is dropped
};

/// Writes a scene database anew that holds every record and thumbnail of another one which is whole.
///
/// Payloads and tags are copied as they are. A payload that is shared stays shared; if the record that held it is
/// dropped, or never had it for this node in this session, it is written with the first record that refers to it.
/// Positions, frame numbers and the record numbers of thumbnails are exchanged where they are others in the new file;
/// all else stays, spelled as it was.
class Recovery
{
public:
    /// Tells how much of the work has been done, from 0 to 1.
    using Progress = std::function<void(double done)>;

    /// The file and the stream are borrowed; the stream stands at the beginning of an empty file.
    Recovery(ScannedFile& file, std::ostream& out, Progress progress);

    /// What became of every piece but the file header, in the order of the file. A stream that takes no more is left in
    /// fail state.
    std::vector<Rescue> run();

private:
    /// A block of a record as it will be written.
    struct PlannedBlock
    {
        const StoredBlock* block;
        std::string tag;
        bool isWritten; ///< whether its payload follows the tag
    };

    /// A record as it will be written, with all positions of the new file.
    struct Plan
    {
        std::string header;
        std::vector<PlannedBlock> blocks;
        std::map<RecordCheck::Stored, std::uint64_t> payloads; ///< where those that are written lie
        std::uint64_t firstBlock = 0;
        std::uint64_t end = 0;
        std::uint64_t longestTag = 0; ///< in bytes
        std::uint64_t rewritten = 0;  ///< bytes of payloads that were shared and have to be written
    };

    void writeFileHeader();
    void takeRecord(const FilePiece& piece, Rescue& rescue);
    void takeThumbnail(const FilePiece& piece, Rescue& rescue);
    void writeEarlyThumbnails();
    void writeThumbnail(const FilePiece& piece, Rescue& rescue);
    Plan planRecord(const FilePiece& piece, const RecordContents& contents);
    Plan planContents(const Properties& header, const RecordContents& contents, std::uint64_t begin);
    void planBlock(const Properties& header, const StoredBlock& block, Plan& plan);
    std::optional<std::uint64_t> storedAt(const RecordCheck::Stored& owner, const Plan& plan) const;
    void writeRecord(const RecordContents& contents, const Plan& plan);
    void copy(std::uint64_t begin, std::uint64_t end);
    TagText textOf(std::uint64_t begin, std::uint64_t end);

    ScannedFile& _file;
    std::ostream& _out;
    Progress _progress;
    RecordCheck _check;
    sdb::detail::FileIndex _index;                          ///< of the new file
    std::map<RecordCheck::Stored, std::uint64_t> _payloads; ///< where those of the damaged file lie in the new one
    std::vector<std::optional<std::size_t>> _records;       ///< by index in the damaged file: the one in the new file
    std::map<std::size_t, std::size_t> _numbered; ///< by the number that thumbnails have: record in the damaged file
    bool _allNumbered = true;                     ///< whether that is known of all records
    std::multimap<std::size_t, std::pair<const FilePiece*, Rescue*>> _early; ///< thumbnails before their record
    std::uint64_t _rewritten = 0; ///< bytes of payloads that were shared and had to be written
};

} // namespace tavosce
