// The index of a scene database. Where nothing in it was left unfinished it is what the literal walk finds.

#include "FuzzTarget.h"
#include "LiteralWalk.h"
#include "MemoryWatch.h"

#include "support/IndexEvents.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using sdb::detail::WalkEnd;
    fuzz::beQuiet();
    const std::string bytes = fuzz::asString(data, size);
    std::istringstream in(bytes);
    fuzz::WalkEvents found;
    sdb::detail::WalkResult result;
    {
        const fuzz::MemoryWatch watch(size);
        found = fuzz::indexedEvents(in);
        result = test::walk(bytes);
    }
    fuzz::require(result.position <= size, "the walk ends in the file");
    if (!result.unfinished.empty() || result.end == WalkEnd::UnfinishedItem)
    {
        return 0;
    }
    std::istringstream literalIn(bytes);
    const auto literal = fuzz::literalEvents(literalIn);
    fuzz::require(!literal || *literal == found, "the index equals the literal walk");
    return 0;
}
