#include "Suggestion.h"

#include "Text.h"

#include "platform/Platform.h"

#include <algorithm>
#include <list>
#include <utility>

namespace tavosce
{

namespace
{

constexpr std::size_t MOST_MEANT = 3;
constexpr std::size_t MOST_LISTED = 12;

char folded(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The last three rows of the table of distances between all beginnings of two texts.
class DistanceTable
{
public:
    DistanceTable(std::string_view left, std::string_view right, std::size_t bound)
        : _left(left)
        , _right(right)
        , _bound(bound)
        , _row(right.size() + 1)
        , _above(_row)
        , _twoAbove(_row)
    {
        for (std::size_t j = 0; j < _row.size(); ++j)
        {
            _row[j] = j;
        }
    }

    std::size_t run()
    {
        for (std::size_t i = 1; i <= _left.size(); ++i)
        {
            if (fillRow(i) > _bound)
            {
                return _bound + 1;
            }
        }
        return std::min(_row.back(), _bound + 1);
    }

private:
    /// Fills the cells that can be within the bound; the smallest of them.
    std::size_t fillRow(std::size_t i)
    {
        std::swap(_twoAbove, _above);
        std::swap(_above, _row);
        std::fill(_row.begin(), _row.end(), _bound + 1);
        const std::size_t first = i > _bound ? i - _bound : 0, last = std::min(_right.size(), i + _bound);
        std::size_t smallest = _bound + 1;
        for (std::size_t j = first; j <= last; ++j)
        {
            _row[j] = j == 0 ? i : cell(i, j);
            smallest = std::min(smallest, _row[j]);
        }
        return smallest;
    }

    std::size_t cell(std::size_t i, std::size_t j) const
    {
        const bool same = equal(i, j);
        std::size_t res = std::min({_above[j] + 1, _row[j - 1] + 1, _above[j - 1] + (same ? 0 : 1)});
        if (i > 1 && j > 1 && equal(i, j - 1) && equal(i - 1, j))
        {
            res = std::min(res, _twoAbove[j - 2] + 1);
        }
        return res;
    }

    bool equal(std::size_t i, std::size_t j) const { return folded(_left[i - 1]) == folded(_right[j - 1]); }

    std::string_view _left, _right;
    std::size_t _bound;
    std::vector<std::size_t> _row, _above, _twoAbove;
};

/// A name in quotes, shortened: files make names as long as they like.
std::string quotedStart(const std::string& name)
{
    constexpr std::size_t MOST_BYTES = 100;
    const std::size_t end = beginningOf(name, MOST_BYTES);
    return inQuotes(name.substr(0, end)) + (end < name.size() ? "..." : "");
}

std::string quotedList(const std::vector<std::string>& names, std::size_t most, const char* lastSeparator)
{
    std::string res;
    const std::size_t shownNames = std::min(names.size(), most);
    for (std::size_t i = 0; i < shownNames; ++i)
    {
        res += i == 0 ? "" : i + 1 < names.size() ? ", " : lastSeparator;
        res += quotedStart(names[i]);
    }
    return names.size() > most ? res + lastSeparator + std::to_string(names.size() - most) + " more" : res;
}

/// What nobody means: hidden files, and those that are being written.
bool isPassedOver(const std::string& name)
{
    return name.front() == '.' || extensionOf(name) == ".tmp";
}

/// Files and folders. Empty if there is no such folder.
std::vector<std::string> namesIn(const std::string& folder)
{
    std::list<std::wstring> folders, files;
    std::vector<std::string> res;
    if (Platform::filesystem().listDirectory(folders, files, OS::toWide(folder)))
    {
        files.splice(files.end(), folders);
        for (const std::wstring& wide : files)
        {
            const std::string name = OS::toNarrow(wide);
            if (!isPassedOver(name))
            {
                res.push_back(name);
            }
        }
    }
    return res;
}

} // namespace

std::size_t editDistance(std::string_view left, std::string_view right, std::size_t bound)
{
    const std::size_t apart = left.size() > right.size() ? left.size() - right.size() : right.size() - left.size();
    return apart > bound ? bound + 1 : DistanceTable(left, right, bound).run();
}

std::vector<std::string> closest(const std::string& name, const std::vector<std::string>& known)
{
    const std::size_t bound = (name.size() + 2) / 3;
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : known)
    {
        const std::size_t distance = editDistance(name, candidate, bound);
        if (distance <= bound && distance < std::max(name.size(), candidate.size()))
        {
            near.emplace_back(distance, candidate);
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> res;
    for (std::size_t i = 0; i < std::min(near.size(), MOST_MEANT); ++i)
    {
        res.push_back(std::move(near[i].second));
    }
    return res;
}

std::string suggestion(const std::string& name, const std::vector<std::string>& known, const std::string& intro)
{
    if (known.empty())
    {
        return {};
    }
    const std::vector<std::string> meant = closest(name, known);
    return (meant.empty() ? "" : "did you mean " + quotedList(meant, MOST_MEANT, " or ") + "? ") + intro + ' ' +
           quotedList(known, MOST_LISTED, " and ");
}

std::string fileSuggestion(const std::string& path)
{
    const std::string file = path.substr(0, path.find_last_of(':'));
    if (file != path && Platform::filesystem().fileExists(OS::toWide(file)))
    {
        const std::string record = path.substr(file.size() + 1);
        const bool isNumber =
            !record.empty() && record.find_first_not_of("0123456789", record[0] == '-') == std::string::npos;
        return isNumber ? "the file is " + shown(file) + "; `tavosce ls` lists its records"
                        : "a record is a number: " + shown(file) + ":0 is the first, " + shown(file) + ":-1 the newest";
    }
    std::string name = nameOf(path), folder = folderOf(path);
    bool climbed = false;
    while (!Platform::filesystem().directoryExists(OS::toWide(folder)) && folder.size() > 1)
    {
        folder.pop_back(); // the slash
        name = nameOf(folder);
        folder = folderOf(folder);
        climbed = true;
    }
    return suggestion(name, namesIn(folder), climbed ? shown(folder) + " holds" : "the folder holds");
}

} // namespace tavosce
