#pragma once

#include "Failure.h"
#include "ProgressBar.h"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace tavosce
{

/// The messages of one run on standard error, and what they make of the exit code. Places and texts are shown as they
/// are: callers escape what comes from files.
class Report
{
public:
    /// The stream stays with the caller. The progress bar is drawn on it if `terminal` says that somebody watches.
    Report(std::ostream& err, bool terminal);

    void error(const Failure& failure);
    void error(const std::string& place, const std::string& text, ExitCode code);
    /// Something the user has to know; the exit code becomes Findings at least.
    void warning(const std::string& place, const std::string& text);
    /// Something the user may want to know; the exit code stays.
    void note(const std::string& place, const std::string& text);

    /// Raises the exit code.
    void raiseTo(ExitCode code);

    ExitCode exitCode() const { return _exitCode; }

    /// How many warnings there were.
    std::size_t warnings() const { return _warnings; }

    ProgressBar& progress() { return _progress; }

private:
    void print(const std::string& place, const char* kind, const std::string& text);

    std::ostream& _err;
    ProgressBar _progress;
    ExitCode _exitCode = Fine;
    std::size_t _warnings = 0;
};

/// The streams of one run.
struct Console
{
    std::ostream& out; ///< results
    Report& report;    ///< everything else
};

} // namespace tavosce
