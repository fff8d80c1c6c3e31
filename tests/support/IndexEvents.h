#pragma once

#include "core/Error.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/Index.h"
#include "support/Testing.h"

#include <istream>

namespace test
{

/// What an index run reports, one line each: "block NAME", "record TITLE", "thumbnail INDEX", and "InternalError".
using IndexEvents = std::vector<std::string>;

inline IndexEvents indexEvents(std::istream& in)
{
    IndexEvents events;
    try
    {
        sdb::indexRecords(
            in, [&](const Properties& tag) { events.push_back("record " + tag.getString("Title")); },
            [&](unsigned, const Properties& tag) { events.push_back("block " + tag.getString("Name")); },
            [&](const Properties& tag) { events.push_back("thumbnail " + std::to_string(tag.getInt("RecordIndex"))); });
    }
    catch (const InternalError&)
    {
        events.push_back("InternalError");
    }
    return events;
}

inline IndexEvents indexEvents(const std::string& bytes)
{
    std::istringstream in(bytes);
    return indexEvents(in);
}

/// How the walk over a file ends.
inline sdb::detail::WalkResult walk(const std::string& bytes)
{
    std::istringstream in(bytes);
    return sdb::detail::walkFile(
        in, [](const Properties&) {}, [](const Properties&) {});
}

} // namespace test
