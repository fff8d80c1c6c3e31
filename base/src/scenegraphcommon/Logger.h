#pragma once

#include "core/Export.h"

#include <atomic>
#include <functional>
#include <string>

/// The diagnostics of the scene-graph libraries: one entry a message, enabled by level flags.
class TAVO_EXPORT Logger
{
public:
    enum Level : unsigned
    {
        Warning = 4,
        Failure = 8,
        ShowSource = 16 ///< prefix entries with their source path and line
    };

    using Sink = std::function<void(const std::string& entry)>;

    static Logger& getSingleton();

    /// The level flags: Warning and Failure until set otherwise.
    unsigned getLevelFlags() const { return _levelFlags; }

    void setLevelFlags(unsigned flags) { _levelFlags = flags; }

    /// Replaces the receiver of the entries, and answers the one before; an empty sink is the default, a line on
    /// standard error.
    Sink setSink(Sink sink);

    void write(const std::string& entry) const;

private:
    Logger() = default;

    unsigned _levelFlags = Warning | Failure;
    Sink _sink;
};

/// One place in the code that logs; a static object. Whether it is enabled is read from the logger's level flags at its
/// first use and remembered for the life of the process.
class TAVO_EXPORT LogSite
{
public:
    /// `source` is a source path without suffix and must outlive the object.
    LogSite(Logger::Level level, const char* source, int line);

    void log(const std::string& message);

private:
    Logger::Level _level;
    const char* _source;
    int _line;
    enum class State
    {
        Unread,
        Enabled,
        Disabled
    };
    std::atomic<State> _state{State::Unread};
};
