#include "scenegraph/io/detail/ItemSearch.h"

#include "scenegraph/io/detail/Extent.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/Positions.h"

#include <algorithm>
#include <array>
#include <istream>
#include <new>
#include <streambuf>

namespace sdb::detail
{

namespace
{

bool isInItsPlace(const std::string& text, std::uint64_t begin)
{
    const Properties tag(text);
    const std::uint64_t tagEnd = begin + text.size();
    if (!finishedEnd(tag, tagEnd))
    {
        return false;
    }
    const std::string& dataField = tag.getString(key::DATA_FIELD);
    const std::uint64_t filePos = hexFromProp(tag, key::FILE_POS);
    return (dataField == field::HEADER && filePos == begin) || (dataField == field::THUMBNAIL && filePos == tagEnd);
}

/// Collects the texts that may be the tag of an item. Such a tag nests no other, so that the next brace ends it or
/// begins another one, and no byte is looked at twice.
class Candidate
{
public:
    /// Takes the next byte; true when `text` is complete.
    bool take(char byte)
    {
        if (byte == '{')
        {
            _text = byte;
            return false;
        }
        if (_text.empty())
        {
            return false;
        }
        _text += byte;
        if (byte == '\n' || byte == '\r' || _text.size() > MAX_TAG_BYTES || !beginsAsItem(_text))
        {
            _text.clear();
        }
        return byte == '}' && !_text.empty();
    }

    const std::string& text() const { return _text; }

    void drop() { _text.clear(); }

private:
    std::string _text;
};

std::optional<std::uint64_t> findInBuffer(std::streambuf& buffer, std::uint64_t position)
{
    Candidate candidate;
    for (int next = buffer.sbumpc(); next != std::istream::traits_type::eof(); next = buffer.sbumpc())
    {
        ++position;
        if (candidate.take(static_cast<char>(next)))
        {
            const std::uint64_t begin = position - candidate.text().size();
            if (isInItsPlace(candidate.text(), begin))
            {
                return begin;
            }
            candidate.drop();
        }
    }
    return std::nullopt;
}

} // namespace

std::string beginningOfTag(const char* dataField)
{
    Properties tag;
    tag.set(key::DATA_FIELD, dataField);
    const std::string text = tag.toString();
    return text.substr(0, text.size() - 1);
}

bool beginsAsItem(const std::string& text)
{
    static const std::array<std::string, 2> BEGINNINGS{beginningOfTag(field::HEADER), beginningOfTag(field::THUMBNAIL)};
    return std::any_of(BEGINNINGS.begin(), BEGINNINGS.end(),
                       [&](const std::string& begin)
                       {
                           const std::size_t common = std::min(begin.size(), text.size());
                           return text.compare(0, common, begin, 0, common) == 0;
                       });
}

std::optional<std::uint64_t> findItem(std::istream& in, std::uint64_t from)
{
    in.clear();
    seekTo(in, from);
    if (in.fail())
    {
        return std::nullopt;
    }
    try
    {
        return findInBuffer(*in.rdbuf(), from);
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (...)
    {
        in.setstate(std::ios::badbit);
        return std::nullopt;
    }
}

bool isItemAt(std::istream& in, std::uint64_t position)
{
    constexpr std::uint64_t MOST_BYTES = 65536;
    in.clear();
    seekTo(in, position);
    Candidate candidate;
    for (std::uint64_t taken = 1; taken <= MOST_BYTES; ++taken)
    {
        const int next = in.get();
        if (next == std::istream::traits_type::eof())
        {
            return false;
        }
        if (candidate.take(static_cast<char>(next)))
        {
            return isInItsPlace(candidate.text(), position);
        }
        if (candidate.text().size() != taken)
        {
            return false; // something else, or it begins later
        }
    }
    return false;
}

} // namespace sdb::detail
