#include "Report.h"

#include <ostream>

namespace tavosce
{

Report::Report(std::ostream& err, bool terminal)
    : _err(err)
    , _progress(err, terminal)
{
}

void Report::error(const Failure& failure)
{
    error(failure.place(), failure.what(), failure.code());
    if (!failure.hint().empty())
    {
        _err << "hint: " << failure.hint() << '\n';
    }
}

void Report::error(const std::string& place, const std::string& text, ExitCode code)
{
    print(place, "", text);
    raiseTo(code);
}

void Report::warning(const std::string& place, const std::string& text)
{
    ++_warnings;
    print(place, "warning: ", text);
    raiseTo(Findings);
}

void Report::note(const std::string& place, const std::string& text)
{
    print(place, "note: ", text);
}

void Report::raiseTo(ExitCode code)
{
    _exitCode = code > _exitCode ? code : _exitCode;
}

void Report::print(const std::string& place, const char* kind, const std::string& text)
{
    _progress.clear();
    _err << "tavosce: " << place << (place.empty() ? "" : ": ") << kind << text << '\n';
}

} // namespace tavosce
