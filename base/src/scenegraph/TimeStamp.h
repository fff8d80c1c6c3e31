#pragma once

#include <cstdint>

namespace tsg
{

/// The modification stamp of a dataset (vtkObject::GetMTime).
class TimeStamp
{
public:
    TimeStamp() = default;

    explicit TimeStamp(std::uint64_t value)
        : _value(value)
    {
    }

    std::uint64_t getValue() const { return _value; }

private:
    std::uint64_t _value = 0;
};

} // namespace tsg
