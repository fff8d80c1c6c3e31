#include "scenegraph/io/detail/WriteProgress.h"

#include "core/Properties.h"

namespace sdb::detail
{

namespace
{

/// Progress is published each time the percentage passes a multiple of this.
constexpr int PROGRESS_STEP = 5;

} // namespace

void WriteProgress::reset()
{
    _expected = _done = _current = _written = 0;
    _lastPercent = -1;
    _stopped = false;
}

void WriteProgress::beginData(std::uint64_t bytes)
{
    _current = bytes;
    _written = 0;
}

void WriteProgress::advance(std::uint64_t bytes)
{
    _written = std::min(_current, _written + bytes);
    publish();
}

void WriteProgress::endData()
{
    _done += _current;
    _current = _written = 0;
    publish();
}

void WriteProgress::finish()
{
    _done = _expected = std::max(_expected, std::uint64_t{1});
    publish();
}

void WriteProgress::publish()
{
    const double part = _expected == 0 ? 0 : static_cast<double>(_done + _written) / static_cast<double>(_expected);
    const int percent = static_cast<int>(100 * std::min(part, 1.0));
    const bool isNext = _lastPercent < 0 || percent / PROGRESS_STEP > _lastPercent / PROGRESS_STEP;
    _stopped = true;                                    // unless both come back
    if (const std::function<void()> check = _stopCheck) // a copy: it may exchange itself
    {
        check();
    }
    if (isNext)
    {
        _lastPercent = percent;
        Properties event;
        event.set("Message", "Writing record");
        event.set("PercentComplete", percent);
        _subject.notify(event);
    }
    _stopped = false;
}

} // namespace sdb::detail
