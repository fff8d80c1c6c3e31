#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tavosce
{

/// Pairs the things of two lists that have the same key, the first with the first and so on if there are several. What
/// has no partner stands alone, with null for the other. In the order of the left list; what is only right follows. The
/// lists have to outlive the result.
template <class T, class KeyOf>
std::vector<std::pair<T*, T*>> matched(std::vector<T>& left, std::vector<T>& right, KeyOf keyOf)
{
    std::vector<std::pair<T*, T*>> res;
    std::map<std::pair<std::string, std::size_t>, std::size_t> places; // by key and how many of that key came before
    std::map<std::string, std::size_t> counts;
    for (T& item : left)
    {
        const std::string key = keyOf(item);
        places.emplace(std::make_pair(key, counts[key]++), res.size());
        res.emplace_back(&item, nullptr);
    }
    counts.clear();
    for (T& item : right)
    {
        const std::string key = keyOf(item);
        const auto place = places.find({key, counts[key]++});
        if (place != places.end())
        {
            res[place->second].second = &item;
        }
        else
        {
            res.emplace_back(nullptr, &item);
        }
    }
    return res;
}

} // namespace tavosce
