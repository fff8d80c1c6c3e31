#include "CommandTable.h"
#include "Interrupt.h"

#include "platform/Terminal.h"

#include <iostream>
#include <ostream>

#include <fcntl.h>
#include <unistd.h>

namespace
{

/// Puts something in the place of standard streams that are closed: a file that is opened later would take their
/// numbers, and messages would go into it. Results still cannot be written to a closed output, which is said.
void fillClosedStreams()
{
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number)
    {
        if (fcntl(number, F_GETFD) == -1)
        {
            (void)open("/dev/null", number == STDERR_FILENO ? O_WRONLY : O_RDONLY); // takes the lowest free number
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    fillClosedStreams();
    // The library prints to standard output; only results may go there. What it prints to standard error may be caught.
    std::ostream results(std::cout.rdbuf()), messages(std::cerr.rdbuf());
    std::streambuf* const before = std::cout.rdbuf(std::cerr.rdbuf());
    tavosce::watchSignals();
    const int res = tavosce::run({argv + 1, argv + argc}, results, messages, OS::isErrorTerminal());
    std::cout.rdbuf(before);
    return res;
}
