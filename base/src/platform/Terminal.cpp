#include "platform/Terminal.h"

#include <unistd.h>

bool OS::isErrorTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}
