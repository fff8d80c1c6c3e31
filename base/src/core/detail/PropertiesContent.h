#pragma once

#include "core/Properties.h"

#include <variant>

/// What a record holds, for the sources that implement it.
struct Properties::Content
{
    /// In the order of Kind, without None.
    using Value = std::variant<std::string, std::int64_t, Properties>;
    /// Ordered rather than hashed: no choice of keys in a file makes a look-up slow.
    using Values = std::map<std::string, Value>;

    Values values;
    std::vector<Values::value_type*> order; ///< the elements of `values` in the order in which they were first set

    Content() = default;
    Content(const Content& other);
    Content& operator=(const Content&) = delete;
    ~Content() = default;

    void set(std::string key, Value value, bool overwrite);

    /// The value of a key, or null.
    static const Value* find(const Properties& record, const std::string& key);
    /// The nesting of a record, itself included.
    static int depth(const Properties& record);
};
