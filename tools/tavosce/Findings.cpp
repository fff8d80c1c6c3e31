#include "Findings.h"

#include <algorithm>

namespace tavosce
{

namespace
{

using Code = FindingCode;

// In the order of the codes.
const std::vector<FindingKind> KINDS = {
    {Code::HeaderDamaged, "header-damaged", Severity::Error, "the file header cannot be read"},
    {Code::HeaderRepeated, "header-repeated", Severity::Warning, "another file header"},
    {Code::RecordUnfinished, "record-unfinished", Severity::Warning, "a record that was never finished"},
    {Code::ThumbnailUnfinished, "thumbnail-unfinished", Severity::Warning, "a thumbnail that was never finished"},
    {Code::PositionDamaged, "position-damaged", Severity::Error,
     "the positions of a record or thumbnail are damaged, and readers take it for unfinished"},
    {Code::TagStray, "tag-stray", Severity::Error, "a tag that is neither file header, record nor thumbnail"},
    {Code::TagUnknown, "tag-unknown", Severity::Warning, "a tag of no known kind between the items"},
    {Code::Gap, "gap", Severity::Warning, "bytes that belong to nothing"},
    {Code::Unreadable, "unreadable", Severity::Error, "there is no tag where the next item should be"},
    {Code::ItemHidden, "item-hidden", Severity::Error, "whole, but readers do not get here, as damage is before it"},
    {Code::RecordLost, "record-lost", Severity::Error, "the tags of a record whose header is destroyed"},
    {Code::RecordBroken, "record-broken", Severity::Error, "the tags do not lead to the record's end"},
    {Code::RecordLength, "record-length", Severity::Error, "the header gives the record another length"},
    {Code::RecordVersion, "record-version", Severity::Error, "a version of records that is not known"},
    {Code::RecordTag, "record-tag", Severity::Error,
     "a tag of no known kind, one too many, or one that lacks what belongs into it"},
    {Code::RecordOrder, "record-order", Severity::Warning, "a tag that stands where no writer puts it"},
    {Code::RecordRoot, "record-root", Severity::Error, "the root is no node of the record"},
    {Code::RecordBlocks, "record-blocks", Severity::Warning, "the blocks do not begin where the header says"},
    {Code::RecordFrame, "record-frame", Severity::Warning, "not the frame number that is next"},
    {Code::NodeOrder, "node-order", Severity::Warning, "nodes that are not in the order of their keys"},
    {Code::NodeRepeated, "node-repeated", Severity::Error, "two nodes with one key"},
    {Code::NodeMissing, "node-missing", Severity::Note, "data of a node that is not there"},
    {Code::BlockOrder, "block-order", Severity::Warning, "blocks that are not in the order of their nodes"},
    {Code::BlockKind, "block-kind", Severity::Error, "no kind of block has this number"},
    {Code::PayloadOutside, "payload-outside", Severity::Error, "the payload reaches beyond the end of the file"},
    {Code::PayloadDisplaced, "payload-displaced", Severity::Warning, "the payload does not follow its tag"},
    {Code::PayloadShared, "payload-shared", Severity::Warning,
     "refers to a payload that no earlier block of the session has for it"},
    {Code::BlockMethod, "block-method", Severity::Error, "unknown compression method"},
    {Code::BlockSize, "block-size", Severity::Error, "the sizes of block, tag and array disagree"},
    {Code::BlockLonger, "block-longer", Severity::Note, "the block holds more bytes than the array"},
    {Code::ZlibDamaged, "zlib-damaged", Severity::Error, "zlib data damaged"},
    {Code::ArrayType, "array-type", Severity::Error, "unknown data type"},
    {Code::ArraySize, "array-size", Severity::Error, "impossible size of the array"},
    {Code::DatasetDamaged, "dataset-damaged", Severity::Error, "the polydata cannot be read as a whole"},
    {Code::DatasetSection, "dataset-section", Severity::Error, "a section of the polydata is of no known kind"},
    {Code::DatasetCounts, "dataset-counts", Severity::Error,
     "point or cell data for another number of points or cells"},
    {Code::DatasetCells, "dataset-cells", Severity::Error, "counts or point ids of cells that cannot be"},
    {Code::ThumbnailDamaged, "thumbnail-damaged", Severity::Error, "the picture's bytes are not those of its size"},
    {Code::ThumbnailRecord, "thumbnail-record", Severity::Note, "a thumbnail of a record that is not there"},
    {Code::SceneDamaged, "scene-damaged", Severity::Error, "the scene file, or a record of it, cannot be read"},
    {Code::SceneOdd, "scene-odd", Severity::Warning, "no record of a scene file"},
    {Code::FileIncomplete, "file-incomplete", Severity::Warning, "the data file does not hold all that it announces"},
    {Code::FileRefused, "file-refused", Severity::Error, "the data file cannot be loaded"},
    {Code::FileSize, "file-size", Severity::Error, "the file does not hold the values of which its header tells"},
    {Code::FileRepeated, "file-repeated", Severity::Warning, "the same data as that of another file"},
    {Code::FileIrregular, "file-irregular", Severity::Warning, "something in the data folder that is no regular file"},
};

} // namespace

const char* nameOf(Severity severity)
{
    constexpr const char* NAMES[] = {"note", "warning", "error"};
    return NAMES[static_cast<std::size_t>(severity)];
}

const std::vector<FindingKind>& findingKinds()
{
    return KINDS;
}

const FindingKind& kindOf(FindingCode code)
{
    return KINDS[static_cast<std::size_t>(code)];
}

std::string Finding::reason() const
{
    return detail.empty() ? kind().text : detail;
}

std::string Finding::text() const
{
    return subject.empty() ? reason() : subject + ": " + reason();
}

Severity gravest(const std::vector<Finding>& findings)
{
    Severity res = Severity::Note;
    for (const Finding& finding : findings)
    {
        res = std::max(res, finding.kind().severity);
    }
    return res;
}

} // namespace tavosce
