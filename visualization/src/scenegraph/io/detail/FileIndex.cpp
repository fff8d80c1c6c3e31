#include "scenegraph/io/detail/FileIndex.h"

#include "scenegraph/io/detail/TagKeys.h"

namespace sdb::detail
{

void FileIndex::registerRecord(const Properties& header)
{
    int& next = _frames[{header.getString(key::SESSION_ID), header.getString(key::TITLE)}];
    if (header.getInt(key::FRAME) >= next)
    {
        ++next;
    }
    _records.push_back(header);
}

int FileIndex::nextFrame(const std::string& sessionId, const std::string& title) const
{
    const auto found = _frames.find({sessionId, title});
    return found == _frames.end() ? 0 : found->second;
}

void FileIndex::registerBinaries(unsigned int checksum, const Properties& tag, unsigned long long stamp)
{
    const auto [block, isNew] = _storedBlocks.try_emplace(checksum, tag);
    unsigned long long& storedStamp = _blockStamps[checksum];
    _replaced.push_back({checksum, isNew ? std::nullopt : std::optional(block->second), storedStamp});
    block->second = tag;
    storedStamp = stamp;
}

const Properties* FileIndex::findIndexedBinaryData(unsigned int checksum, unsigned long long stamp) const
{
    const auto block = _storedBlocks.find(checksum);
    return block != _storedBlocks.end() && _blockStamps.at(checksum) == stamp ? &block->second : nullptr;
}

void FileIndex::undoBinaries()
{
    for (auto replaced = _replaced.rbegin(); replaced != _replaced.rend(); ++replaced)
    {
        if (replaced->tag)
        {
            _storedBlocks[replaced->checksum] = *replaced->tag;
            _blockStamps[replaced->checksum] = replaced->stamp;
        }
        else
        {
            _storedBlocks.erase(replaced->checksum);
            _blockStamps.erase(replaced->checksum);
        }
    }
    _replaced.clear();
}

} // namespace sdb::detail
