#include "platform/Apart.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace OS
{

namespace
{

constexpr std::size_t MAX_WORDS = 4096;

/// Never comes back: the copy must not flush or destroy what belongs to the original.
[[noreturn]] void workAndExit(const std::function<void()>& work, int output)
{
    (void)std::signal(SIGINT, SIG_DFL); // a refusal leaves the handler of the original, which does no harm
    (void)std::signal(SIGTERM, SIG_DFL);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    work();
    _exit(EXIT_SUCCESS);
}

std::string readWords(int input)
{
    std::string res;
    char buffer[1024];
    for (;;)
    {
        const ssize_t count = read(input, buffer, sizeof buffer);
        if (count > 0)
        {
            res.append(buffer, res.size() < MAX_WORDS ? static_cast<std::size_t>(count) : 0);
        }
        else if (count == 0 || errno != EINTR)
        {
            return res;
        }
    }
}

bool endedWell(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) == -1)
    {
        if (errno != EINTR)
        {
            return false;
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

} // namespace

long processNumber()
{
    return getpid();
}

ApartResult runApart(const std::function<void()>& work)
{
    ApartResult res;
    int ends[2];
    if (pipe(ends) != 0)
    {
        return res;
    }
    const pid_t process = fork();
    if (process == 0)
    {
        close(ends[0]);
        workAndExit(work, ends[1]);
    }
    close(ends[1]);
    if (process > 0)
    {
        res.words = readWords(ends[0]);
        res.ended = endedWell(process);
    }
    close(ends[0]);
    return res;
}

} // namespace OS
