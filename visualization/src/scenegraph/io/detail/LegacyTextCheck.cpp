#include "scenegraph/io/detail/LegacyTextCheck.h"

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/LegacyValues.h"
#include "scenegraph/io/detail/Limits.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tsg::detail
{

namespace
{

constexpr std::string_view VERSION_PREFIX = "# vtk DataFile Version ";
constexpr char FIRST_UNKNOWN_VERSION = '5';
/// VTK reads lines into 256 bytes with the terminator.
constexpr std::size_t MAX_TITLE_BYTES = 255;
constexpr std::string_view SIX_TENSORS_WORD = "TENSORS6";
constexpr std::string_view PEDIGREE_IDS_WORD = "PEDIGREE_IDS";
constexpr std::string_view EDGE_FLAGS_WORD = "EDGE_FLAGS";
constexpr std::int64_t MAX_TCOORDS_COMPONENTS = 3;
constexpr std::int64_t POINT_COMPONENTS = 3;

/// What one array takes beside its values, and each of its components.
constexpr std::int64_t ARRAY_BYTES = 1024;
constexpr std::int64_t COMPONENT_BYTES = sizeof(double);

/// Bytes that the reading of one integer of a connectivity list takes, the cells included.
constexpr std::int64_t CONNECTIVITY_BYTES = 24;

/// The attributes whose line is their name and type. The kinds of one row stand for the same attribute of the dataset.
struct PlainAttribute
{
    std::string_view keyword;
    std::int64_t components;
    unsigned kind;
};

constexpr unsigned SCALARS_KIND = 1U << 0U;
constexpr unsigned TCOORDS_KIND = 1U << 1U;
constexpr PlainAttribute PLAIN_ATTRIBUTES[] = {
    {VECTORS_FORMAT.keyword, VECTORS_FORMAT.components, 1U << 2U},
    {NORMALS_FORMAT.keyword, NORMALS_FORMAT.components, 1U << 3U},
    {TENSORS_FORMAT.keyword, TENSORS_FORMAT.components, 1U << 4U},
    {SIX_TENSORS_WORD, 6, 1U << 4U},
    {GLOBAL_IDS_FORMAT.keyword, GLOBAL_IDS_FORMAT.components, 1U << 5U},
    {PEDIGREE_IDS_WORD, 1, 1U << 6U},
    {EDGE_FLAGS_WORD, 1, 1U << 7U},
};

/// The sections that come at most once.
constexpr std::string_view SECTIONS[] = {FIELD_WORD,    POINTS_WORD,          VERTICES_WORD,  LINES_WORD,
                                         POLYGONS_WORD, TRIANGLE_STRIPS_WORD, CELL_DATA_WORD, POINT_DATA_WORD};

/// True if `bit` comes up for the first time.
bool seeFirst(unsigned& seen, unsigned bit)
{
    const bool isFirst = (seen & bit) == 0;
    seen |= bit;
    return isFirst;
}

bool isOneOf(std::string_view word, std::string_view first, std::string_view second)
{
    return sameWord(word, first) || sameWord(word, second);
}

} // namespace

LegacyTextCheck::LegacyTextCheck(std::string& text, sdb::detail::MemoryBudget& budget)
    : _tokens(text)
    , _budget(budget)
{
}

bool LegacyTextCheck::passes()
{
    return _tokens.endsWithLine() && passHeader() && passSections() && _pointCount >= 0 && _lowestId >= 0 &&
           _highestId < _pointCount;
}

bool LegacyTextCheck::passHeader()
{
    const std::string_view version = _tokens.line();
    if (version.substr(0, VERSION_PREFIX.size()) != VERSION_PREFIX)
    {
        return false;
    }
    // One digit, a point, one or two digits.
    const std::string_view number = version.substr(VERSION_PREFIX.size());
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (number.size() < 3 || number.size() > 4 || !isDigit(number[0]) || number[0] >= FIRST_UNKNOWN_VERSION ||
        number[1] != '.' || !std::all_of(number.begin() + 2, number.end(), isDigit))
    {
        return false;
    }
    return _tokens.line().size() <= MAX_TITLE_BYTES && sameWord(_tokens.firstWord(), ASCII_WORD) && _tokens.endLine() &&
           sameWord(_tokens.firstWord(), DATASET_WORD) && sameWord(_tokens.word(), POLYDATA_WORD) && _tokens.endLine();
}

bool LegacyTextCheck::passSections()
{
    while (!_tokens.atEnd())
    {
        const std::string_view keyword = _tokens.firstWord();
        if (isOneOf(keyword, CELL_DATA_WORD, POINT_DATA_WORD))
        {
            return passAttributes(keyword); // they go on to the end
        }
        if (!passSection(keyword))
        {
            return false;
        }
    }
    return true;
}

bool LegacyTextCheck::passSection(std::string_view keyword)
{
    const auto* const section = std::find_if(std::begin(SECTIONS), std::end(SECTIONS),
                                             [&](std::string_view word) { return sameWord(word, keyword); });
    if (section == std::end(SECTIONS) || !seeFirst(_sections, 1U << static_cast<unsigned>(section - SECTIONS)))
    {
        return false;
    }
    if (*section == FIELD_WORD)
    {
        return passFields(ArrayPlace::Fields);
    }
    return *section == POINTS_WORD ? passPoints() : passCells();
}

bool LegacyTextCheck::passPoints()
{
    Array points{ArrayPlace::Points, {}, POINT_COMPONENTS, 0};
    if (!_tokens.count(0, points.tuples))
    {
        return false;
    }
    _pointCount = points.tuples;
    return passArray(points, _tokens.word());
}

bool LegacyTextCheck::passCells()
{
    std::int64_t cells = 0;
    std::int64_t size = 0;
    if (!_tokens.count(0, cells) || !_tokens.count(cells, size) || !_tokens.endLine() ||
        !charge(1, size, CONNECTIVITY_BYTES))
    {
        return false;
    }
    for (std::int64_t idsLeft = size - cells, cell = 0; cell < cells || idsLeft > 0; ++cell)
    {
        std::int32_t count = 0;
        if (cell == cells || !_tokens.integer(count) || count < 0 || count > idsLeft)
        {
            return false;
        }
        idsLeft -= count;
        for (std::int32_t id = 0; count > 0; --count)
        {
            if (!_tokens.integer(id))
            {
                return false;
            }
            _lowestId = std::min<std::int64_t>(_lowestId, id);
            _highestId = std::max<std::int64_t>(_highestId, id);
        }
    }
    _cellCount += cells;
    return true;
}

bool LegacyTextCheck::passFields(ArrayPlace place)
{
    std::int64_t count = 0;
    const bool isNamed = !_tokens.word().empty();
    const std::string_view digits = LegacyTokens(_tokens).word();
    if (!isNamed || !_tokens.count(0, count) || !_tokens.endLine())
    {
        return false;
    }
    std::int64_t passed = 0;
    for (; passed < count && nextIsFieldArray(); ++passed)
    {
        Array array{place, _tokens.firstWord(), 0, 0};
        if (!countArray())
        {
            return false;
        }
        if (array.name == MISSING_ARRAY)
        {
            continue;
        }
        if (array.name.empty() || beginsWith(array.name, METADATA_WORD) || !_tokens.count(1, array.components) ||
            !_tokens.count(0, array.tuples) || !passArray(array, _tokens.word()))
        {
            return false;
        }
    }
    if (passed < count)
    {
        _tokens.replaceCount(digits, passed);
        _missingArrays += count - passed;
    }
    return true;
}

/// True if the next line describes an array of a field section. Some writers count arrays that they have left out.
bool LegacyTextCheck::nextIsFieldArray() const
{
    LegacyTokens tokens = _tokens;
    const std::string_view name = tokens.firstWord();
    std::int64_t components = 0;
    std::int64_t tuples = 0;
    return name == MISSING_ARRAY || (!name.empty() && tokens.count(1, components) && tokens.count(0, tuples) &&
                                     findLegacyValues(tokens.word()) != nullptr);
}

bool LegacyTextCheck::countArray()
{
    return ++_arrayCount <= sdb::detail::MAX_TEXT_ARRAYS;
}

/// The point or cell data that begins with `keyword`, and what follows of either.
bool LegacyTextCheck::passAttributes(std::string_view keyword)
{
    ArrayPlace place = ArrayPlace::PointData;
    std::int64_t tuples = 0;
    Seen seen = 0;
    for (;;)
    {
        if (isOneOf(keyword, CELL_DATA_WORD, POINT_DATA_WORD))
        {
            const bool isOfCells = sameWord(keyword, CELL_DATA_WORD);
            place = isOfCells ? ArrayPlace::CellData : ArrayPlace::PointData;
            seen = 0;
            const Seen section = 1U << (isOfCells ? std::size(SECTIONS) - 2 : std::size(SECTIONS) - 1);
            if (!seeFirst(_sections, section) || !_tokens.count(0, tuples) || !_tokens.endLine() ||
                tuples != (isOfCells ? _cellCount : _pointCount))
            {
                return false;
            }
        }
        else if (!passAttribute(keyword, place, tuples, seen))
        {
            return false;
        }
        if (_tokens.atEnd())
        {
            return true;
        }
        keyword = _tokens.firstWord();
    }
}

bool LegacyTextCheck::passAttribute(std::string_view keyword, ArrayPlace place, std::int64_t tuples, Seen& seen)
{
    if (sameWord(keyword, FIELD_WORD))
    {
        return passFields(place);
    }
    Array array{place, _tokens.word(), 1, tuples};
    const bool isTable = sameWord(keyword, LOOKUP_TABLE_WORD); // a part of its scalars
    if (array.name.empty() || (!isTable && !countArray()))
    {
        return false;
    }
    if (sameWord(keyword, SCALARS_FORMAT.keyword))
    {
        array.isRead = seeFirst(seen, SCALARS_KIND);
        return passScalars(array);
    }
    if (sameWord(keyword, TCOORDS_FORMAT.keyword))
    {
        array.isRead = seeFirst(seen, TCOORDS_KIND);
        return passTextureCoordinates(array);
    }
    if (sameWord(keyword, COLOR_SCALARS_WORD))
    {
        (void)seeFirst(seen, SCALARS_KIND);
        return _tokens.count(1, array.components) && passColours(array.components, tuples);
    }
    if (isTable)
    {
        return _tokens.count(0, array.tuples) && passColours(COLOR_BYTES, array.tuples);
    }
    for (const PlainAttribute& attribute : PLAIN_ATTRIBUTES)
    {
        if (sameWord(keyword, attribute.keyword))
        {
            if (attribute.keyword == EDGE_FLAGS_WORD && place == ArrayPlace::CellData)
            {
                return false; // VTK reads them of points only
            }
            array.isRead = seeFirst(seen, attribute.kind);
            array.components = attribute.components;
            return passArray(array, _tokens.word());
        }
    }
    return false;
}

/// Behind the type stands the number of components unless it is one, and in a line of its own the name of a table.
bool LegacyTextCheck::passScalars(Array array)
{
    const std::string_view typeWord = _tokens.word();
    LegacyTokens components = _tokens;
    if (!components.word().empty() && !_tokens.count(1, array.components))
    {
        return false;
    }
    return _tokens.endLine() && sameWord(_tokens.firstWord(), LOOKUP_TABLE_WORD) && !_tokens.word().empty() &&
           passArray(array, typeWord);
}

bool LegacyTextCheck::passTextureCoordinates(Array array)
{
    return _tokens.count(1, array.components) && array.components <= MAX_TCOORDS_COMPONENTS &&
           passArray(array, _tokens.word());
}

/// Colours are fractions of one, whatever they are kept as.
bool LegacyTextCheck::passColours(std::int64_t components, std::int64_t tuples)
{
    std::vector<ReplacedValue> replaced;
    return _tokens.endLine() && charge(components, tuples, FLOAT_VALUES.width) &&
           FLOAT_VALUES.pass(_tokens, components * tuples, replaced) && replaced.empty();
}

/// Takes the memory of an array of values, each of which is at least a digit and a blank, that are still to come.
bool LegacyTextCheck::charge(std::int64_t components, std::int64_t tuples, std::int64_t width)
{
    const std::int64_t most = (_tokens.left() + 1) / 2;
    if (components > sdb::detail::MAX_COMPONENTS || tuples > most / components)
    {
        return false;
    }
    return _budget.charge(static_cast<std::uint64_t>(components * (tuples * width + COMPONENT_BYTES) + ARRAY_BYTES));
}

/// The rest of an array: the end of its line, and its values.
bool LegacyTextCheck::passArray(const Array& array, std::string_view typeWord)
{
    const LegacyValues* const type = findLegacyValues(typeWord);
    std::vector<ReplacedValue> values;
    if (type == nullptr || !_tokens.endLine() || !charge(array.components, array.tuples, type->width) ||
        !type->pass(_tokens, array.components * array.tuples, values))
    {
        return false;
    }
    if (array.isRead)
    {
        remember(array, std::move(values));
    }
    return true;
}

/// Of arrays of one name in one place VTK's reader keeps the last.
void LegacyTextCheck::remember(const Array& array, std::vector<ReplacedValue> values)
{
    const auto isSame = [&](const ReplacedValues& other)
    { return other.place == array.place && other.name == array.name; };
    _replaced.erase(std::remove_if(_replaced.begin(), _replaced.end(), isSame), _replaced.end());
    if (!values.empty())
    {
        _replaced.push_back({array.place, std::string(array.name), array.components * array.tuples, std::move(values)});
    }
}

} // namespace tsg::detail
