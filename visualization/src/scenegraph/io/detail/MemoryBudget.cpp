#include "scenegraph/io/detail/MemoryBudget.h"

#include <algorithm>
#include <istream>

namespace sdb::detail
{

namespace
{

/// Position and size of a stream; -1 for what cannot be known.
struct Place
{
    explicit Place(std::istream& in)
    {
        const std::ios::iostate state = in.rdstate();
        in.clear();
        const std::istream::pos_type before = in.tellg();
        in.seekg(0, std::ios::end);
        size = in.tellg();
        in.clear();
        in.seekg(before);
        in.clear(state);
        here = before;
    }

    std::streamoff here;
    std::streamoff size;
};

} // namespace

std::optional<std::uint64_t> streamSize(std::istream& in)
{
    const Place place(in);
    return place.size < 0 ? std::nullopt : std::optional(static_cast<std::uint64_t>(place.size));
}

std::optional<std::uint64_t> bytesLeft(std::istream& in)
{
    const Place place(in);
    const bool known = place.here >= 0 && place.size >= 0;
    return known ? std::optional(static_cast<std::uint64_t>(std::max<std::streamoff>(place.size - place.here, 0)))
                 : std::nullopt;
}

} // namespace sdb::detail
