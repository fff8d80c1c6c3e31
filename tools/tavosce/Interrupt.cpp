#include "Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace tavosce
{

namespace
{

volatile std::sig_atomic_t stopRequested = 0;

} // namespace

extern "C"
{
    static void rememberSignal(int signal)
    {
        stopRequested = 1;
        (void)std::signal(signal, SIG_DFL); // there is nothing to do about a refusal in a handler
    }
}

void watchSignals()
{
    (void)std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is a failed write like any other
    for (const int signal : {SIGINT, SIGTERM})
    {
        (void)std::signal(signal, &rememberSignal); // without it the default action ends the process, as before
    }
}

void setInterrupted(bool interrupted)
{
    stopRequested = interrupted ? 1 : 0;
}

void throwIfInterrupted()
{
    if (stopRequested != 0)
    {
        throw Interruption();
    }
}

} // namespace tavosce
