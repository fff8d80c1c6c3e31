#pragma once

#include "scenegraph/io/SDB.h"
#include "support/Testing.h"

#include <optional>

namespace fuzz
{

/// What a walk over a file reports, one line each.
using WalkEvents = std::vector<std::string>;

/// What sdb::indexRecords reports.
WalkEvents indexedEvents(std::istream& in);

/// What the walk over a file reports that takes each step of the format literally and knows no precautions, except that
/// damage among the blocks of a record does not end it. None if it has not come to an end after as many tags as an
/// honest file of that size can have.
std::optional<WalkEvents> literalEvents(std::istream& in);

} // namespace fuzz
