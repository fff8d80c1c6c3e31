#pragma once

#include "core/Error.h"

#include <string>

namespace test
{

/// What an operation raises, as "message|condition|source|line"; empty if nothing.
template <class Operation>
std::string raisedBy(Operation operation)
{
    try
    {
        operation();
    }
    catch (const NonRecoverableError& error)
    {
        return error.message() + "|" + error.condition() + "|" + error.source() + "|" + std::to_string(error.line());
    }
    return {};
}

} // namespace test
