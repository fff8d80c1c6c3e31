#include "Usage.h"

#include "BlockCheck.h"
#include "Interrupt.h"
#include "PieceScan.h"

#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// Goes through a piece of the file from its first byte to its last: each is counted once.
class Tiling
{
public:
    Tiling(const FilePiece& piece, std::optional<std::size_t> record, std::vector<Portion>& portions)
        : _position(piece.begin)
        , _end(piece.end)
        , _record(record)
        , _portions(portions)
    {
    }

    /// Counts the bytes up to a place, if it lies behind the present one, as those of `what`.
    void goTo(std::uint64_t place, std::uint64_t Bytes::*use, const std::string& kind,
              const std::optional<std::string>& node = {})
    {
        const std::uint64_t next = std::clamp(place, _position, _end);
        if (next > _position)
        {
            Bytes bytes;
            bytes.*use = next - _position;
            _portions.push_back({_record, node, kind, bytes});
            _position = next;
        }
    }

    /// What was not reached by the way of tags.
    void skipTo(std::uint64_t place) { goTo(place, &Bytes::gaps, "gap"); }

    void finish() { skipTo(_end); }

    /// Payload that lies elsewhere.
    void share(const StoredBlock& block)
    {
        Bytes bytes;
        bytes.shared = block.length;
        _portions.push_back({_record, block.objectKey(), kindName(block.kind()), bytes});
    }

private:
    std::uint64_t _position;
    std::uint64_t _end;
    std::optional<std::size_t> _record;
    std::vector<Portion>& _portions;
};

void tileBlock(const StoredBlock& block, Tiling& tiling)
{
    const std::string kind = kindName(block.kind()), node = block.objectKey();
    tiling.goTo(block.tagEnd, &Bytes::tags, kind, node);
    if (block.shared)
    {
        tiling.share(block);
        return;
    }
    tiling.skipTo(block.filePos);
    tiling.goTo(block.filePos + std::min(block.length, UINT64_MAX - block.filePos), &Bytes::own, kind, node);
}

void tileRecord(const FilePiece& piece, const RecordContents& contents, Tiling& tiling)
{
    tiling.goTo(piece.tagEnd, &Bytes::tags, "record header");
    std::map<std::uint64_t, std::function<void()>> steps; // by the place where each begins
    for (const auto& tag : contents.classVersionTags)
    {
        steps.emplace(tag.first, [&] { tiling.goTo(tag.second, &Bytes::tags, "class versions"); });
    }
    for (const StoredNode& node : contents.nodes)
    {
        steps.emplace(node.tagPosition, [&] { tiling.goTo(node.tagEnd, &Bytes::tags, "node", node.objectKey); });
    }
    for (const StoredBlock& block : contents.blocks)
    {
        steps.emplace(block.tagPosition, [&] { tileBlock(block, tiling); });
    }
    for (const auto& [begin, take] : steps)
    {
        tiling.skipTo(begin);
        take();
    }
}

class Usage
{
public:
    explicit Usage(SceneFile& file)
        : _file(file)
    {
        for (const Properties& header : file.records())
        {
            _records.emplace(sdb::hexFromProp(header, key::FILE_POS), _records.size());
        }
    }

    std::vector<Portion> run()
    {
        for (const FilePiece& piece : scanPieces(_file.stream(), _file.size()))
        {
            throwIfInterrupted();
            take(piece);
        }
        return std::move(_portions);
    }

private:
    void take(const FilePiece& piece)
    {
        const auto record = _records.find(piece.begin);
        const bool isKnown = piece.kind == FilePiece::Record && record != _records.end();
        Tiling tiling(piece, isKnown ? std::make_optional(record->second) : std::nullopt, _portions);
        if (isKnown)
        {
            tileRecord(piece, walkRecord(_file.stream(), piece.tag, _file.size()), tiling);
        }
        else if (piece.kind == FilePiece::FileHeader)
        {
            tiling.goTo(piece.end, &Bytes::tags, "file header");
        }
        else if (piece.kind == FilePiece::Thumbnail && piece.reached && piece.fault.empty())
        {
            tiling.goTo(piece.tagEnd, &Bytes::tags, "thumbnail");
            tiling.goTo(piece.end, &Bytes::own, "thumbnail");
        }
        tiling.finish(); // of everything else readers see nothing
    }

    SceneFile& _file;
    std::map<std::uint64_t, std::size_t> _records; ///< by the place where each begins
    std::vector<Portion> _portions;
};

} // namespace

void Bytes::add(const Bytes& other)
{
    own += other.own;
    shared += other.shared;
    tags += other.tags;
    gaps += other.gaps;
}

std::vector<Portion> usageOf(SceneFile& file)
{
    return Usage(file).run();
}

} // namespace tavosce
