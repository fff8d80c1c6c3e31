#include "scenegraph/io/detail/LegacyValues.h"

namespace tsg::detail
{

namespace
{

using Values = std::vector<ReplacedValue>;

bool passBits(LegacyTokens& tokens, std::int64_t count, Values&)
{
    for (unsigned char bit = 0; count > 0; --count)
    {
        if (!tokens.integer(bit) || bit > 1)
        {
            return false;
        }
    }
    return true;
}

template <class T>
bool passIntegers(LegacyTokens& tokens, std::int64_t count, Values&)
{
    for (T value = 0; count > 0; --count)
    {
        if (!tokens.integer(value))
        {
            return false;
        }
    }
    return true;
}

template <class T>
bool passReals(LegacyTokens& tokens, std::int64_t count, Values& replaced)
{
    for (std::int64_t i = 0; i < count; ++i)
    {
        if (!tokens.real<T>(i, replaced))
        {
            return false;
        }
    }
    return true;
}

constexpr LegacyValues VALUE_TYPES[] = {
    {"float", 4, &passReals<float>},
    {"double", 8, &passReals<double>},
    {"bit", 1, &passBits},
    {"char", 1, &passIntegers<signed char>},
    {"signed_char", 1, &passIntegers<signed char>},
    {"unsigned_char", 1, &passIntegers<unsigned char>},
    {"short", 2, &passIntegers<short>},
    {"unsigned_short", 2, &passIntegers<unsigned short>},
    {"int", 4, &passIntegers<int>},
    {"unsigned_int", 4, &passIntegers<unsigned int>},
    {"long", 8, &passIntegers<std::int64_t>},
    {"unsigned_long", 8, &passIntegers<std::uint64_t>},
    {"vtkIdType", 8, &passIntegers<int>}, // VTK reads them as integers of 4 bytes
    {"vtktypeint64", 8, &passIntegers<std::int64_t>},
    {"vtktypeuint64", 8, &passIntegers<std::uint64_t>},
};

} // namespace

const LegacyValues& FLOAT_VALUES = VALUE_TYPES[0];

const LegacyValues* findLegacyValues(std::string_view word)
{
    for (const LegacyValues& type : VALUE_TYPES)
    {
        if (sameWord(word, type.word))
        {
            return &type;
        }
    }
    return nullptr;
}

} // namespace tsg::detail
