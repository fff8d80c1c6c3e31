#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavosce
{

enum class Severity
{
    Note,    ///< nothing is wrong with it, but somebody may want to know
    Warning, ///< it can be read, but no writer leaves it like that
    Error    ///< something is lost, or readers do not get to it
};

/// "note", "warning", "error".
const char* nameOf(Severity severity);

/// What can be found in a scene database or scene directory. docs/findings.md is the catalogue.
enum class FindingCode
{
    HeaderDamaged,
    HeaderRepeated,
    RecordUnfinished,
    ThumbnailUnfinished,
    PositionDamaged,
    TagStray,
    TagUnknown,
    Gap,
    Unreadable,
    ItemHidden,
    RecordLost,
    RecordBroken,
    RecordLength,
    RecordVersion,
    RecordTag,
    RecordOrder,
    RecordRoot,
    RecordBlocks,
    RecordFrame,
    NodeOrder,
    NodeRepeated,
    NodeMissing,
    BlockOrder,
    BlockKind,
    PayloadOutside,
    PayloadDisplaced,
    PayloadShared,
    BlockMethod,
    BlockSize,
    BlockLonger,
    ZlibDamaged,
    ArrayType,
    ArraySize,
    DatasetDamaged,
    DatasetSection,
    DatasetCounts,
    DatasetCells,
    ThumbnailDamaged,
    ThumbnailRecord,
    SceneDamaged,
    SceneOdd,
    FileRefused,
    FileSize,
    FileRepeated,
    FileIrregular
};

/// A row of the catalogue.
struct FindingKind
{
    FindingCode code;
    const char* name; ///< how it is called in results: never to be changed
    Severity severity;
    const char* text; ///< what is wrong, where no more can be said
};

const std::vector<FindingKind>& findingKinds();

const FindingKind& kindOf(FindingCode code);

/// One thing that was found.
struct Finding
{
    FindingCode code;
    std::uint64_t byte = 0;
    std::string detail = {};                ///< what exactly is wrong; empty if the kind says it all
    std::string subject = {};               ///< which block, for people; empty if it is not about one
    std::string objectKey = {};             ///< of the node it belongs to; empty if it belongs to none
    std::optional<std::size_t> record = {}; ///< the place in the file's list of records, if it is in it
    std::string title = {};                 ///< of that record
    std::string file = {};                  ///< in a scene directory: which of its files

    const FindingKind& kind() const { return kindOf(code); }

    /// What is wrong, for people, without and with what it is wrong with; nothing in it needs escaping any more.
    std::string reason() const;
    std::string text() const;
};

/// The gravest of them; Note if there are none.
Severity gravest(const std::vector<Finding>& findings);

} // namespace tavosce
