#include "RecordCheck.h"

#include "BlockCheck.h"
#include "Interrupt.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

constexpr int OLD_VERSION = 1; // without a root's key
constexpr int CURRENT_VERSION = 2;

/// Everything that the decoding of a payload depends on.
std::string decodedForm(const StoredBlock& block)
{
    std::string res;
    for (const char* const part : {key::FILE_POS, key::LENGTH})
    {
        res += std::to_string(sdb::hexFromProp(block.tag, part)) + ' ';
    }
    for (const char* const part : {key::TAG, key::DATA_TYPE, key::NUMBER_OF_COMPONENTS, key::NUMBER_OF_TUPLES})
    {
        res += std::to_string(block.tag.getInt(part)) + ' ';
    }
    return res;
}

} // namespace

RecordCheck::RecordCheck(std::istream& in, std::uint64_t fileSize, CheckDepth depth, UncheckedData* unchecked)
    : _in(in)
    , _fileSize(fileSize)
    , _depth(depth)
    , _unchecked(unchecked)
{
}

std::vector<Finding> RecordCheck::check(const Properties& header, const RecordContents& contents)
{
    _findings.clear();
    checkHeader(header, contents);
    for (const Oddity& oddity : contents.oddities)
    {
        add(oddity.isUnknown ? FindingCode::RecordTag : FindingCode::RecordOrder, oddity.position);
    }
    checkNodes(contents);
    checkBlocks(header, contents);
    return std::move(_findings);
}

bool RecordCheck::isStored(const Properties& header, const StoredBlock& block) const
{
    return _stored.count(storedForm(header, block)) > 0;
}

void RecordCheck::checkHeader(const Properties& header, const RecordContents& contents)
{
    const std::uint64_t begin = contents.begin;
    const int version = header.getInt(key::VERSION);
    if (version != OLD_VERSION && version != CURRENT_VERSION)
    {
        add(FindingCode::RecordVersion, begin, "version " + std::to_string(version) + " of records is not known");
    }
    const std::string& root = header.getString(key::ROOT_NODE_KEY);
    const bool isThere = std::any_of(contents.nodes.begin(), contents.nodes.end(),
                                     [&](const StoredNode& node) { return node.objectKey == root; });
    if (version == CURRENT_VERSION && !isThere)
    {
        add(FindingCode::RecordRoot, begin, "the root " + shown(root) + " is no node of the record", root);
    }
    if (!contents.isInPlace)
    {
        add(FindingCode::PositionDamaged, begin);
    }
    else if (!contents.lengthIsRight)
    {
        add(FindingCode::RecordLength, begin,
            "the record ends at " + hexadecimal(contents.end) + ", and the header says " +
                hexadecimal(begin + sdb::hexFromProp(header, key::LENGTH)));
    }
    const std::uint64_t blocks = sdb::hexFromProp(header, key::BINARY_DATA);
    const std::uint64_t first = contents.blocks.empty() ? contents.end : contents.blocks.front().tagPosition;
    if (blocks != first)
    {
        add(FindingCode::RecordBlocks, begin,
            "the blocks begin at " + hexadecimal(first) + ", and the header says " + hexadecimal(blocks));
    }
}

void RecordCheck::checkNodes(const RecordContents& contents)
{
    std::set<std::string> keys;
    std::string before;
    for (const StoredNode& node : contents.nodes)
    {
        if (!keys.insert(node.objectKey).second)
        {
            add(FindingCode::NodeRepeated, node.tagPosition, "two nodes " + shown(node.objectKey), node.objectKey);
        }
        else if (node.objectKey < before)
        {
            add(FindingCode::NodeOrder, node.tagPosition,
                "node " + shown(node.objectKey) + " stands behind " + shown(before), node.objectKey);
        }
        before = node.objectKey;
    }
}

void RecordCheck::checkBlocks(const Properties& header, const RecordContents& contents)
{
    std::set<std::string> nodes;
    for (const StoredNode& node : contents.nodes)
    {
        nodes.insert(node.objectKey);
    }
    std::string before;
    for (const StoredBlock& block : contents.blocks)
    {
        throwIfInterrupted();
        const std::string objectKey = block.objectKey();
        if (objectKey < before)
        {
            add(FindingCode::BlockOrder, block.tagPosition,
                "a block of " + shown(objectKey) + " stands behind one of " + shown(before), objectKey);
        }
        before = objectKey;
        if (nodes.count(objectKey) == 0)
        {
            add(FindingCode::NodeMissing, block.tagPosition, describeBlock(block) + ", which is not there", objectKey);
        }
        checkPlace(header, block);
        checkPayload(block);
        _stored.insert(storedForm(header, block));
    }
}

void RecordCheck::checkPlace(const Properties& header, const StoredBlock& block)
{
    FindingCode code = FindingCode::PayloadShared;
    if (block.shared ? isStored(header, block) : block.filePos == block.tagEnd)
    {
        return;
    }
    if (!block.shared)
    {
        code = FindingCode::PayloadDisplaced;
    }
    add(code, block.tagPosition, {}, block.objectKey());
    _findings.back().subject = describeBlock(block);
}

void RecordCheck::checkPayload(const StoredBlock& block)
{
    const std::string form = decodedForm(block);
    if (_sound.count(form) > 0)
    {
        return;
    }
    const auto [found, uncheckedBytes] = _depth == CheckDepth::Everything
                                             ? decodeBlock(_in, block, _fileSize)
                                             : DecodedBlock{framingFindings(_in, block, _fileSize)};
    if (found.empty())
    {
        _sound.insert(form);
    }
    _findings.insert(_findings.end(), found.begin(), found.end());
    if (_unchecked != nullptr && gravest(found) != Severity::Error && _counted.insert(block.filePos).second)
    {
        _unchecked->add(uncheckedBytes);
    }
}

void RecordCheck::add(FindingCode code, std::uint64_t byte, const std::string& detail, const std::string& objectKey)
{
    _findings.push_back({code, byte, detail, {}, objectKey});
}

RecordCheck::Stored RecordCheck::storedForm(const Properties& header, const StoredBlock& block)
{
    return {header.getString(key::SESSION_ID), block.objectKey(), block.name(), decodedForm(block)};
}

} // namespace tavosce
