#pragma once

#include "Workloads.h"
#include "WriteLog.h"

#include <cstddef>
#include <vector>

namespace reliability
{

/// An undisturbed run of a workload with the log of its calls.
struct LoggedRun
{
    /// Throws std::runtime_error if the log does not lead from what was there before to what is there then: a call has
    /// escaped the shim.
    explicit LoggedRun(Prepared& prepared);

    /// How many calls the shim has counted.
    std::size_t countedCalls() const;

    FolderState before;
    std::vector<LoggedCall> calls;
};

} // namespace reliability
