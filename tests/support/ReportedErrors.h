#pragma once

#include "support/Testing.h"

#include <vtkCommand.h>
#include <vtkLogger.h>
#include <vtkNew.h>
#include <vtkObject.h>
#include <vtkOutputWindow.h>
#include <vtkSmartPointer.h>

namespace test
{

/// Collects what a VTK object reports for as long as this object lives, and VTK's generic warnings of that time.
class ReportedErrors
{
public:
    explicit ReportedErrors(vtkObject& observed)
        : _observed(&observed)
        , _previous(vtkOutputWindow::GetInstance())
    {
        vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
        _collector->owner = this;
        _window->owner = this;
        _observed->AddObserver(vtkCommand::ErrorEvent, _collector);
        _observed->AddObserver(vtkCommand::WarningEvent, _collector);
        vtkOutputWindow::SetInstance(_window);
    }

    ~ReportedErrors()
    {
        _observed->RemoveObserver(_collector);
        vtkOutputWindow::SetInstance(_previous);
    }

    ReportedErrors(const ReportedErrors&) = delete;
    ReportedErrors& operator=(const ReportedErrors&) = delete;

    /// In order: "error: ", "warning: " or "generic warning: " and the text, without place, class and address.
    std::vector<std::string> messages;
    /// The same messages as VTK hands them on.
    std::vector<std::string> texts;

private:
    struct Collector : vtkCommand
    {
        static Collector* New() { return new Collector; }

        void Execute(vtkObject*, unsigned long event, void* text) override
        {
            owner->add(event == vtkCommand::ErrorEvent ? "error: " : "warning: ", static_cast<const char*>(text),
                       "): ");
        }

        ReportedErrors* owner = nullptr;
    };

    struct Window : vtkOutputWindow
    {
        static Window* New()
        {
            auto* window = new Window;
            window->InitializeObjectBase();
            return window;
        }

        void DisplayText(const char* text) override { owner->add("other: ", text, ""); }

        void DisplayGenericWarningText(const char* text) override { owner->add("generic warning: ", text, "\n"); }

        ReportedErrors* owner = nullptr;
    };

    void add(const std::string& kind, const std::string& text, const std::string& before)
    {
        const std::size_t begin = text.find(before) + before.size();
        const std::size_t end = text.find_last_not_of('\n') + 1;
        messages.push_back(kind + text.substr(begin, end - begin));
        texts.push_back(text);
    }

    vtkSmartPointer<vtkObject> _observed;
    vtkSmartPointer<vtkOutputWindow> _previous;
    vtkNew<Collector> _collector;
    vtkNew<Window> _window;
};

} // namespace test
