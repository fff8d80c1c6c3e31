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

void rewriteTag(std::ostream& out, std::uint64_t position, std::uint64_t length, const Properties& tag)
{
    const std::string text = tagText(tag);
    if (text.size() != length)
    {
        raise(SAME_LENGTH);
    }
    out.seekp(static_cast<std::streamoff>(position));
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
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
    return digits == hexPosition(0) || digits == beyondAnyFile(hexFromProp(tag, last));
}

PendingTag::PendingTag(std::ostream& out, Properties tag)
    : _out(out)
    , _tag(std::move(tag))
    , _tagPos(writePosition(out))
{
    setPositions(_tag, 0, 0);
    const std::string text = tagText(_tag);
    _length = text.size();
    _out.write(text.data(), static_cast<std::streamsize>(text.size()));
    _payloadPos = writePosition(_out);
}

const Properties& PendingTag::commit()
{
    const std::uint64_t end = writePosition(_out);
    if (_out.fail())
    {
        return _tag;
    }
    Properties committed = _tag;
    setPositions(committed, _payloadPos, end - _payloadPos);
    rewriteTag(_out, _tagPos, _length, committed);
    _out.seekp(static_cast<std::streamoff>(end));
    _tag = std::move(committed);
    return _tag;
}

const Properties& PendingTag::commitItem()
{
    const std::uint64_t end = writePosition(_out);
    if (!_out.fail())
    {
        Properties unfinished = _tag;
        setPositions(unfinished, _payloadPos, end - _payloadPos);
        unfinished.set(key::FILE_POS, beyondAnyFile(_payloadPos), Properties::Overwrite);
        rewriteTag(_out, _tagPos, _length, unfinished);
        _out.seekp(static_cast<std::streamoff>(end));
    }
    return commit();
}

} // namespace sdb::detail
