#include "scenegraph/io/detail/LegacyTokens.h"

#include "scenegraph/io/detail/Limits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace tsg::detail
{

namespace
{

/// The characters that separate words; the line feed also ends a line.
constexpr std::string_view BLANKS = " \t\r\v\f";

enum CharacterKind : unsigned char
{
    Other,
    Blank,
    LineFeed,
    Control,
    Digit
};

constexpr std::array<CharacterKind, 256> characterKinds()
{
    std::array<CharacterKind, 256> kinds{};
    for (std::size_t c = 0; c < ' '; ++c)
    {
        kinds[c] = Control;
    }
    for (const char blank : BLANKS)
    {
        kinds[static_cast<unsigned char>(blank)] = Blank;
    }
    for (std::size_t c = '0'; c <= '9'; ++c)
    {
        kinds[c] = Digit;
    }
    kinds['\n'] = LineFeed;
    return kinds;
}

constexpr std::array<CharacterKind, 256> KINDS = characterKinds();

CharacterKind kindOf(char c)
{
    return KINDS[static_cast<unsigned char>(c)];
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char* skipDigits(char* at)
{
    while (kindOf(*at) == Digit)
    {
        ++at;
    }
    return at;
}

bool isSign(char c)
{
    return c == '-' || c == '+';
}

/// How run-time libraries spell what is no number or infinite. What follows is more of the same: a kind of NaN in
/// parentheses, or zeros.
struct Spelling
{
    std::string_view text;
    double value;
};

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

constexpr Spelling SPELLINGS[] = {{"nan", NOT_A_NUMBER},   {"inf", INFINITE},         {"infinity", INFINITE},
                                  {"1.#inf", INFINITE},    {"1.#qnan", NOT_A_NUMBER}, {"1.#snan", NOT_A_NUMBER},
                                  {"1.#ind", NOT_A_NUMBER}};

bool isRestOfSpelling(std::string_view rest)
{
    const bool inParentheses = rest.size() > 1 && rest.front() == '(' && rest.find(')') == rest.size() - 1;
    return inParentheses || rest.find_first_not_of('0') == std::string_view::npos;
}

const Spelling* findSpelling(std::string_view word)
{
    for (const Spelling& spelling : SPELLINGS)
    {
        if (sameWord(word.substr(0, spelling.text.size()), spelling.text) &&
            isRestOfSpelling(word.substr(spelling.text.size())))
        {
            return &spelling;
        }
    }
    return nullptr;
}

/// The parts of a decimal fraction that decide whether it can be too large.
struct Fraction
{
    char* end;                         ///< null if the text is no decimal fraction
    std::ptrdiff_t integerDigits = 0;  ///< before the point
    std::ptrdiff_t exponentDigits = 0; ///< 0 without an exponent
    bool exponentIsNegative = false;

    /// Numbers without many digits or an exponent of more than one are within every range.
    bool mayBeTooLarge() const { return integerDigits > SAFE_DIGITS || exponentDigits > 1; }

    static constexpr std::ptrdiff_t SAFE_DIGITS = 20;
};

Fraction scanFraction(char* at)
{
    Fraction fraction{nullptr};
    at += isSign(*at) ? 1 : 0;
    char* const point = skipDigits(at);
    fraction.integerDigits = point - at;
    at = *point == '.' ? skipDigits(point + 1) : point;
    if (fraction.integerDigits == 0 && at - point < 2)
    {
        return fraction; // no digit
    }
    if (*at == 'e' || *at == 'E')
    {
        ++at;
        fraction.exponentIsNegative = *at == '-';
        at += isSign(*at) ? 1 : 0;
        char* const end = skipDigits(at);
        fraction.exponentDigits = end - at;
        if (end == at)
        {
            return fraction;
        }
        at = end;
    }
    fraction.end = at;
    return fraction;
}

/// True if T holds the number, perhaps as zero.
template <class T>
bool isInRange(const char* begin, const Fraction& fraction)
{
    T value = 0;
    const auto error = std::from_chars(*begin == '+' ? begin + 1 : begin, fraction.end, value).ec;
    const bool isTooSmall = fraction.exponentIsNegative && fraction.integerDigits <= Fraction::SAFE_DIGITS;
    return error == std::errc() || (error == std::errc::result_out_of_range && isTooSmall);
}

} // namespace

bool sameWord(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

LegacyTokens::LegacyTokens(std::string& text)
    : _at(text.data())
    , _end(text.data() + text.size())
{
}

bool LegacyTokens::isSpaceOrEnd(char c)
{
    return kindOf(c) == Blank || kindOf(c) == LineFeed || c == '\0';
}

// The zero at the end is no white space, so that no loop needs to look for the end.
void LegacyTokens::skipSpace()
{
    for (CharacterKind kind = kindOf(*_at); kind == Blank || kind == LineFeed; kind = kindOf(*_at))
    {
        _lineBegins = _lineBegins || kind == LineFeed;
        ++_at;
    }
}

bool LegacyTokens::atEnd()
{
    skipSpace();
    return _at == _end;
}

std::string_view LegacyTokens::line()
{
    char* const begin = _at;
    char* const feed = std::find(_at, _end, '\n');
    _at = feed == _end ? _end : feed + 1;
    _lineBegins = true;
    std::string_view text(begin, static_cast<std::size_t>(feed - begin));
    if (!text.empty() && text.back() == '\r')
    {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view LegacyTokens::firstWord()
{
    skipSpace();
    return _lineBegins ? word() : std::string_view();
}

std::string_view LegacyTokens::word()
{
    while (kindOf(*_at) == Blank)
    {
        ++_at;
    }
    const char* const begin = _at;
    while (kindOf(*_at) == Other || kindOf(*_at) == Digit)
    {
        ++_at;
    }
    _lineBegins = false;
    const auto length = static_cast<std::size_t>(_at - begin);
    const bool isWord = length <= static_cast<std::size_t>(sdb::detail::MAX_NAME_BYTES) && isSpaceOrEnd(*_at);
    return {begin, isWord ? length : 0};
}

bool LegacyTokens::endLine()
{
    while (kindOf(*_at) == Blank)
    {
        ++_at;
    }
    if (_at == _end)
    {
        return true;
    }
    _lineBegins = true;
    return *_at++ == '\n';
}

bool LegacyTokens::count(std::int64_t least, std::int64_t& number)
{
    const std::string_view digits = word();
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    number = value;
    return error == std::errc() && end == digits.data() + digits.size() && number >= least;
}

void LegacyTokens::replaceCount(std::string_view digits, std::int64_t number)
{
    const std::string text = std::to_string(number);
    char* const end = _end + (digits.data() + digits.size() - _end);
    std::fill(end - digits.size(), end, '0');
    std::copy(text.rbegin(), text.rend(), std::make_reverse_iterator(end));
}

template <class T>
bool LegacyTokens::real(std::int64_t index, std::vector<ReplacedValue>& replaced)
{
    skipSpace();
    char* const begin = _at;
    const Fraction fraction = scanFraction(begin);
    if (fraction.end == nullptr || !isSpaceOrEnd(*fraction.end))
    {
        return replace(begin, index, replaced);
    }
    _at = fraction.end;
    _lineBegins = false;
    return !fraction.mayBeTooLarge() || isInRange<T>(begin, fraction);
}

template bool LegacyTokens::real<float>(std::int64_t index, std::vector<ReplacedValue>& replaced);
template bool LegacyTokens::real<double>(std::int64_t index, std::vector<ReplacedValue>& replaced);

bool LegacyTokens::replace(char* begin, std::int64_t index, std::vector<ReplacedValue>& replaced)
{
    const std::string_view text = word();
    const bool isNegative = !text.empty() && text.front() == '-';
    const Spelling* const spelling =
        text.empty() ? nullptr : findSpelling(isSign(text.front()) ? text.substr(1) : text);
    if (spelling == nullptr)
    {
        return false;
    }
    replaced.push_back({index, std::copysign(spelling->value, isNegative ? -1.0 : 1.0)});
    std::fill(begin, _at, ' ');
    *begin = '0';
    return true;
}

} // namespace tsg::detail
