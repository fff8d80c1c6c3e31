// Runs the benchmarks as medians of 15 interleaved runs and prints what the pairs have to show.

#include "RatioReporter.h"

#include <limits>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>

namespace
{

constexpr int LARGEST_HEAP_BLOCK = 32 << 20; ///< the most that the C library takes
constexpr int KEPT_MEMORY = 1 << 30;

/// Most that a figure per record may differ where it must not grow; the rest is noise.
constexpr double FLAT = 1.25;

/// What the device decides.
constexpr double DEVICE = std::numeric_limits<double>::infinity();

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv, argv + argc);
    // In front of the caller's own, which win.
    arguments.insert(arguments.begin() + 1,
                     {"--benchmark_repetitions=15", "--benchmark_enable_random_interleaving=true",
                      "--benchmark_report_aggregates_only=true"});
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
    {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
    {
        return 2;
    }
    bench::RatioReporter reporter({
        {"write_polydata", 1.10},
        {"read_polydata", 1.35},
        {"write_arrays", 1.15},
        {"read_arrays", 1.20},
        {"write_uncompressed", 2.00},
        {"read_uncompressed", 3.50},
        {"write_uncompressed_mesh", 2.00},
        {"read_uncompressed_mesh", 6.00}, // its cells double in size on the way in
        {"write_series", 0.06},
        {"write_series", 0.15, "bytes"},
        {"read_series", 1.05},
        {"open_many_records", FLAT},
        {"open_many_blocks", FLAT},
        {"add_late_record", FLAT},
        {"write_text", 2.00},
        {"read_text", 2.00},
        {"diff", 1.25},
        {"ls", 2.00},
        {"synchronise_small", DEVICE},
        {"synchronise_polydata", DEVICE},
    });
    // Large buffers that are freed go back to the system, and getting them again costs a page fault for each page,
    // which would charge whoever holds more of them at once. Keeping memory makes both sides work in pages they already
    // have.
    mallopt(M_MMAP_THRESHOLD, LARGEST_HEAP_BLOCK);
    mallopt(M_TRIM_THRESHOLD, KEPT_MEMORY);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.withinLimits() ? 0 : 1;
}
