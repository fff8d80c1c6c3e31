#include "core/TavoVersion.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace
{

/// The numbers of a dotted release as digit strings without leading zeros, so that no number is too long.
std::optional<std::vector<std::string>> releaseParts(const std::string& release)
{
    std::vector<std::string> parts(1);
    bool digitsBefore = false;
    for (const char c : release)
    {
        if (c == '.' && digitsBefore)
        {
            parts.emplace_back();
            digitsBefore = false;
        }
        else if (c >= '0' && c <= '9')
        {
            if (parts.back() == "0")
            {
                parts.back().clear();
            }
            parts.back() += c;
            digitsBefore = true;
        }
        else
        {
            return std::nullopt;
        }
    }
    return digitsBefore ? std::optional(std::move(parts)) : std::nullopt;
}

bool isSmaller(const std::string& left, const std::string& right)
{
    return left.size() != right.size() ? left.size() < right.size() : left < right;
}

} // namespace

const std::string TavoVersion::_releaseNumber = "1.0.0";

const TavoVersion& TavoVersion::getSingleton()
{
    static const TavoVersion version;
    return version;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): asked of the singleton
bool TavoVersion::compatibleVersion(const std::string& releaseNumber) const
{
    if (releaseNumber.empty())
    {
        return true;
    }
    auto theirs = releaseParts(releaseNumber);
    auto ours = releaseParts(_releaseNumber);
    if (!theirs || !ours)
    {
        return false;
    }
    const std::size_t count = std::max(theirs->size(), ours->size());
    theirs->resize(count, "0");
    ours->resize(count, "0");
    return !std::lexicographical_compare(ours->begin(), ours->end(), theirs->begin(), theirs->end(), isSmaller);
}
