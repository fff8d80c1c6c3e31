#pragma once

#include "scenegraph/io/detail/LegacyTokens.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace tsg::detail
{

/// How the values of one type are spelled in the VTK legacy format.
struct LegacyValues
{
    std::string_view word; ///< names the type
    int width;             ///< bytes that a value takes in memory, or more
    /// True if `count` values of the type follow. Those that are no numbers or infinite are added to `replaced`.
    bool (*pass)(LegacyTokens& tokens, std::int64_t count, std::vector<ReplacedValue>& replaced);
};

/// Those of type float, in which colours are spelled, too.
extern const LegacyValues& FLOAT_VALUES;

/// Those that a type word stands for, in either case; null for a word that is none, or stands for no numbers.
const LegacyValues* findLegacyValues(std::string_view word);

} // namespace tsg::detail
