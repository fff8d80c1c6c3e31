#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tavosce
{

/// What the process answers; with several findings the highest.
enum ExitCode
{
    Fine = 0,
    Findings = 1,    ///< done, but there were warnings or errors
    WrongUsage = 2,  ///< the arguments make no sense
    CannotOpen = 3,  ///< an input cannot be opened
    WrongFormat = 4, ///< an input is no scene database, or too new
    TooDamaged = 5,  ///< an input is too damaged for the verb
    CannotWrite = 6, ///< the output cannot be written
    NotStorable = 7, ///< an input holds what the format cannot store
    Interrupted = 130
};

/// Ends a verb: what went wrong where, and what helps. Caught where the verb was started.
class Failure : public std::runtime_error
{
public:
    /// `place` is the file, and what in it; empty for a failure that has no place. `hint` is empty when there is no
    /// remedy.
    Failure(ExitCode code, std::string place, const std::string& reason, std::string hint = {})
        : std::runtime_error(reason)
        , _code(code)
        , _place(std::move(place))
        , _hint(std::move(hint))
    {
    }

    ExitCode code() const { return _code; }

    const std::string& place() const { return _place; }

    const std::string& hint() const { return _hint; }

private:
    ExitCode _code;
    std::string _place;
    std::string _hint;
};

/// An output that cannot be written, and why.
inline Failure cannotWrite(std::string place, const std::string& reason)
{
    return {CannotWrite, std::move(place), "cannot write: " + reason};
}

/// An output that another process has locked.
inline Failure beingWritten(std::string place)
{
    return cannotWrite(std::move(place), "another process is writing to it");
}

} // namespace tavosce
