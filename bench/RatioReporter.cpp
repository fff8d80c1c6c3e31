#include "RatioReporter.h"

#include <iomanip>
#include <utility>

namespace bench
{

RatioReporter::RatioReporter(std::vector<Ratio> ratios)
    : _ratios(std::move(ratios))
{
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
    {
        if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
        {
            const std::string& name = run.run_name.function_name;
            _medians[{name, ""}] = run.real_accumulated_time;
            for (const auto& [counter, value] : run.counters)
            {
                _medians[{name, counter}] = value;
            }
        }
    }
}

void RatioReporter::Finalize()
{
    std::ostream& out = GetOutputStream();
    out << "\nratio of medians           measured   at most\n" << std::fixed << std::setprecision(3);
    for (const auto& [name, limit, counter] : _ratios)
    {
        const auto ours = _medians.find({name + "/ours", counter});
        const auto reference = _medians.find({name + "/reference", counter});
        if (ours == _medians.end() || reference == _medians.end())
        {
            continue;
        }
        const double ratio = ours->second / reference->second;
        const bool within = ratio <= limit;
        _withinLimits = _withinLimits && within;
        std::string label = name;
        label += counter.empty() ? "" : ", ";
        label += counter;
        out << std::left << std::setw(26) << label << std::right << std::setw(9) << ratio << std::setw(10) << limit
            << (within ? "" : "   above the limit") << '\n';
    }
}

} // namespace bench
