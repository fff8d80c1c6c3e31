#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench
{

/// What a pair of benchmarks has to show: "NAME/ours" takes at most `limit` times as long as "NAME/reference".
struct Ratio
{
    std::string name;
    double limit;
};

/// Prints the usual table, then the ratios of the medians of each pair.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    explicit RatioReporter(std::vector<Ratio> ratios);

    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// Whether every pair that was run kept its limit.
    bool withinLimits() const { return _withinLimits; }

private:
    std::vector<Ratio> _ratios;
    std::map<std::string, double> _medians; ///< seconds of real time by benchmark name
    bool _withinLimits = true;
};

} // namespace bench
