#include "VtkMessages.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include <vtkLogger.h>
#include <vtkObjectFactory.h>
#include <vtkOutputWindow.h>

namespace tavosce
{

namespace
{

/// "ERROR: In FILE, line 1\nvtkClass (0x1): text\n\n" becomes "text".
std::string messageOf(const char* text)
{
    std::string res = text == nullptr ? "" : text;
    const std::size_t lineEnd = res.find('\n');
    if (lineEnd != std::string::npos && res.find(": In ") < lineEnd)
    {
        res.erase(0, lineEnd + 1);
        const std::size_t address = res.find(" (0x");
        const std::size_t colon = res.find("): ");
        if (address != std::string::npos && colon != std::string::npos && address < colon)
        {
            res.erase(0, colon + 3);
        }
    }
    res.erase(res.find_last_not_of(" \n") + 1);
    std::replace(res.begin(), res.end(), '\n', ' ');
    return res;
}

/// Adds a message unless it says nothing, or nothing new.
void add(std::vector<std::string>& messages, const char* text)
{
    std::string message = messageOf(text);
    const bool noise = message.find("returned failure for request") != std::string::npos;
    if (!noise && (messages.empty() || messages.back() != message))
    {
        messages.push_back(std::move(message));
    }
}

} // namespace

class VtkMessages::Window : public vtkOutputWindow
{
public:
    vtkTypeMacro(Window, vtkOutputWindow);

    static Window* New() { VTK_STANDARD_NEW_BODY(Window); }

    void DisplayText(const char* text) override { add(warnings, text); }

    void DisplayErrorText(const char* text) override { add(errors, text); }

    void DisplayWarningText(const char* text) override { add(warnings, text); }

    void DisplayGenericWarningText(const char* text) override { add(warnings, text); }

    void DisplayDebugText(const char*) override {}

    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

VtkMessages::VtkMessages()
    : _before(vtkOutputWindow::GetInstance())
    , _window(vtkSmartPointer<Window>::New())
{
    vtkOutputWindow::SetInstance(_window);
    // Without this every message would come a second time from VTK's log.
    vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
}

VtkMessages::~VtkMessages()
{
    vtkOutputWindow::SetInstance(_before);
    vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_INFO);
}

std::vector<std::string> VtkMessages::takeErrors()
{
    return std::exchange(_window->errors, {});
}

std::vector<std::string> VtkMessages::takeWarnings()
{
    return std::exchange(_window->warnings, {});
}

std::string joined(const std::vector<std::string>& messages, const char* separator)
{
    std::string res;
    for (const std::string& message : messages)
    {
        res += (res.empty() ? "" : separator) + message;
    }
    return res;
}

} // namespace tavosce
