#include "core/Error.h"

#include <utility>

Error::Error(std::string message, std::string condition, std::string source, int line)
    : _message(std::move(message))
    , _condition(std::move(condition))
    , _source(std::move(source))
    , _line(line)
{
}

// The destructors are here so that each class has one home for its type information.
Error::~Error() = default;
NonRecoverableError::~NonRecoverableError() = default;
InternalError::~InternalError() = default;

void raise(const Invariant& invariant)
{
    throw InternalError(invariant.message, invariant.condition, invariant.source, invariant.line);
}
