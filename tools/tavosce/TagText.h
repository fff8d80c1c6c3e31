#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tavosce
{

/// A tag as it stands in a file, however its writer spelled and ordered it. Numbers in it are exchanged without
/// touching anything else.
class TagText
{
public:
    /// The text has to be one that Properties can read.
    explicit TagText(std::string text);

    const std::string& str() const { return _text; }

    std::size_t size() const { return _text.size(); }

    /// Gives a position as many digits as writers give it, so that another value does not change the tag's length. A
    /// position that is missing comes last.
    void widenPosition(const char* key);

    /// Sets a position; one that has that value already keeps its digits, any other gets as many as writers give it.
    void setPosition(const char* key, std::uint64_t value);

    /// Sets an integer; one that is missing comes last.
    void setNumber(const char* key, int value);

private:
    using Span = std::pair<std::size_t, std::size_t>;

    std::optional<Span> find(const char* key) const;
    void replace(const char* key, const std::string& value);

    std::string _text;
};

} // namespace tavosce
