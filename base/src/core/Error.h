#pragma once

#include "core/Export.h"

#include <exception>
#include <string>

/// Base of the exceptions of the application: what happened, which condition did not hold, and where.
class TAVO_EXPORT Error : public std::exception
{
public:
    Error(std::string message, std::string condition, std::string source, int line);
    ~Error() override;

    /// The message alone.
    const char* what() const noexcept override { return _message.c_str(); }

    const std::string& message() const { return _message; }

    /// The failed condition as text.
    const std::string& condition() const { return _condition; }

    /// The reporting source file, without its suffix.
    const std::string& source() const { return _source; }

    int line() const { return _line; }

private:
    std::string _message;
    std::string _condition;
    std::string _source;
    int _line;
};

/// An error after which the failed operation cannot be taken up again.
class TAVO_EXPORT NonRecoverableError : public Error
{
public:
    using Error::Error;
    ~NonRecoverableError() override;
};

/// A broken invariant: a mistake of the calling code, or content that no writer produces.
class TAVO_EXPORT InternalError : public NonRecoverableError
{
public:
    using NonRecoverableError::NonRecoverableError;
    ~InternalError() override;
};

/// One invariant of a component as a constant, so that message, condition and place have one home.
struct Invariant
{
    const char* message;
    const char* condition;
    const char* source;
    int line;
};

/// Throws the InternalError that reports `invariant` as broken.
[[noreturn]] TAVO_EXPORT void raise(const Invariant& invariant);
