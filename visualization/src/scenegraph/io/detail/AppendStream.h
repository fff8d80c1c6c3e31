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
    /// Opens the file at `path`; not open on failure. It can be read through its buffer until `start`.
    explicit AppendStream(const std::wstring& path);

    /// Goes to the end of the file. `nextItem` is where the next item starts: that end, or the one of the last whole
    /// item.
    void start(std::uint64_t nextItem);

    /// Cuts off what an unfinished item left behind and goes to where the next item starts. Sets the fail bit if the
    /// file cannot be cut. Whether anything was cut off since the item before.
    bool beginItem();

    /// True if an item has been begun and neither ended, left nor abandoned.
    bool isInItem() const { return _inItem; }

    /// Flushes; true if everything up to now has been taken by the system.
    bool flushed();

    /// The item ends at the present position, which is where the next one starts.
    void endItem();

    /// Leaves the item unfinished in the file; the next one takes its place.
    void leaveItem();

    /// Cuts the item off at once; false if that fails.
    bool takeItemBack();

    /// Cuts the file back to the start of the item, writes nothing more and closes.
    void abandon();

    /// Cuts off all items that were added since `start`, writes nothing more and closes; false if the file cannot be
    /// cut. A file to which nothing was added stays as it is.
    bool abandonAll();

private:
    bool cutTo(std::uint64_t size);

    std::uint64_t _firstItem = 0; ///< where the first item that is added starts
    std::uint64_t _nextItem = 0;  ///< first byte of the next item
    bool _wasCut = false;         ///< since the last item began
    bool _leftover = false;       ///< whether something lies there that has to be cut off first
    bool _touched = false;        ///< whether an item has been begun
    bool _inItem = false;         ///< see isInItem
};

} // namespace sdb::detail
