#pragma once

#include "Findings.h"
#include "RecordWalk.h"

#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace tavosce
{

enum class CheckDepth
{
    Container, ///< tags and positions
    Everything ///< all payloads are decoded as well
};

/// Data that is stored as it is, without a checksum, so that damage in it would not show.
struct UncheckedData
{
    std::uint64_t payloads = 0;
    std::uint64_t bytes = 0;

    /// Adds a payload with that many such bytes, none of which counts for nothing.
    void add(std::uint64_t more)
    {
        payloads += more > 0 ? 1 : 0;
        bytes += more;
    }
};

/// Checks the records of a scene database one after another, in file order: what is shared has to come earlier.
class RecordCheck
{
public:
    /// The stream is borrowed, and so is what the payloads without errors add their unchecked data to, if it is not
    /// null.
    RecordCheck(std::istream& in, std::uint64_t fileSize, CheckDepth depth, UncheckedData* unchecked = nullptr);

    /// What there is to say about a record that has been walked, and whose walk came to its end. A payload that many
    /// records share is decoded once.
    std::vector<Finding> check(const Properties& header, const RecordContents& contents);

    /// True if the payload is one that a block which was checked before has, for the same owner in the same session.
    bool isStored(const Properties& header, const StoredBlock& block) const;

    /// Session, object key and name: to whom a payload belongs; and all that decoding it depends on.
    using Stored = std::tuple<std::string, std::string, std::string, std::string>;
    static Stored storedForm(const Properties& header, const StoredBlock& block);

private:
    void checkHeader(const Properties& header, const RecordContents& contents);
    void checkNodes(const RecordContents& contents);
    void checkBlocks(const Properties& header, const RecordContents& contents);
    void checkPlace(const Properties& header, const StoredBlock& block);
    void checkPayload(const StoredBlock& block);
    void add(FindingCode code, std::uint64_t byte, const std::string& detail = {}, const std::string& objectKey = {});

    std::istream& _in;
    std::uint64_t _fileSize;
    CheckDepth _depth;
    std::set<Stored> _stored;
    std::set<std::string> _sound;     ///< payloads that have been decoded, with all that decoding depends on
    std::set<std::uint64_t> _counted; ///< payloads that are part of the sum
    UncheckedData* _unchecked;
    std::vector<Finding> _findings;
};

} // namespace tavosce
