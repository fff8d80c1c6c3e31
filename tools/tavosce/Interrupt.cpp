#include "Interrupt.h"

#include "Failure.h"

#include "platform/FileStreams.h"
#include "platform/FileSystem.h"
#include "platform/Terminal.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <optional>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace tavosce
{

namespace
{

using Flag = volatile std::sig_atomic_t;

constexpr int STOP_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};
constexpr std::int64_t PATIENCE = 500'000'000; ///< nanoseconds in which somebody has to have looked
constexpr std::int64_t AGAIN = 50'000'000;     ///< the same from one attempt to end the process to the next

// All of this belongs to the main thread; handlers run on it too.
Flag stopRequested = 0;
Flag isStopping = 0;     ///< unwinding has begun
Flag isCommitted = 0;    ///< see stopOrCommit
Flag unwindOnly = 0;     ///< of how much only unwinding leaves nothing behind
Flag cutDescriptor = -1; ///< of CutBack
volatile off_t cutSize = 0;
HalfMade* volatile lastHalfMade = nullptr;

bool hasTerminal = false;
std::optional<timer_t> deadline; ///< none if the system has no timer left
pthread_t mainThread;

/// Signals go to any thread that takes them.
bool isOnMainThread(int signal)
{
    if (pthread_equal(pthread_self(), mainThread) != 0)
    {
        return true;
    }
    pthread_kill(mainThread, signal);
    return false;
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    (void)sigaction(signal, &action, nullptr); // at worst a signal does what it does by default
}

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

extern "C"
{
    static void requestStop(int signal)
    {
        const int reason = errno;
        if (isOnMainThread(signal) && isCommitted == 0 && stopRequested == 0)
        {
            stopRequested = 1;
            constexpr char WORDS[] = "\nstopping\n";
            if (hasTerminal)
            {
                (void)!write(STDERR_FILENO, WORDS, sizeof WORDS - 1);
            }
            if (deadline)
            {
                const itimerspec when = {{0, AGAIN}, {0, PATIENCE}};
                (void)timer_settime(*deadline, 0, &when, nullptr);
            }
        }
        errno = reason;
    }

    static void endProcess(int signal)
    {
        const int reason = errno;
        if (isOnMainThread(signal) && isStopping == 0 && isCommitted == 0 && unwindOnly == 0)
        {
            if (cutDescriptor != -1)
            {
                (void)!ftruncate(cutDescriptor, cutSize);
            }
            tavosce::HalfMade::sweepAll();
            constexpr char WORDS[] = "tavosce: interrupted\n"; // those of an Interruption
            (void)!write(STDERR_FILENO, WORDS, sizeof WORDS - 1);
            _exit(Interrupted);
        }
        errno = reason;
    }
}

void watchSignals()
{
    mainThread = pthread_self();
    hasTerminal = OS::isErrorTerminal();
    handle(SIGXFSZ, SIG_IGN); // a file that may not grow is a failed write like any other
    handle(SIGALRM, &endProcess);
    timer_t timer = {};
    if (timer_create(CLOCK_MONOTONIC, nullptr, &timer) == 0) // sends SIGALRM
    {
        deadline = timer;
    }
    for (const int signal : STOP_SIGNALS)
    {
        if (!isIgnored(signal))
        {
            handle(signal, &requestStop);
        }
    }
}

void setInterrupted(bool interrupted)
{
    stopRequested = interrupted ? 1 : 0;
    isStopping = 0;
    isCommitted = 0;
}

bool isInterrupted()
{
    return stopRequested != 0 && isCommitted == 0;
}

void throwIfInterrupted()
{
    if (isInterrupted())
    {
        isStopping = 1;
        throw Interruption();
    }
}

void stopOrCommit()
{
    sigset_t signals, before;
    sigemptyset(&signals);
    for (const int signal : STOP_SIGNALS)
    {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, &before);
    isCommitted = stopRequested == 0 ? 1 : 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throwIfInterrupted();
}

HalfMade::HalfMade(const std::wstring& path)
    : _sweeper(path)
    , _before(lastHalfMade)
{
    unwindOnly = unwindOnly + (_sweeper.isWatching() ? 0 : 1);
    lastHalfMade = this;
}

HalfMade::~HalfMade()
{
    lastHalfMade = _before;
    unwindOnly = unwindOnly - (_sweeper.isWatching() ? 0 : 1);
}

void HalfMade::sweepAll() noexcept
{
    for (HalfMade* each = lastHalfMade; each != nullptr; each = each->_before)
    {
        each->_sweeper.sweep();
    }
}

CutBack::CutBack(const std::wstring& path, std::uint64_t size)
    : _descriptor(open(OS::toNarrow(path).c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
{
    // By another path, so that it is this very file whose lock is looked at.
    if (_descriptor != -1 && OS::isLocked(L"/proc/self/fd/" + std::to_wstring(_descriptor)))
    {
        cutSize = static_cast<off_t>(size);
        cutDescriptor = _descriptor;
    }
    else
    {
        unwindOnly = unwindOnly + 1;
    }
}

CutBack::~CutBack()
{
    unwindOnly = unwindOnly - (cutDescriptor == -1 ? 1 : 0);
    cutDescriptor = -1;
    if (_descriptor != -1)
    {
        close(_descriptor);
    }
}

} // namespace tavosce
