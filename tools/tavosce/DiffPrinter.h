#pragma once

#include "Difference.h"
#include "Json.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

namespace tavosce
{

/// Which record is compared with which; none for one that has no partner.
struct RecordPair
{
    std::optional<std::size_t> first;
    std::optional<std::size_t> second;

    bool isLonely() const { return !first || !second; }
};

struct DiffTotals
{
    std::uint64_t differences = 0;
    std::uint64_t differing = 0; ///< pairs of records
    bool complete = true;        ///< false if damage kept anything from being compared
};

enum class DiffForm
{
    Text,
    Json,
    Nothing
};

/// Prints what a comparison finds, as it is found.
class DiffPrinter
{
public:
    /// The stream stays with the caller. `several`: lines say which record they are about.
    DiffPrinter(DiffForm form, bool several, std::ostream& out);

    /// `first` and `second` are the sides as the user named them.
    void beginAll(const std::string& first, const std::string& second);
    void beginPair(const RecordPair& pair);
    void add(const Difference& difference);
    /// `complete`: both records have been compared in full.
    void endPair(bool complete);
    void endAll(const DiffTotals& totals, std::size_t pairs);

private:
    void printPrefix();
    void writeIndex(const char* key, const std::optional<std::size_t>& index);

    DiffForm _form;
    bool _several;
    std::ostream& _out;
    std::unique_ptr<Json> _json; ///< null while no document is open
    RecordPair _pair;
};

} // namespace tavosce
