#include "scenegraphcommon/Logger.h"

#include <iostream>
#include <utility>

Logger& Logger::getSingleton()
{
    static Logger logger;
    return logger;
}

Logger::Sink Logger::setSink(Sink sink)
{
    return std::exchange(_sink, std::move(sink));
}

void Logger::write(const std::string& entry) const
{
    if (_sink)
    {
        const Sink sink = _sink; // it may replace itself
        sink(entry);
    }
    else
    {
        std::cerr << entry + '\n'; // at once, for entries of other threads
    }
}

LogSite::LogSite(Logger::Level level, const char* source, int line)
    : _level(level)
    , _source(source)
    , _line(line)
{
}

void LogSite::log(const std::string& message)
{
    const Logger& logger = Logger::getSingleton();
    if (_state == State::Unread)
    {
        _state = (logger.getLevelFlags() & _level) != 0 ? State::Enabled : State::Disabled;
    }
    if (_state == State::Enabled)
    {
        const bool showSource = (logger.getLevelFlags() & Logger::ShowSource) != 0;
        logger.write(showSource ? std::string(_source) + ":" + std::to_string(_line) + " " + message : message);
    }
}
