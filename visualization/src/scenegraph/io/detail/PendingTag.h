#pragma once

#include "core/Properties.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace sdb::detail
{

/// The text of a tag as it is written. Raises InternalError if it is longer than a reader accepts.
std::string tagText(const Properties& tag);

struct TagStream;

/// Writes a tag over one at `position` that has `length` bytes, in one piece, and leaves the stream behind it. Raises
/// InternalError, and writes nothing, if the new text has another length.
void rewriteTag(const TagStream& stream, std::uint64_t position, std::uint64_t length, const Properties& tag);

/// A position or length in digits that reach beyond any file: an item whose tag has it is not finished. Written first,
/// it leaves a single byte for the rewrite that finishes the item, the first digit, which is 0 in every file; and no
/// crash can tear a byte.
std::string beyondAnyFile(std::uint64_t position);

/// The number with those digits and no others. A header that has it from the beginning keeps its first digit until the
/// item is finished, so that the device may have any bytes of it, old or new, when the power is cut.
constexpr std::uint64_t FAR_BEYOND = 0xf000000000000000;

/// True if the number of an item's tag that says that the item is finished is one that a writer leaves there until
/// then: zero, or beyond any file. Any other in an unfinished item is damaged.
bool isPending(const Properties& tag);

/// A stream, and the ways in which whoever writes tags to it flushes and moves it.
struct TagStream
{
    /// With the stream's own ways. It is borrowed.
    explicit TagStream(std::ostream& stream);

    /// All are borrowed by the functions.
    TagStream(std::ostream& stream, std::function<std::uint64_t()> flushedPosition,
              std::function<void(std::uint64_t)> move);

    std::ostream& out;
    std::function<std::uint64_t()> position; ///< flushes, and gives that of the next byte to be written
    std::function<void(std::uint64_t)> moveTo;
};

/// A tag written with zero positions and rewritten in place once the payload behind it is known. If it is not
/// committed, the zeros stay in the file: such an item was never finished.
class PendingTag
{
public:
    /// Sets "FilePos" and "Length" of the tag to zero, in their old places if it has them, and writes it at the current
    /// position of the stream, which stays with the caller and outlives this object. Raises InternalError for a tag
    /// that is too long, before the first byte. With FAR_BEYOND "FilePos" is that instead.
    PendingTag(TagStream stream, Properties tag, std::uint64_t filePos = 0);

    /// Takes everything written since as the payload, rewrites the tag and returns the stream to the payload's end. The
    /// tag as it now stands in the file; on a stream in fail or bad state nothing is written and the zeros stay.
    const Properties& commit();

    /// To be called before `commit` for a tag of the top level, which a crash must not leave half rewritten: gives the
    /// tag everything but the byte that says that the item is finished.
    void prepare();

    const Properties& properties() const { return _tag; }

private:
    void rewrite(std::uint64_t end, const Properties& tag);

    TagStream _stream;
    Properties _tag;
    std::uint64_t _tagPos;     ///< first byte of the tag
    std::uint64_t _length;     ///< of its text
    std::uint64_t _payloadPos; ///< first byte after it
};

} // namespace sdb::detail
