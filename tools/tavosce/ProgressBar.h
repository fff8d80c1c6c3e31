#pragma once

#include "core/Subject.h"

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>

namespace tavosce
{

/// A bar on one line of a terminal, for work that takes longer than half a second. Elsewhere nothing is drawn.
class ProgressBar
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    ProgressBar(std::ostream& err, bool terminal, Clock clock = &std::chrono::steady_clock::now);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Tells how far the work has come. `done` of `total` parts are finished; `total` above 0.
    void show(const std::string& label, double done, double total);

    /// Wipes the bar off the line; the next `show` draws it again.
    void clear();

private:
    std::ostream& _err;
    bool _terminal;
    Clock _clock;
    std::chrono::steady_clock::time_point _start;
    std::chrono::steady_clock::time_point _next; ///< when it is drawn again at the earliest
    bool _drawn = false;
};

/// Draws the progress events of a reader that loads the part `done` of `total` parts.
class LoadProgress : public Observer
{
public:
    LoadProgress(ProgressBar& bar, std::size_t done, std::size_t total)
        : _bar(bar)
        , _done(static_cast<double>(done))
        , _total(static_cast<double>(total))
    {
    }

    /// Throws Interruption when the user wants to stop.
    void update(const Properties& event) override;

private:
    ProgressBar& _bar;
    double _done;
    double _total;
};

} // namespace tavosce
