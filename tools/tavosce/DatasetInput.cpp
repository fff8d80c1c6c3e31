#include "DatasetInput.h"

#include "InputFile.h"
#include "Interrupt.h"
#include "Text.h"
#include "VtkMessages.h"

#include "platform/Apart.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iterator>
#include <new>
#include <stdexcept>
#include <vector>

#include <vtkAlgorithm.h>
#include <vtkCallbackCommand.h>
#include <vtkCommand.h>
#include <vtkNew.h>
#include <vtkOBJReader.h>
#include <vtkPLYReader.h>
#include <vtkPolyDataReader.h>
#include <vtkSTLReader.h>
#include <vtkXMLPolyDataReader.h>

namespace tavosce
{

namespace
{

using Dataset = vtkSmartPointer<vtkPolyData>;

void stopIfInterrupted(vtkObject* caller, unsigned long, void*, void*)
{
    static_cast<vtkAlgorithm*>(caller)->SetAbortExecute(isInterrupted() ? 1 : 0);
}

/// Has a reader read, unless the user wants to stop: throws Interruption.
Dataset outputOf(vtkAlgorithm& reader)
{
    const vtkNew<vtkCallbackCommand> command;
    command->SetCallback(&stopIfInterrupted);
    reader.AddObserver(vtkCommand::ProgressEvent, command);
    reader.Update();
    throwIfInterrupted();
    return vtkPolyData::SafeDownCast(reader.GetOutputDataObject(0));
}

template <class Reader>
Dataset readWith(const std::string& path)
{
    const vtkNew<Reader> reader;
    reader->SetFileName(path.c_str());
    return outputOf(*reader);
}

bool holdsOtherKind(vtkDataReader& reader)
{
    return reader.IsFileUnstructuredGrid() || reader.IsFileStructuredGrid() || reader.IsFileStructuredPoints() ||
           reader.IsFileRectilinearGrid();
}

Dataset readLegacy(const std::string& path)
{
    const vtkNew<vtkPolyDataReader> reader;
    reader->SetFileName(path.c_str());
    if (holdsOtherKind(*reader))
    {
        throw Failure(NotStorable, shown(path), "the dataset is no polydata",
                      "extract its surface first, for example with vtkGeometryFilter");
    }
    // Of several arrays of one kind the reader would keep only the first.
    reader->ReadAllScalarsOn();
    reader->ReadAllVectorsOn();
    reader->ReadAllNormalsOn();
    reader->ReadAllTensorsOn();
    reader->ReadAllColorScalarsOn();
    reader->ReadAllTCoordsOn();
    reader->ReadAllFieldsOn();
    return outputOf(*reader);
}

/// A binary file tells how many triangles it holds; VTK's reader is content with fewer.
void requireWholeStl(InputFile& file, const std::string& path)
{
    constexpr std::size_t HEADER = 84; // 80 bytes of text, then the number of triangles
    constexpr std::uint64_t TRIANGLE = 50;
    char bytes[HEADER] = {};
    file.stream().read(bytes, HEADER);
    if (std::find(bytes, bytes + file.stream().gcount(), '\0') == bytes + file.stream().gcount())
    {
        return; // text
    }
    std::uint64_t triangles = 0;
    for (std::size_t i = 0; i < 4; ++i)
    {
        triangles |= std::uint64_t{static_cast<unsigned char>(bytes[HEADER - 4 + i])} << (8 * i);
    }
    if (file.size() < HEADER + triangles * TRIANGLE)
    {
        throw Failure(TooDamaged, shown(path),
                      "the file is truncated: it should hold " + counted(triangles, "triangle"));
    }
}

void acceptAny(InputFile&, const std::string&) {}

struct Format
{
    const char* extension;
    Dataset (*read)(const std::string& path);
    /// Finds what the reader would pass over in silence.
    void (*check)(InputFile& file, const std::string& path);
    /// The reader crashes on some truncated or damaged files.
    bool fragile;
    /// The format has no way to say that there is nothing.
    bool neverEmpty;
};

constexpr Format FORMATS[] = {
    {".vtp", &readWith<vtkXMLPolyDataReader>, &acceptAny, false, false},
    {".vtk", &readLegacy, &acceptAny, true, false},
    {".stl", &readWith<vtkSTLReader>, &requireWholeStl, false, true},
    {".ply", &readWith<vtkPLYReader>, &acceptAny, true, true},
    {".obj", &readWith<vtkOBJReader>, &acceptAny, true, true},
};

const Format& formatOf(const std::string& path)
{
    const std::string extension = extensionOf(path);
    const auto* const found = std::find_if(std::begin(FORMATS), std::end(FORMATS),
                                           [&](const Format& format) { return format.extension == extension; });
    if (found == std::end(FORMATS))
    {
        if (Platform::filesystem().directoryExists(OS::toWide(path)))
        {
            throw Failure(WrongUsage, shown(path), "no scene directory: there is no scene.tsg in it");
        }
        const InputFile file(path); // of what is not there something else is wrong
        throw Failure(WrongUsage, shown(path), "no dataset format has the extension " + inQuotes(extension),
                      "inputs are " + datasetExtensions());
    }
    return *found;
}

/// VTK's readers take absurd counts for real ones and let the allocation fail.
Dataset readChecked(const Format& format, const std::string& path)
{
    try
    {
        return format.read(path);
    }
    catch (const std::bad_alloc&)
    {
        throw Failure(TooDamaged, shown(path), "not enough memory for what the file says it holds");
    }
    catch (const std::length_error&)
    {
        throw Failure(TooDamaged, shown(path), "impossible sizes in the file");
    }
}

/// Has a fragile reader read the file in a process of its own first. Throws Failure if it crashes, or prints to the C
/// streams what it does not report.
void rehearse(const Format& format, const std::string& path)
{
    const auto read = [&]
    {
        const VtkMessages messages; // come again when the file is really read
        try
        {
            (void)format.read(path);
        }
        catch (const std::exception&)
        {
            return; // comes again as well
        }
    };
    const OS::ApartResult result = OS::runApart(read, &throwIfInterrupted);
    if (!result.ended)
    {
        throw Failure(TooDamaged, shown(path), "the file is damaged or truncated: its reader breaks down on it");
    }
    if (!result.words.empty())
    {
        throw Failure(TooDamaged, shown(path), shown(result.words.substr(0, result.words.find('\n'))));
    }
}

/// Warnings of readers that nobody has to know: pedigree ids may be of any type, and keep it.
bool isIdle(const std::string& warning)
{
    return warning.find("was tagged as an IdType array with an invalid type") != std::string::npos;
}

/// Warnings after which data is missing.
bool meansLoss(const std::string& warning)
{
    return warning.find("rror reading") != std::string::npos;
}

/// A complaint about files in which nothing is wrong: a first piece without points needs no such element. Where one is
/// missing that is needed there are other complaints.
bool isFalseAlarm(const std::string& error)
{
    return error.rfind("No Points element available in first piece", 0) == 0;
}

/// The words of a reader for which its input is refused; `warnings` gets all others.
std::vector<std::string> errorsOf(VtkMessages& messages, std::vector<std::string>& warnings)
{
    std::vector<std::string> res = messages.takeErrors();
    res.erase(std::remove_if(res.begin(), res.end(), &isFalseAlarm), res.end());
    warnings = messages.takeWarnings();
    warnings.erase(std::remove_if(warnings.begin(), warnings.end(), &isIdle), warnings.end());
    const auto losses = std::stable_partition(warnings.begin(), warnings.end(), &meansLoss);
    res.insert(res.end(), warnings.begin(), losses);
    warnings.erase(warnings.begin(), losses);
    return res;
}

} // namespace

std::string datasetExtensions()
{
    std::vector<std::string> names;
    std::transform(std::begin(FORMATS), std::end(FORMATS), std::back_inserter(names),
                   [](const Format& format) { return std::string(format.extension); });
    return joined(names, ", ");
}

void requireDatasetFormat(const std::string& path)
{
    (void)formatOf(path);
}

vtkSmartPointer<vtkPolyData> readDataset(const std::string& path, Report& report)
{
    const Format& format = formatOf(path);
    InputFile file(path);
    if (file.size() == 0)
    {
        throw Failure(TooDamaged, shown(path), "the file is empty");
    }
    format.check(file, path);
    if (format.fragile)
    {
        rehearse(format, path);
    }
    VtkMessages messages;
    Dataset res = readChecked(format, path);
    std::vector<std::string> warnings;
    const std::vector<std::string> errors = errorsOf(messages, warnings);
    const bool nothing = !res || (format.neverEmpty && res->GetNumberOfPoints() == 0);
    if (!errors.empty() || nothing)
    {
        throw Failure(TooDamaged, shown(path),
                      errors.empty() ? std::string("no ") + format.extension + " file, or one without geometry"
                                     : shown(joined(errors)));
    }
    for (const std::string& warning : warnings)
    {
        report.warning(shown(path), shown(warning));
    }
    return res;
}

} // namespace tavosce
