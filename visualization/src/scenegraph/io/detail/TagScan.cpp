#include "scenegraph/io/detail/TagScan.h"

#include "scenegraph/io/detail/Limits.h"

#include <istream>
#include <new>
#include <streambuf>

namespace sdb::detail
{

namespace
{

using Traits = std::istream::traits_type;

/// Typical tags fit without another allocation.
constexpr std::size_t TYPICAL_TAG_BYTES = 8192;

TagScan scanBuffer(std::streambuf& buffer, std::string& text, std::uint64_t& skipped)
{
    const Traits::int_type end = Traits::eof();
    Traits::int_type next = buffer.sbumpc();
    for (; next != '{'; next = buffer.sbumpc())
    {
        if (next == end)
        {
            return TagScan::NoTag;
        }
        ++skipped;
    }
    text += '{';
    for (std::uint64_t depth = 1; depth > 0;)
    {
        if (text.size() == MAX_TAG_BYTES)
        {
            return TagScan::TooLong;
        }
        next = buffer.sbumpc();
        if (next == end)
        {
            return TagScan::CutByEnd;
        }
        if (next == '\n' || next == '\r')
        {
            return TagScan::CutByLineBreak;
        }
        depth += next == '{' ? 1 : 0;
        depth -= next == '}' ? 1 : 0;
        text += Traits::to_char_type(next);
    }
    return TagScan::Complete;
}

std::ios::iostate stateAfter(TagScan result)
{
    switch (result)
    {
    case TagScan::NoTag:
    case TagScan::CutByEnd:
        return std::ios::eofbit | std::ios::failbit;
    case TagScan::Failed:
        return std::ios::badbit;
    default:
        return std::ios::goodbit;
    }
}

} // namespace

TagScan scanTag(std::istream& in, std::string& text, std::uint64_t& skipped)
{
    text.clear();
    text.reserve(TYPICAL_TAG_BYTES);
    skipped = 0;
    const std::istream::sentry ready(in, true);
    if (!ready)
    {
        return TagScan::NoTag;
    }
    TagScan result = TagScan::Failed;
    try
    {
        result = scanBuffer(*in.rdbuf(), text, skipped);
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (...)
    {
        // What a stream buffer throws shows as the bad bit, as with the stream's own operations.
        result = TagScan::Failed;
    }
    in.setstate(stateAfter(result));
    return result;
}

} // namespace sdb::detail
