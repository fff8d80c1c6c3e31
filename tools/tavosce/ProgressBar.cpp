#include "ProgressBar.h"

#include "Interrupt.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace tavosce
{

namespace
{

constexpr std::chrono::milliseconds PATIENCE(500);
constexpr std::chrono::milliseconds BETWEEN_DRAWINGS(100);
constexpr int WIDTH = 40;

} // namespace

ProgressBar::ProgressBar(std::ostream& err, bool terminal, Clock clock)
    : _err(err)
    , _terminal(terminal)
    , _clock(std::move(clock))
    , _start(_clock())
    , _next(_start + PATIENCE)
{
}

ProgressBar::~ProgressBar()
{
    clear();
}

void ProgressBar::show(const std::string& label, double done, double total)
{
    if (!_terminal || _clock() < _next)
    {
        return;
    }
    _next = _clock() + BETWEEN_DRAWINGS;
    const double part = std::clamp(done / total, 0.0, 1.0);
    const auto filled = static_cast<std::size_t>(part * WIDTH);
    _err << "\r\033[K" << label << " [" << std::string(filled, '#') << std::string(WIDTH - filled, ' ') << "] "
         << static_cast<int>(part * 100) << '%' << std::flush;
    _drawn = true;
}

void ProgressBar::clear()
{
    if (_drawn)
    {
        _err << "\r\033[K" << std::flush;
        _drawn = false;
    }
}

void LoadProgress::update(const Properties& event)
{
    throwIfInterrupted();
    _bar.show(event.getString("Message"), _done + event.getInt("PercentComplete") / 100.0, _total);
}

} // namespace tavosce
