#pragma once

#include <string>
#include <vector>

#include <vtkSmartPointer.h>

class vtkOutputWindow;

namespace tavosce
{

/// Catches what VTK classes report while it lives, instead of letting it run to standard error. One at a time.
class VtkMessages
{
public:
    VtkMessages();
    ~VtkMessages();
    VtkMessages(const VtkMessages&) = delete;
    VtkMessages& operator=(const VtkMessages&) = delete;

    /// The messages since the last call, each one line without the source place and the address of the object.
    std::vector<std::string> takeErrors();
    std::vector<std::string> takeWarnings();

private:
    class Window;

    vtkSmartPointer<vtkOutputWindow> _before;
    vtkSmartPointer<Window> _window;
};

/// The messages in one line.
std::string joined(const std::vector<std::string>& messages, const char* separator = "; ");

} // namespace tavosce
