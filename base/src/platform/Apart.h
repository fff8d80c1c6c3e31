#pragma once

#include "core/Export.h"

#include <functional>
#include <string>

namespace OS
{

/// The number of this process; a copy of it has another one.
TAVO_EXPORT long processNumber();

/// How work in a process of its own came out.
struct ApartResult
{
    bool ended = false; ///< false if the process crashed, was ended, or could not be started
    std::string words;  ///< the first of what it printed on standard output and standard error
};

/// Runs work in a copy of this process and waits for it, so that a crash of it is only an answer. Whatever the work
/// does in memory is lost. For work that throws nothing, in processes with one thread.
TAVO_EXPORT ApartResult runApart(const std::function<void()>& work);

} // namespace OS
