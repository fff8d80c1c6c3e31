#include "scenegraph/io/detail/MemoryBudget.h"

#include <istream>

namespace sdb::detail
{

std::uint64_t streamSize(std::istream& in)
{
    const std::ios::iostate state = in.rdstate();
    in.clear();
    const std::istream::pos_type here = in.tellg();
    in.seekg(0, std::ios::end);
    const std::istream::pos_type end = in.tellg();
    in.clear();
    in.seekg(here);
    in.clear(state);
    return end == std::istream::pos_type(-1) ? 0 : static_cast<std::uint64_t>(end);
}

} // namespace sdb::detail
