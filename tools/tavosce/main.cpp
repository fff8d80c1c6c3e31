#include "CommandTable.h"
#include "Interrupt.h"

#include "platform/Terminal.h"

#include <iostream>
#include <ostream>

int main(int argc, char** argv)
{
    // The library prints to standard output; only results may go there.
    std::ostream results(std::cout.rdbuf());
    std::streambuf* const before = std::cout.rdbuf(std::cerr.rdbuf());
    tavosce::watchSignals();
    const int res = tavosce::run({argv + 1, argv + argc}, results, std::cerr, OS::isErrorTerminal());
    std::cout.rdbuf(before);
    return res;
}
