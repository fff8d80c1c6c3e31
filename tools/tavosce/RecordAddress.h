#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace tavosce
{

/// A file, or one record of it.
struct RecordAddress
{
    std::string file;
    std::optional<std::int64_t> index; ///< as it was given: negative numbers count from the end
};

/// Takes FILE:INDEX apart. A file that has the whole text for its name wins.
RecordAddress parseAddress(const std::string& text);

/// The place in a list of `count` records that an address with an index denotes. Throws Failure WrongUsage if there is
/// no such record.
std::size_t placeOf(const RecordAddress& address, std::size_t count);

/// The same; without an index that of the newest record.
std::size_t placeOrNewest(const RecordAddress& address, std::size_t count);

/// What the help says of an address without which the newest record is meant.
constexpr const char* RECORD_OR_NEWEST =
    "Scene database; a record of it, counted from 0 or, negative, from the end (without one the last)";

/// The folder that holds what an export makes of a record: "record-0007".
std::string recordFolder(std::size_t record);

} // namespace tavosce
