#include "scenegraph/io/detail/AppendStream.h"

#include <ios>
#include <utility>

namespace sdb::detail
{

AppendStream::AppendStream(const std::wstring& path)
    : OS::UpdateStream(path)
{
}

void AppendStream::start(std::uint64_t nextItem)
{
    seekp(0, std::ios::end);
    _firstItem = nextItem;
    _nextItem = nextItem;
    _leftover = static_cast<std::uint64_t>(std::streamoff(tellp())) != nextItem;
}

bool AppendStream::beginItem()
{
    _inItem = true;
    _touched = true;
    if (_leftover)
    {
        clear();
        _leftover = !cutTo(_nextItem);
    }
    return std::exchange(_wasCut, false);
}

/// Flushes, cuts and goes to the new end; false, with the fail bit set, if any of that fails.
bool AppendStream::cutTo(std::uint64_t size)
{
    _wasCut = true;
    flush();
    if (!truncate(size) || !seekp(static_cast<std::streamoff>(size)))
    {
        setstate(std::ios::failbit);
    }
    return good();
}

bool AppendStream::flushed()
{
    flush();
    return good();
}

void AppendStream::endItem()
{
    _nextItem = static_cast<std::uint64_t>(std::streamoff(tellp()));
    _inItem = false;
}

void AppendStream::leaveItem()
{
    _leftover = true;
    _inItem = false;
}

bool AppendStream::takeItemBack()
{
    _inItem = false;
    return cutTo(_nextItem);
}

void AppendStream::abandon()
{
    _inItem = false;
    discard();
    truncate(_nextItem);
    close();
}

bool AppendStream::abandonAll()
{
    _inItem = false;
    discard();
    const bool done = !_touched || truncate(_firstItem);
    close();
    return done;
}

} // namespace sdb::detail
