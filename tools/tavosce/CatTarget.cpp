#include "CatTarget.h"

#include "Failure.h"
#include "Suggestion.h"
#include "Text.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tavosce
{

namespace
{

/// The length of the longest name that the text is, or begins with in front of one of the separators; npos if none.
std::size_t longestName(const std::string& text, const std::vector<std::string>& names, const char* separators)
{
    std::size_t res = std::string::npos;
    for (const std::string& name : names)
    {
        const bool begins = text.compare(0, name.size(), name) == 0;
        const bool ends = text.size() == name.size() ||
                          (begins && std::string(separators).find(text[name.size()]) != std::string::npos);
        if (begins && ends && (res == std::string::npos || name.size() > res))
        {
            res = name.size();
        }
    }
    return res;
}

/// The keys of the nodes and of data without one, each once.
std::vector<std::string> keysOf(const RecordContents& contents)
{
    std::vector<std::string> res;
    for (const StoredNode& node : contents.nodes)
    {
        res.push_back(node.objectKey);
    }
    for (const StoredBlock& block : contents.blocks)
    {
        res.push_back(block.objectKey());
    }
    std::sort(res.begin(), res.end());
    res.erase(std::unique(res.begin(), res.end()), res.end());
    return res;
}

} // namespace

CatTarget parseTarget(const std::string& text, const RecordContents& contents, const std::string& place)
{
    const std::vector<std::string> keys = keysOf(contents);
    const std::size_t length = longestName(text, keys, "./");
    if (length == std::string::npos)
    {
        const std::string meant = text.substr(0, text.find_first_of("./"));
        throw Failure(WrongUsage, place, "no node " + inQuotes(meant), suggestion(meant, keys, "the record has"));
    }
    if (length == text.size())
    {
        return {CatTarget::Node, text, {}};
    }
    return {text[length] == '.' ? CatTarget::Property : CatTarget::Array, text.substr(0, length),
            text.substr(length + 1)};
}

FoundProperty findProperty(const StoredNode& node, const std::string& path, const std::string& place)
{
    const Properties* record = &node.properties;
    std::string owner = node.objectKey, rest = path;
    while (true)
    {
        const std::vector<std::string> names = record->names();
        const std::size_t length = longestName(rest, names, ".");
        if (length == rest.size())
        {
            return {record, rest};
        }
        if (length == std::string::npos)
        {
            const std::string meant = rest.substr(0, rest.find('.'));
            throw Failure(WrongUsage, place, shown(owner) + " has no property " + inQuotes(meant),
                          suggestion(meant, names, "it has"));
        }
        const std::string name = rest.substr(0, length);
        owner += '.' + name;
        rest.erase(0, length + 1);
        record = &record->getProperties(name); // empty if it is no record: the next name is not found
    }
}

} // namespace tavosce
