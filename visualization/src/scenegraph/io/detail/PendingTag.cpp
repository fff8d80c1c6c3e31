#include "scenegraph/io/detail/PendingTag.h"

#include "core/Error.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <ostream>
#include <utility>

namespace sdb::detail
{

namespace
{

constexpr const char* SOURCE = "visualization/src/scenegraph/io/SDB";
constexpr Invariant TAG_TOO_LONG{"Property tag is too long", "text.size() <= MAX_TAG_BYTES", SOURCE, 402};
constexpr Invariant SAME_LENGTH{"Rewritten property tag changed its length", "text.size() == length", SOURCE, 409};

/// In place of the first digit of a position, which is 0 in every file.
constexpr char BEYOND_ANY_FILE = 'f';

void setPositions(Properties& tag, std::uint64_t filePos, std::uint64_t length)
{
    tag.set(key::FILE_POS, hexPosition(filePos), Properties::Overwrite);
    tag.set(key::LENGTH, hexPosition(length), Properties::Overwrite);
}

} // namespace

std::string tagText(const Properties& tag)
{
    std::string text = tag.toString();
    if (text.size() > MAX_TAG_BYTES)
    {
        raise(TAG_TOO_LONG);
    }
    return text;
}

void rewriteTag(const TagStream& stream, std::uint64_t position, std::uint64_t length, const Properties& tag)
{
    const std::string text = tagText(tag);
    if (text.size() != length)
    {
        raise(SAME_LENGTH);
    }
    stream.moveTo(position);
    stream.out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string beyondAnyFile(std::uint64_t position)
{
    std::string digits = hexPosition(position);
    digits.front() = BEYOND_ANY_FILE;
    return digits;
}

bool isPending(const Properties& tag)
{
    const bool isRecord = tag.getString(key::DATA_FIELD) == field::HEADER;
    const char* const last = isRecord ? key::LENGTH : key::FILE_POS;
    const std::string& digits = tag.getString(last);
    const bool isZero = !digits.empty() && digits.find_first_not_of('0') == std::string::npos;
    return isZero || digits == beyondAnyFile(hexFromProp(tag, last));
}

TagStream::TagStream(std::ostream& stream)
    : TagStream(
          stream, [&stream] { return writePosition(stream); },
          [&stream](std::uint64_t to) { stream.seekp(static_cast<std::streamoff>(to)); })
{
}

TagStream::TagStream(std::ostream& stream, std::function<std::uint64_t()> flushedPosition,
                     std::function<void(std::uint64_t)> move)
    : out(stream)
    , position(std::move(flushedPosition))
    , moveTo(std::move(move))
{
}

PendingTag::PendingTag(TagStream stream, Properties tag, std::uint64_t filePos)
    : _stream(std::move(stream))
    , _tag(std::move(tag))
    , _tagPos(_stream.position())
{
    setPositions(_tag, filePos, 0);
    const std::string text = tagText(_tag);
    _length = text.size();
    _stream.out.write(text.data(), static_cast<std::streamsize>(text.size()));
    _payloadPos = _stream.position();
}

/// Rewrites the tag and goes back to the payload's end.
void PendingTag::rewrite(std::uint64_t end, const Properties& tag)
{
    rewriteTag(_stream, _tagPos, _length, tag);
    _stream.moveTo(end);
}

const Properties& PendingTag::commit()
{
    const std::uint64_t end = _stream.position();
    if (!_stream.out.fail())
    {
        Properties committed = _tag;
        setPositions(committed, _payloadPos, end - _payloadPos);
        rewrite(end, committed);
        _tag = std::move(committed);
    }
    return _tag;
}

void PendingTag::prepare()
{
    const std::uint64_t end = _stream.position();
    if (!_stream.out.fail())
    {
        Properties unfinished = _tag;
        setPositions(unfinished, _payloadPos, end - _payloadPos);
        unfinished.set(key::FILE_POS, beyondAnyFile(_payloadPos), Properties::Overwrite);
        rewrite(end, unfinished);
    }
}

} // namespace sdb::detail
