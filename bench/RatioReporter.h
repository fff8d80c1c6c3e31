#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench
{

/// What a pair of benchmarks has to show: "NAME/ours" takes at most `limit` times as long as "NAME/reference", or its
/// counter is at most that many times as large.
struct Ratio
{
    std::string name;
    double limit;
    std::string counter = {}; ///< time if empty
};

/// Prints the usual table, then the ratios of the medians of each pair.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    explicit RatioReporter(std::vector<Ratio> ratios);

    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// True if every pair that was run kept its limit.
    bool withinLimits() const { return _withinLimits; }

private:
    std::vector<Ratio> _ratios;
    /// By benchmark name and counter; without a counter seconds of real time.
    std::map<std::pair<std::string, std::string>, double> _medians;
    bool _withinLimits = true;
};

} // namespace bench
