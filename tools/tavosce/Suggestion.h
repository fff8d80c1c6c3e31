#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavosce
{

/// How many characters have to be added, left out, replaced, or exchanged with their neighbour to turn one text into
/// the other; ASCII letters count as equal in either case. `bound` + 1 for anything above the bound, which is found
/// out in time proportional to bound and length.
std::size_t editDistance(std::string_view left, std::string_view right, std::size_t bound);

/// The names that a mistyped one may stand for, nearest first; at most three, none if nothing is near.
std::vector<std::string> closest(const std::string& name, const std::vector<std::string>& known);

/// A hint for somebody who mistyped a name: what may have been meant, and what exists, the first few of many. `intro`
/// leads to the latter: "the verbs are". Empty if nothing exists.
std::string suggestion(const std::string& name, const std::vector<std::string>& known, const std::string& intro);

/// A hint for a path at which there is no file: how to name a record if it is that of one with something behind a
/// colon, else what its folder holds, or the last folder on the way that exists. Empty if that cannot be read or is
/// empty.
std::string fileSuggestion(const std::string& path);

} // namespace tavosce
