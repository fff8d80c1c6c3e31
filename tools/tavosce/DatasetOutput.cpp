#include "DatasetOutput.h"

#include "Failure.h"
#include "Interrupt.h"
#include "Text.h"
#include "VtkMessages.h"

#include "platform/Apart.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <vector>

#include <vtkNew.h>
#include <vtkSMPTools.h>
#include <vtkXMLPolyDataWriter.h>

namespace tavosce
{

namespace
{

/// Adds to the beginning of a section which of its arrays is the pedigree ids, if one is.
void addPedigreeIds(std::string& text, const std::string& section, const std::string& array)
{
    if (!array.empty())
    {
        text.insert(text.find(section) + section.size(), " PedigreeIds=\"" + array + '"');
    }
}

/// Why the file cannot be written; empty if it has been.
std::string writeFile(const NodeDataset& dataset, const std::string& path)
{
    // VTK's writer does not notice every full disk: so it writes into memory.
    VtkMessages messages;
    const vtkNew<vtkXMLPolyDataWriter> writer;
    writer->WriteToOutputStringOn();
    writer->SetInputData(dataset.polys);
    writer->EncodeAppendedDataOff();
    const bool written = writer->Write() == 1;
    const std::vector<std::string> errors = messages.takeErrors();
    if (!written || !errors.empty())
    {
        return errors.empty() ? "VTK's writer failed" : joined(errors);
    }
    std::string text = writer->GetOutputString();
    addPedigreeIds(text, "<PointData", dataset.pointIds);
    addPedigreeIds(text, "<CellData", dataset.cellIds);
    errno = 0;
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    return out ? "" : systemReason();
}

} // namespace

// VTK's writer crashes where memory does not suffice for it, so it gets a process of its own.
void writeDataset(const NodeDataset& dataset, const std::string& path, const std::string& place)
{
    const auto write = [&]
    {
        vtkSMPTools::SetBackend("Sequential"); // the threads that VTK may have are not in this process
        (void)std::fputs(writeFile(dataset, path).c_str(), stderr); // unbuffered, so that nothing is left behind
    };
    const OS::ApartResult result = OS::runApart(write, &throwIfInterrupted);
    if (!result.ended)
    {
        throw cannotWrite(place, "VTK's writer breaks down on this dataset, or memory does not suffice");
    }
    if (!result.words.empty())
    {
        throw cannotWrite(place, shown(result.words));
    }
}

} // namespace tavosce
