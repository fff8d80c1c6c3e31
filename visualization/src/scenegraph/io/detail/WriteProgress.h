#pragma once

#include "core/Subject.h"

#include <algorithm>
#include <cstdint>
#include <functional>

namespace sdb::detail
{

/// Tells observers how far the writing of a record has come, by the bytes of its data: {"Message": "Writing record",
/// "PercentComplete": n}, each time n passes a multiple of five. It also asks whoever wants to stop.
class WriteProgress
{
public:
    Subject& subject() { return _subject; }

    void setStopCheck(std::function<void()> check) { _stopCheck = std::move(check); }

    /// Forgets the record before.
    void reset();

    /// A record begins, of which nothing is known yet: 0 percent.
    void begin() { publish(); }

    /// So many bytes of data will come.
    void expect(std::uint64_t bytes) { _expected += bytes; }

    /// The data of `bytes` bytes begins, and ends; `advance` tells of what has been written of it since the last call.
    void beginData(std::uint64_t bytes);
    void advance(std::uint64_t bytes);
    void endData();

    /// All data is written: 100 percent.
    void finish();

    /// True if an observer or the stop check has thrown since `reset`.
    bool wasStopped() const { return _stopped; }

private:
    void publish();

    Subject _subject;
    std::function<void()> _stopCheck;
    std::uint64_t _expected = 0; ///< bytes of the whole record
    std::uint64_t _done = 0;     ///< bytes of the data that has ended
    std::uint64_t _current = 0;  ///< bytes of the data that is being written
    std::uint64_t _written = 0;  ///< how many of these are done
    int _lastPercent = -1;       ///< published last; below 0 for none
    bool _stopped = false;       ///< see wasStopped
};

} // namespace sdb::detail
