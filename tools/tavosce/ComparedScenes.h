#pragma once

#include "BlockData.h"
#include "RecordWalk.h"
#include "Report.h"

#include "core/Properties.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace tavosce
{

/// The stored bytes of a block and what they are taken for: within one file the same bytes mean the same data.
using Payload = std::tuple<std::uint64_t, std::uint64_t, bool, int, int, int>;

/// A block of a record that is compared.
struct ComparedBlock
{
    StoredBlock stored;             ///< of a scene directory only what the tag says of owner, kind and name
    std::optional<Payload> payload; ///< none in a scene directory
    /// Gets the data. Throws Failure TooDamaged, which names the block.
    std::function<BlockData()> load;
};

/// A record that is compared, its data not loaded yet.
struct ComparedRecord
{
    std::string root;         ///< object key; empty if the file does not say
    Properties classVersions; ///< class name to version
    std::vector<StoredNode> nodes;
    std::vector<ComparedBlock> blocks;
};

/// One side of a comparison: the records of a scene database, or a scene directory as one record. Outlives the records
/// that it hands out.
class ComparedScenes
{
public:
    /// Opens what is at a path; warnings go to the report, which has to outlive the result. Throws Failure: CannotOpen,
    /// WrongFormat; of scene directories TooDamaged.
    static std::unique_ptr<ComparedScenes> open(const std::string& path, Report& report);

    virtual ~ComparedScenes() = default;

    virtual std::size_t count() const = 0;
    /// Throws Failure TooDamaged for a record that is not whole.
    virtual ComparedRecord record(std::size_t index) = 0;
    /// True if the bytes are those of one file, where a payload can be told by its place.
    virtual bool isDatabase() const = 0;
    /// Says what is wrong apart from the records. What `all` wanted and damage hides makes the file too damaged.
    virtual void finish(bool all, Report& report) const = 0;
};

} // namespace tavosce
