#pragma once

#include "platform/FileStreams.h"

#include <cstdint>
#include <string>

namespace sdb::detail
{

/// The open file of a writer: an output stream that knows where the next item (a record or a thumbnail) starts.
///
/// What lies behind that place is an item that was never finished; it stays until the next item is begun, so that
/// opening a file changes nothing.
class AppendStream : public OS::UpdateStream
{
public:
    /// Opens the file at `path`; not open on failure. `nextItem` is where the next item starts: the end of the file, or
    /// that of its last whole item. The write position is the end of the file.
    AppendStream(const std::wstring& path, std::uint64_t nextItem);

    /// Cuts off what an unfinished item left behind and goes to where the next item starts. Sets the fail bit if the
    /// file cannot be cut.
    void beginItem();

    /// Whether an item has been begun and neither ended, left nor abandoned.
    bool isInItem() const { return _inItem; }

    /// Flushes; true if everything up to now has been taken by the system.
    bool flushed();

    /// The item ends at the present position, which is where the next one starts.
    void endItem();

    /// Leaves the item unfinished in the file; the next one takes its place.
    void leaveItem();

    /// Cuts the file back to the start of the item, writes nothing more and closes.
    void abandon();

private:
    std::uint64_t _nextItem; ///< first byte of the next item
    bool _leftover = false;  ///< whether something lies there that has to be cut off first
    bool _inItem = false;    ///< see isInItem
};

} // namespace sdb::detail
