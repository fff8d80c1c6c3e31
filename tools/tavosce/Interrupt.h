#pragma once

#include <exception>

namespace tavosce
{

/// The user wants to stop: unwinds a verb, so that what it was building goes away.
class Interruption : public std::exception
{
public:
    const char* what() const noexcept override { return "interrupted"; }
};

/// Has the interrupt and termination signals remembered; a second one ends the process at once. That a file reaches the
/// size that the process may write is no reason to end it.
void watchSignals();

/// Remembers, or forgets, that the user wants to stop.
void setInterrupted(bool interrupted);

/// Throws Interruption if the user wants to stop. Called between pieces of work.
void throwIfInterrupted();

} // namespace tavosce
