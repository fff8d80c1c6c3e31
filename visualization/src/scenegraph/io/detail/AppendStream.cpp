#include "scenegraph/io/detail/AppendStream.h"

#include <ios>

namespace sdb::detail
{

AppendStream::AppendStream(const std::wstring& path, std::uint64_t nextItem)
    : OS::UpdateStream(path)
    , _nextItem(nextItem)
{
    seekp(0, std::ios::end);
    _leftover = static_cast<std::uint64_t>(std::streamoff(tellp())) != nextItem;
}

void AppendStream::beginItem()
{
    _inItem = true;
    if (!_leftover)
    {
        return;
    }
    clear();
    flush();
    if (!truncate(_nextItem) || !seekp(static_cast<std::streamoff>(_nextItem)))
    {
        setstate(std::ios::failbit);
        return;
    }
    _leftover = false;
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

void AppendStream::abandon()
{
    _inItem = false;
    discard();
    truncate(_nextItem);
}

} // namespace sdb::detail
