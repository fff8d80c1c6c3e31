#include "CommandTable.h"

#include "ComparedScenes.h"
#include "DiffPrinter.h"
#include "Difference.h"
#include "Interrupt.h"
#include "OutputFile.h"
#include "RecordAddress.h"
#include "RecordDifference.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct DiffOptions
{
    std::string first;
    std::string second;
    Tolerance tolerance;
    bool json = false;
    bool quiet = false;
};

/// The sides of a comparison.
struct Sides
{
    std::unique_ptr<ComparedScenes> first;
    std::unique_ptr<ComparedScenes> second;
    bool all = false; ///< whether all records are compared, and not one of each
    std::vector<RecordPair> pairs;
};

/// The one record that an address stands for where the other side is one record.
std::size_t onlyRecord(const RecordAddress& address, std::size_t count)
{
    if (!address.index && count != 1)
    {
        throw Failure(WrongUsage, shown(address.file), "which of its " + counted(count, "record") + "?",
                      "name it as FILE:INDEX; `tavosce ls` lists them");
    }
    return placeOf(address, count);
}

Sides openSides(const DiffOptions& options, Report& report)
{
    const RecordAddress first = parseAddress(options.first), second = parseAddress(options.second);
    Sides res;
    res.first = ComparedScenes::open(first.file, report);
    res.second = ComparedScenes::open(second.file, report);
    const std::size_t firstCount = res.first->count(), secondCount = res.second->count();
    res.all = !first.index && !second.index;
    if (!res.all)
    {
        res.pairs.push_back({onlyRecord(first, firstCount), onlyRecord(second, secondCount)});
        return res;
    }
    for (std::size_t i = 0; i < std::max(firstCount, secondCount); ++i)
    {
        res.pairs.push_back({i < firstCount ? std::make_optional(i) : std::nullopt,
                             i < secondCount ? std::make_optional(i) : std::nullopt});
    }
    return res;
}

/// Gets a record to compare. None if it is too damaged, which has been reported.
std::optional<ComparedRecord> recordOf(ComparedScenes& scenes, std::size_t index, Report& report)
{
    try
    {
        return scenes.record(index);
    }
    catch (const Failure& failure)
    {
        if (failure.code() != TooDamaged)
        {
            throw;
        }
        report.error(failure);
        return std::nullopt;
    }
}

/// Compares two records if both are there and whole; false if that could not be done in full.
bool comparePair(Sides& sides, const RecordPair& pair, RecordComparison& comparison, Differences& differences,
                 const RecordComparison::Progress& progress, Report& report)
{
    if (pair.isLonely())
    {
        return true;
    }
    auto left = recordOf(*sides.first, *pair.first, report);
    auto right = recordOf(*sides.second, *pair.second, report);
    return left && right && comparison.compare(*left, *right, differences, progress);
}

DiffTotals compareAll(const DiffOptions& options, Sides& sides, bool sameFile, DiffPrinter& printer, Report& report)
{
    DiffTotals res;
    RecordComparison comparison(options.tolerance, sameFile, report);
    for (std::size_t i = 0; i < sides.pairs.size() && !(options.quiet && res.differing > 0); ++i)
    {
        throwIfInterrupted();
        const RecordPair& pair = sides.pairs[i];
        const auto progress = [&](double done) {
            report.progress().show("Comparing", static_cast<double>(i) + done, static_cast<double>(sides.pairs.size()));
        };
        Differences differences([&](const Difference& difference) { printer.add(difference); }, options.quiet);
        printer.beginPair(pair);
        const bool complete = comparePair(sides, pair, comparison, differences, progress, report);
        printer.endPair(complete);
        res.differences += differences.count() + (pair.isLonely() ? 1 : 0);
        res.differing += differences.count() > 0 || pair.isLonely() ? 1 : 0;
    }
    report.progress().clear();
    return res;
}

void requireTolerance(double value, const char* option)
{
    if (!(value >= 0) || std::isinf(value))
    {
        throw Failure(WrongUsage, "", std::string(option) + " is a number from 0 up");
    }
}

void runDiff(const DiffOptions& options, Console& console)
{
    requireTolerance(options.tolerance.abs, "--abs");
    requireTolerance(options.tolerance.rel, "--rel");
    Sides sides = openSides(options, console.report);
    const bool sameFile = sides.first->isDatabase() && sides.second->isDatabase() &&
                          isSameFile(parseAddress(options.first).file, parseAddress(options.second).file);
    const DiffForm form = options.quiet ? DiffForm::Nothing : options.json ? DiffForm::Json : DiffForm::Text;
    DiffPrinter printer(form, sides.pairs.size() > 1, console.out);
    printer.beginAll(options.first, options.second);
    DiffTotals totals = compareAll(options, sides, sameFile, printer, console.report);
    sides.first->finish(sides.all, console.report);
    if (!sameFile)
    {
        sides.second->finish(sides.all, console.report);
    }
    totals.complete = console.report.exitCode() != TooDamaged;
    printer.endAll(totals, sides.pairs.size());
    if (totals.differing > 0)
    {
        console.report.raiseTo(Findings);
    }
}

} // namespace

Run declareDiff(CLI::App& app)
{
    const auto options = std::make_shared<DiffOptions>();
    const char* const sides =
        "Scene database or scene directory; one record of a database, counted from 0 or, negative, "
        "from the end";
    app.add_option("A[:REC]", options->first, sides)->required();
    app.add_option("B[:REC]", options->second, sides)->required();
    app.add_option("--abs", options->tolerance.abs, "Values count as equal up to this far apart")->type_name("X");
    app.add_option("--rel", options->tolerance.rel, "And up to this part of the larger one")->type_name("X");
    app.add_flag("--quiet", options->quiet, "Print no differences: stop at the first, the exit code tells");
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options](Console& console) { runDiff(*options, console); };
}

} // namespace tavosce
