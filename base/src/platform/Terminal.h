#pragma once

#include "core/Export.h"

namespace OS
{

/// True if standard error is a terminal, so that somebody watches it.
TAVO_EXPORT bool isErrorTerminal();

} // namespace OS
