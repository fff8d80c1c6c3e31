#include "LibraryLog.h"

#include "Text.h"
#include "VtkMessages.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <sstream>
#include <utility>

namespace tavosce
{

namespace
{

/// Every frame without points has such a block.
constexpr const char* NOTHING_SAID[] = {"sdb::writeCompressed: suspicious request to write an array of zero length"};

/// What a write that fails says before the tool says why, with a tag or a temporary name that helps nobody.
constexpr const char* SAID_BY_FAILURE[] = {"Failed to write binary data: ", "SDBWriter: writing to ", "Error writing ",
                                           "SDBWriter: another process is writing to ", "SDBWriter: can't append to "};

template <std::size_t N>
bool beginsLikeOneOf(const char* const (&beginnings)[N], const std::string& line)
{
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&](const char* beginning) { return line.rfind(beginning, 0) == 0; });
}

/// Catches what is printed on std::cerr, where the log goes as well, and what VTK says, while it lives.
class Words
{
public:
    Words()
        : _before(std::cerr.rdbuf(_printed.rdbuf()))
    {
    }

    ~Words() { std::cerr.rdbuf(_before); }

    Words(const Words&) = delete;
    Words& operator=(const Words&) = delete;

    /// The lines since the last call.
    std::vector<std::string> take()
    {
        std::vector<std::string> res = _vtk.takeErrors();
        const std::vector<std::string> warnings = _vtk.takeWarnings();
        res.insert(res.end(), warnings.begin(), warnings.end());
        for (std::string line; std::getline(_printed, line);)
        {
            res.push_back(line);
        }
        return res;
    }

private:
    std::stringstream _printed;
    std::streambuf* _before;
    VtkMessages _vtk;
};

void note(const std::vector<std::string>& words, bool failed, const std::string& place, Report& report)
{
    for (const std::string& line : words)
    {
        if (!beginsLikeOneOf(NOTHING_SAID, line) && !(failed && beginsLikeOneOf(SAID_BY_FAILURE, line)))
        {
            report.note(place, shown(line));
        }
    }
}

} // namespace

LibraryLog::LibraryLog()
{
    _before = Logger::getSingleton().setSink([this](const std::string& entry) { _entries.push_back(entry); });
}

LibraryLog::~LibraryLog()
{
    Logger::getSingleton().setSink(std::move(_before));
}

std::vector<std::string> LibraryLog::take()
{
    return std::exchange(_entries, {});
}

void writeHeedingWords(const std::function<void()>& write, const std::string& place, Report& report)
{
    Words words;
    try
    {
        write();
    }
    catch (...)
    {
        note(words.take(), true, place, report);
        throw;
    }
    note(words.take(), false, place, report);
}

} // namespace tavosce
