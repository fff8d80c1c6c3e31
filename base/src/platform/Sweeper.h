#pragma once

#include "core/Export.h"

#include <string>

#include <sys/types.h>

namespace OS
{

/// Removes a file, or a folder with all that is in it, however this process ends, even if it is killed: a process of
/// its own waits for that. For what is being built under a name that nobody else knows.
class TAVO_EXPORT Sweeper
{
public:
    /// Nothing needs to be at the path yet.
    explicit Sweeper(std::wstring path);
    /// Removes what is there.
    ~Sweeper();
    Sweeper(const Sweeper&) = delete;
    Sweeper& operator=(const Sweeper&) = delete;

    /// True if the process is at work; if not, only the destructor removes anything.
    bool isWatching() const { return _isWatching; }

    /// Has what is there removed and waits for that, once. Signal handlers may call it.
    void sweep() noexcept;

private:
    std::wstring _path;
    int _order = -1; ///< what is sent here, or the end of it, starts the removal
    bool _isWatching = false;
    pid_t _process = -1; ///< below 0 when there is none to wait for
};

} // namespace OS
