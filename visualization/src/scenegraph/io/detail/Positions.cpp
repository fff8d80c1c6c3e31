#include "scenegraph/io/detail/Positions.h"

#include "scenegraph/io/detail/Extent.h"

#include <istream>
#include <ostream>

namespace sdb::detail
{

std::string hexPosition(std::uint64_t position)
{
    std::string digits(16, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit)
    {
        *digit = "0123456789abcdef"[position % 16];
        position /= 16;
    }
    return digits;
}

std::uint64_t readPosition(std::istream& in)
{
    in.clear(in.rdstate() & ~std::ios::eofbit);
    return static_cast<std::uint64_t>(std::streamoff(in.tellg()));
}

std::uint64_t writePosition(std::ostream& out)
{
    out.flush();
    return static_cast<std::uint64_t>(std::streamoff(out.tellp()));
}

void seekTo(std::istream& in, std::optional<std::uint64_t> position)
{
    in.clear(in.rdstate() & ~std::ios::eofbit);
    if (position.has_value() && *position <= MAX_POSITION)
    {
        in.seekg(static_cast<std::streamoff>(*position));
    }
    else
    {
        in.setstate(std::ios::failbit);
    }
}

} // namespace sdb::detail
