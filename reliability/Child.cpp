#include "Child.h"

#include "Programs.h"

#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace reliability
{

namespace
{

void limitSize(long long bytes)
{
    if (bytes >= 0)
    {
        const rlimit limit{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
}

[[noreturn]] void become(const std::vector<std::string>& command, const ChildOptions& options, int output)
{
    dup2(output, STDOUT_FILENO);
    dup2(options.withErrors ? output : ::open("/dev/null", O_WRONLY), STDERR_FILENO);
    if (!options.folder.empty())
    {
        setenv("LD_PRELOAD", SHIM, 1);
        setenv("TAVO_SHIM_FOLDER", options.folder.c_str(), 1);
        setenv("TAVO_SHIM_LOG", options.log.c_str(), 1);
        setenv("TAVO_SHIM_FAULT", options.fault.c_str(), 1);
    }
    limitSize(options.sizeLimit);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command)
    {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
}

} // namespace

Child::Child(const std::vector<std::string>& command, const ChildOptions& options)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0 || (_process = fork()) < 0)
    {
        throw std::runtime_error("cannot start a process");
    }
    if (_process == 0)
    {
        become(command, options, ends[1]);
    }
    close(ends[1]);
    _output = ends[0];
}

Child::~Child()
{
    kill();
    status();
    close(_output);
}

void Child::kill(int signal) const
{
    if (!_waited)
    {
        ::kill(_process, signal);
    }
}

bool Child::heeds(int signal) const
{
    std::ifstream status("/proc/" + std::to_string(_process) + "/status");
    std::string word;
    while (status >> word && word != "SigCgt:")
    {
    }
    unsigned long long caught = 0;
    return status >> std::hex >> caught && (caught >> (signal - 1) & 1U) != 0;
}

bool Child::isRunning()
{
    if (!_waited && waitpid(_process, &_status, WNOHANG) == _process)
    {
        _waited = true;
    }
    return !_waited;
}

int Child::wait(std::string& output)
{
    char bytes[4096];
    for (ssize_t got = 0; (got = read(_output, bytes, sizeof bytes)) > 0;)
    {
        output.append(bytes, static_cast<std::size_t>(got));
    }
    const int res = status();
    return WIFSIGNALED(res) ? -WTERMSIG(res) : WEXITSTATUS(res);
}

int Child::status()
{
    if (!_waited)
    {
        waitpid(_process, &_status, 0);
        _waited = true;
    }
    return _status;
}

int run(const std::vector<std::string>& command, const ChildOptions& options)
{
    std::string output;
    return Child(command, options).wait(output);
}

} // namespace reliability
