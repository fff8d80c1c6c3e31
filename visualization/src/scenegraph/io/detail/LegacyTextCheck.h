#pragma once

#include "scenegraph/io/detail/LegacyTokens.h"
#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tsg::detail
{

/// Where an array of the text is found in the polydata.
enum class ArrayPlace
{
    Points,
    Fields,
    CellData,
    PointData
};

/// The values of one array that VTK's reader could not read.
struct ReplacedValues
{
    ArrayPlace place;
    std::string name;        ///< as it stands in the text; empty for the points
    std::int64_t valueCount; ///< of the array
    std::vector<ReplacedValue> values;
};

/// Proves, in one pass, that the text of a polydata in the VTK legacy format can be left to VTK's reader, which trusts
/// it. A sound text
///   - is of a version below 5 and ASCII, and its dataset is POLYDATA with points
///   - ends with the end of a line
///   - has each section at most once, a keyword or array only at the beginning of a line, and its values behind its
///   line
///   - has as many values as it says, each within the range of its type
///   - has cells that fill their list exactly and refer to points that exist
///   - has as many point and cell data as points and cells, and arrays of numbers only
///   - needs no more memory than the budget has, which stays charged for what the polydata takes
/// Values that are no numbers or infinite are replaced by zeros and remembered. Texts with array metadata, which
/// version 3.0 does not have, count as not sound.
class LegacyTextCheck
{
public:
    /// Both are borrowed.
    LegacyTextCheck(std::string& text, sdb::detail::MemoryBudget& budget);

    /// To be called once.
    bool passes();

    // What has been found in a text that passes.
    std::int64_t pointCount() const { return _pointCount; }

    std::int64_t cellCount() const { return _cellCount; }

    const std::vector<ReplacedValues>& replaced() const { return _replaced; }

private:
    /// Sections or kinds of attribute that have come up, as bits.
    using Seen = unsigned;

    /// An array as its line describes it.
    struct Array
    {
        ArrayPlace place;
        std::string_view name;
        std::int64_t components;
        std::int64_t tuples;
        bool isRead = true; ///< false for what VTK's reader skips
    };

    bool passHeader();
    bool passSections();
    bool passSection(std::string_view keyword);
    bool passPoints();
    bool passCells();
    bool passFields(ArrayPlace place);
    bool passAttributes(std::string_view keyword);
    bool passAttribute(std::string_view keyword, ArrayPlace place, std::int64_t tuples, Seen& seen);
    bool passScalars(Array array);
    bool passTextureCoordinates(Array array);
    bool passColours(std::int64_t components, std::int64_t tuples);
    bool passArray(const Array& array, std::string_view typeWord);
    bool charge(std::int64_t components, std::int64_t tuples, std::int64_t width);
    void remember(const Array& array, std::vector<ReplacedValue> values);

    LegacyTokens _tokens;
    sdb::detail::MemoryBudget& _budget;
    Seen _sections = 0;
    std::int64_t _pointCount = -1; ///< -1 until there are points
    std::int64_t _cellCount = 0;
    std::int64_t _lowestId = 0;
    std::int64_t _highestId = -1;
    std::int64_t _arrayCount = 0;
    std::vector<ReplacedValues> _replaced;
};

} // namespace tsg::detail
