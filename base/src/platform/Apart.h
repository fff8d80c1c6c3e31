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

/// Runs work in a copy of this process and waits for it, so that a crash of it is only an answer; an exception that it
/// lets out counts as one. Whatever the work does in memory is lost. Of several threads only the calling one is in the
/// copy: work must not need the others, nor what they may hold.
///
/// The copy heeds no signals that ask for an end, and is killed when this process ends.
///
/// `meanwhile`, unless it is empty, is called several times a second until the copy has ended, and once after that.
/// What it throws ends the copy and passes through.
TAVO_EXPORT ApartResult runApart(const std::function<void()>& work, const std::function<void()>& meanwhile = {});

} // namespace OS
