#include "Drivers.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace reliability
{

Tally::Tally(std::string driver)
    : _driver(std::move(driver))
{
}

void Tally::begin(const std::string& what)
{
    finish();
    _what = what;
    _begin = Clock::now();
}

void Tally::count(const std::string& name, const std::function<void()>& check)
{
    constexpr int MOST_DESCRIBED = 3;
    ++_cases;
    try
    {
        check();
        ++_passed;
    }
    catch (const std::exception& error)
    {
        if (_cases - _passed <= MOST_DESCRIBED)
        {
            (void)std::fprintf(stderr, "%s, %s, %s: %s\n", _driver.c_str(), _what.c_str(), name.c_str(), error.what());
        }
    }
}

void Tally::finish()
{
    if (_what.empty())
    {
        return;
    }
    const std::chrono::duration<double> time = Clock::now() - _begin;
    (void)std::printf("%-14s %-34s %8d %8d %8.1f\n", _driver.c_str(), _what.c_str(), _cases, _passed, time.count());
    (void)std::fflush(stdout);
    _isAllPassed = _isAllPassed && _cases == _passed && _cases > 0;
    _what.clear();
    _cases = _passed = 0;
}

} // namespace reliability
