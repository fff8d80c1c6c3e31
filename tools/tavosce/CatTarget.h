#pragma once

#include "RecordWalk.h"

#include "core/Properties.h"

#include <string>

namespace tavosce
{

/// What NODE, NODE.PROP or NODE/ARRAY means in a record.
struct CatTarget
{
    enum What
    {
        Node,
        Property,
        Array
    };

    What what;
    std::string objectKey;
    std::string name; ///< of the property or the array
};

/// Takes a target apart. Keys may hold dots and slashes: the longest key that the text begins with is meant. Throws
/// Failure WrongUsage, with `place`, if no node and no data of the record has such a key.
CatTarget parseTarget(const std::string& text, const RecordContents& contents, const std::string& place);

/// A property: where it stands, and its name there.
struct FoundProperty
{
    const Properties* record;
    std::string name;
};

/// Finds a property of a node, with dots between the names of nested ones; again the longest names are meant. Throws
/// Failure WrongUsage if there is none.
FoundProperty findProperty(const StoredNode& node, const std::string& path, const std::string& place);

} // namespace tavosce
