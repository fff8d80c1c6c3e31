#pragma once

#include <string_view>

class vtkObject;

namespace tsg::detail
{

/// One message of a VTK class as a constant, so that text and reported place have one home. Callers see the place: it
/// is part of the message and does not follow the code.
struct VtkReport
{
    const char* text;
    const char* source; ///< source path without suffix
    int line;
};

/// Reports an error of `self` by VTK's convention: to its observers or else the output window, with class name and
/// address in front, and only while VTK's global warning display is on. `detail` follows the report's text.
void reportError(vtkObject& self, const VtkReport& report, std::string_view detail = {});

/// The same for a warning of `self`.
void reportWarning(vtkObject& self, const VtkReport& report, std::string_view detail = {});

/// The same for a warning of no object, which goes to the output window.
void reportGenericWarning(const VtkReport& report, std::string_view detail = {});

} // namespace tsg::detail
