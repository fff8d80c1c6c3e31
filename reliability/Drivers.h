#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace reliability
{

/// Counts the cases of a driver, and prints a line for each thing that it disturbs.
class Tally
{
public:
    explicit Tally(std::string driver);

    /// Begins the next line.
    void begin(const std::string& what);

    /// Counts a case; it has passed if `check` does not throw. The first few that have not are described on standard
    /// error, by `name`.
    void count(const std::string& name, const std::function<void()>& check);

    /// Adds something to the present line.
    void add(const std::string& note) { _what += note; }

    /// Prints the last line.
    void finish();

    bool isAllPassed() const { return _isAllPassed; }

private:
    using Clock = std::chrono::steady_clock;

    std::string _driver;
    std::string _what;
    Clock::time_point _begin;
    int _cases = 0;
    int _passed = 0;
    bool _isAllPassed = true;
};

/// Every prefix of the calls that a run makes, and the last write of each torn at every byte (64 places of long ones).
/// Each is a moment at which the process may have died.
void replayCrashPoints(Tally& tally, bool quick);

/// Power cuts after every call: whatever was synchronised is there, and of the rest anything that a disk may show. The
/// same samples in every run.
void cutPower(Tally& tally, bool quick);

/// Every call that changes something failing once, writes taking half of their bytes, and disks that are full from
/// there on.
void injectFaults(Tally& tally, bool quick);

/// File-size limits.
void limitSizes(Tally& tally, bool quick);

/// Writers killed at any moment, and at any call: whatever they acknowledged is there.
void killWriters(Tally& tally, bool quick);

/// Readers that have a file open while it is replaced, and that open it while it is added to.
void readMeanwhile(Tally& tally, bool quick);

/// Programs that write to one file at the same time, and try again while somebody else does.
void writeTogether(Tally& tally, bool quick);

/// Programs that are sent a signal at any moment: they stop soon, and leave all or nothing. The lines say how long the
/// slowest took.
void stopPrograms(Tally& tally, bool quick);

} // namespace reliability
