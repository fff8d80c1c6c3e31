#pragma once

#include <string>
#include <vector>

#include <vtkCommand.h>
#include <vtkNew.h>
#include <vtkObject.h>

namespace test
{

/// Collects the texts of the errors (or of another event) that a VTK object reports while this object lives.
class ReportedErrors
{
public:
    explicit ReportedErrors(vtkObject& reporter, unsigned long event = vtkCommand::ErrorEvent)
        : _reporter(reporter)
    {
        _collector->texts = &texts;
        _tag = reporter.AddObserver(event, _collector.Get());
    }

    ~ReportedErrors() { _reporter.RemoveObserver(_tag); }

    ReportedErrors(const ReportedErrors&) = delete;
    ReportedErrors& operator=(const ReportedErrors&) = delete;

    std::vector<std::string> texts;

private:
    struct Collector : vtkCommand
    {
        static Collector* New() { return new Collector; }

        void Execute(vtkObject*, unsigned long, void* text) override
        {
            texts->emplace_back(static_cast<const char*>(text));
        }

        std::vector<std::string>* texts = nullptr;
    };

    vtkObject& _reporter;
    vtkNew<Collector> _collector;
    unsigned long _tag = 0;
};

} // namespace test
