#pragma once

#include <charconv>
#include <iosfwd>
#include <memory>
#include <type_traits>

namespace tsg::detail
{

/// Text on its way to a stream. It is made without any locale, so that neither that of the process nor the flags of the
/// stream matter, and handed over in large pieces.
class TextChunks
{
public:
    /// The stream is borrowed and has to outlive this object.
    explicit TextChunks(std::ostream& out);

    void add(char c)
    {
        makeRoom();
        *_at++ = c;
    }

    /// The digits of an integer, characters included, or the six significant ones of another number.
    template <class Number>
    void addNumber(Number value)
    {
        makeRoom();
        if constexpr (std::is_floating_point_v<Number>)
        {
            _at = std::to_chars(_at, _at + LONGEST_NUMBER, double{value}, std::chars_format::general, 6).ptr;
        }
        else
        {
            _at = std::to_chars(_at, _at + LONGEST_NUMBER, value).ptr;
        }
    }

    /// Hands over what is left.
    void finish();

private:
    static constexpr std::size_t CHUNK_BYTES = 65536;
    static constexpr std::size_t LONGEST_NUMBER = 32;

    void makeRoom()
    {
        if (_at > _chunk.get() + CHUNK_BYTES - LONGEST_NUMBER)
        {
            finish();
        }
    }

    std::ostream& _out;
    std::unique_ptr<char[]> _chunk;
    char* _at; ///< behind the text that is gathered
};

} // namespace tsg::detail
