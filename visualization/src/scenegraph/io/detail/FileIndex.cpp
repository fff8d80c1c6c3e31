#include "scenegraph/io/detail/FileIndex.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

namespace sdb::detail
{

void FileIndex::registerRecord(const Properties& header)
{
    int& next = _frames[{header.getString(key::SESSION_ID), header.getString(key::TITLE)}];
    _records.push_back(header);
    if (header.getInt(key::FRAME) >= next)
    {
        ++next;
    }
}

int FileIndex::nextFrame(const std::string& sessionId, const std::string& title) const
{
    const auto found = _frames.find({sessionId, title});
    return found == _frames.end() ? 0 : found->second;
}

void FileIndex::registerBinaries(unsigned int checksum, StoredBlock block)
{
    _replaced.push_back({checksum, std::nullopt});
    const auto [stored, isNew] = _storedBlocks.try_emplace(checksum);
    if (!isNew)
    {
        _replaced.back().block = std::move(stored->second);
    }
    stored->second = std::move(block);
}

const FileIndex::StoredBlock* FileIndex::findIndexedBinaryData(unsigned int checksum, unsigned long long stamp) const
{
    const auto block = _storedBlocks.find(checksum);
    return block != _storedBlocks.end() && block->second.stamp == stamp ? &block->second : nullptr;
}

void FileIndex::setKnown(unsigned int checksum)
{
    const auto block = _storedBlocks.find(checksum);
    if (block != _storedBlocks.end())
    {
        block->second.isKnown = true;
    }
}

std::unordered_map<unsigned int, std::uint64_t> FileIndex::knownBlocks() const
{
    std::unordered_map<unsigned int, std::uint64_t> known;
    for (const auto& [checksum, block] : _storedBlocks)
    {
        if (block.isKnown)
        {
            known.emplace(checksum, hexFromProp(block.tag, key::FILE_POS));
        }
    }
    return known;
}

void FileIndex::undoBinaries() noexcept
{
    for (; !_replaced.empty(); _replaced.pop_back())
    {
        auto& [checksum, block] = _replaced.back();
        if (block)
        {
            _storedBlocks.find(checksum)->second = std::move(*block);
        }
        else
        {
            _storedBlocks.erase(checksum);
        }
    }
}

} // namespace sdb::detail
