#include "platform/Sweeper.h"

#include "platform/FileSystem.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace OS
{

namespace
{

void remove(const std::string& path)
{
    std::error_code ignored; // what cannot be removed stays behind; there is nobody to tell
    std::filesystem::remove_all(path, ignored);
}

/// Fails if the other end is closed.
void tell(int end) noexcept
{
    (void)send(end, "", 1, MSG_NOSIGNAL);
}

/// Waits for the other end. False if that is closed.
bool hears(int end)
{
    char byte = 0;
    ssize_t count = -1;
    do
    {
        count = recv(end, &byte, 1, 0);
    } while (count == -1 && errno == EINTR);
    return count == 1;
}

/// Never comes back. Signals for the original, and descriptors and locks that end with it, are none of the copy's.
[[noreturn]] void removeWhenTold(const std::string& path, int order)
{
    (void)setsid();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        (void)std::signal(signal, SIG_IGN);
    }
    const auto descriptor = static_cast<unsigned>(order);
    (void)close_range(descriptor + 1, UINT_MAX, 0);
    (void)(descriptor > 0 ? close_range(0, descriptor - 1, 0) : 0);
    tell(order); // from now on no signal to the original's group ends it
    (void)hears(order);
    remove(path);
    _exit(EXIT_SUCCESS);
}

} // namespace

Sweeper::Sweeper(std::wstring path)
    : _path(std::move(path))
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    {
        return;
    }
    _process = fork();
    if (_process == 0)
    {
        close(ends[0]);
        removeWhenTold(toNarrow(_path), ends[1]);
    }
    close(ends[1]);
    _order = ends[0];
    _isWatching = _process > 0 && hears(_order);
}

Sweeper::~Sweeper()
{
    sweep();
    remove(toNarrow(_path)); // in case that it has been killed
    if (_order != -1)
    {
        close(_order);
    }
}

void Sweeper::sweep() noexcept
{
    if (_process <= 0)
    {
        return;
    }
    tell(_order);
    int status = 0;
    while (waitpid(_process, &status, 0) == -1 && errno == EINTR)
    {
    }
    _process = -1;
}

} // namespace OS
