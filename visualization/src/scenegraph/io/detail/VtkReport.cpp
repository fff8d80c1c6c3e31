#include "scenegraph/io/detail/VtkReport.h"

#include <locale>
#include <sstream>
#include <string>

#include <vtkObject.h>
#include <vtkOutputWindow.h>

namespace tsg::detail
{

namespace
{

std::string message(const VtkReport& report, std::string_view detail)
{
    return report.text + std::string(detail);
}

std::string message(vtkObject& self, const VtkReport& report, std::string_view detail)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << self.GetClassName() << " (" << static_cast<const void*>(&self) << "): " << message(report, detail);
    return text.str();
}

} // namespace

void reportError(vtkObject& self, const VtkReport& report, std::string_view detail)
{
    if (vtkObject::GetGlobalWarningDisplay() == 0)
    {
        return;
    }
    vtkOutputWindowDisplayErrorText(report.source, report.line, message(self, report, detail).c_str(), &self);
    vtkObject::BreakOnError();
}

void reportWarning(vtkObject& self, const VtkReport& report, std::string_view detail)
{
    if (vtkObject::GetGlobalWarningDisplay() != 0)
    {
        vtkOutputWindowDisplayWarningText(report.source, report.line, message(self, report, detail).c_str(), &self);
    }
}

void reportGenericWarning(const VtkReport& report, std::string_view detail)
{
    if (vtkObject::GetGlobalWarningDisplay() != 0)
    {
        vtkOutputWindowDisplayGenericWarningText(report.source, report.line, message(report, detail).c_str());
    }
}

} // namespace tsg::detail
