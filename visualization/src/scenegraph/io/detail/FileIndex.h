#pragma once

#include "core/Properties.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace sdb::detail
{

/// What a file holds, as far as adding to it needs to know: its records, and the payloads that later records may refer
/// to instead of storing the same data again.
class FileIndex
{
public:
    /// Adds a record header behind the others.
    void registerRecord(const Properties& header);

    const std::vector<Properties>& records() const { return _records; }

    /// The frame number of the next record with this session and title. A counter that begins with 0 goes up by one for
    /// each such record, in file order, whose own frame is not below it: frames 0, 1, 2 give 3, but 2, 0, 1 give 2.
    int nextFrame(const std::string& sessionId, const std::string& title) const;

    /// A payload that the file holds.
    struct StoredBlock
    {
        Properties tag;               ///< says where it lies
        unsigned long long stamp = 0; ///< of the data when it was stored
        /// True if this process has stored it, or found that it holds what it would store: only then the stamp, which
        /// each process counts for itself, says that data is unchanged.
        bool isKnown = false;
    };

    /// Remembers a payload under the checksum of its owner; a newer one replaces it.
    void registerBinaries(unsigned int checksum, StoredBlock block);

    /// How many payloads are remembered.
    std::size_t blockCount() const { return _storedBlocks.size(); }

    /// The payload stored for `checksum`, if the data had this stamp when it was stored; else null.
    const StoredBlock* findIndexedBinaryData(unsigned int checksum, unsigned long long stamp) const;

    /// Marks the payload that is stored for `checksum` as known.
    void setKnown(unsigned int checksum);

    /// The known payloads: where each lies, by checksum.
    std::unordered_map<unsigned int, std::uint64_t> knownBlocks() const;

    /// Makes the payloads registered since the last call of either function final, or takes them back.
    void keepBinaries() { _replaced.clear(); }

    void undoBinaries() noexcept;

private:
    struct Replaced
    {
        unsigned int checksum;
        std::optional<StoredBlock> block; ///< none if the checksum was new
    };

    std::vector<Properties> _records;
    std::map<std::pair<std::string, std::string>, int> _frames; ///< by session and title: the next frame
    std::map<unsigned int, StoredBlock> _storedBlocks;          ///< by checksum
    std::vector<Replaced> _replaced;                            ///< what undoBinaries puts back, oldest first
};

} // namespace sdb::detail
