#include "platform/Apart.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace OS
{

namespace
{

constexpr std::size_t MAX_WORDS = 4096;
constexpr int PATIENCE = 100; ///< milliseconds between two calls of what is to be done meanwhile

/// Never comes back: the copy must not flush or destroy what belongs to the original.
[[noreturn]] void workAndExit(const std::function<void()>& work, int output, pid_t original)
{
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != original)
    {
        _exit(EXIT_FAILURE); // it ended before that
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        (void)std::signal(signal, SIG_IGN); // the original decides
    }
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    try
    {
        work();
    }
    catch (...)
    {
        _exit(EXIT_FAILURE);
    }
    _exit(EXIT_SUCCESS);
}

/// A copy of this process at work, and the end of a pipe that it prints into. One that is still at work is ended.
class Copy
{
public:
    Copy(pid_t process, int input)
        : _process(process)
        , _input(input)
    {
    }

    ~Copy()
    {
        close(_input);
        if (_process > 0)
        {
            (void)kill(_process, SIGKILL); // at worst it has ended by itself
            (void)endedWell();
        }
    }

    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    /// Adds what it has printed since, after waiting for that a little. False if nothing more will come.
    bool read(std::string& words) const
    {
        pollfd printed{_input, POLLIN, 0};
        if (poll(&printed, 1, PATIENCE) <= 0)
        {
            return true; // nothing yet, or a signal
        }
        char buffer[1024];
        const ssize_t count = ::read(_input, buffer, sizeof buffer);
        if (count > 0)
        {
            words.append(buffer, words.size() < MAX_WORDS ? static_cast<std::size_t>(count) : 0);
        }
        return count > 0 || (count < 0 && errno == EINTR);
    }

    /// Waits for its end. True if it did not crash and was not ended.
    bool endedWell()
    {
        int status = 0;
        pid_t waited = -1;
        do
        {
            waited = waitpid(_process, &status, 0);
        } while (waited == -1 && errno == EINTR);
        _process = -1;
        return waited != -1 && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    }

private:
    pid_t _process;
    int _input;
};

} // namespace

long processNumber()
{
    return getpid();
}

ApartResult runApart(const std::function<void()>& work, const std::function<void()>& meanwhile)
{
    ApartResult res;
    int ends[2];
    if (pipe(ends) != 0)
    {
        return res;
    }
    const pid_t original = getpid();
    const pid_t process = fork();
    if (process == 0)
    {
        close(ends[0]);
        workAndExit(work, ends[1], original);
    }
    close(ends[1]);
    Copy copy(process, ends[0]);
    if (process < 0)
    {
        return res;
    }
    const std::function<void()> doMeanwhile = meanwhile ? meanwhile : [] {};
    while (copy.read(res.words))
    {
        doMeanwhile();
    }
    res.ended = copy.endedWell();
    doMeanwhile();
    return res;
}

} // namespace OS
