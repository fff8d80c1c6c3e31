#pragma once

#include <csignal>
#include <string>
#include <vector>

#include <sys/types.h>

namespace reliability
{

/// What a child process is to be run with.
struct ChildOptions
{
    std::string folder;       ///< watched by the shim; empty for no shim
    std::string log;          ///< of the shim; may be empty
    std::string fault;        ///< of the shim; may be empty
    long long sizeLimit = -1; ///< most bytes of a file; -1 for no limit
    bool withErrors = false;  ///< whether its standard error belongs to its output
};

/// A running process whose standard output can be read.
class Child
{
public:
    Child(const std::vector<std::string>& command, const ChildOptions& options);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void kill(int signal = SIGKILL) const;

    /// True if it handles a signal by now.
    bool heeds(int signal) const;

    /// True if it is still running.
    bool isRunning();

    /// Reads its output up to the end and waits for it. The exit code, or minus the signal that ended it.
    int wait(std::string& output);

private:
    int status();

    pid_t _process;
    int _output;
    bool _waited = false;
    int _status = 0;
};

/// Runs a command to its end.
int run(const std::vector<std::string>& command, const ChildOptions& options);

} // namespace reliability
