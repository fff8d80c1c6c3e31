// The files of a scene directory: every input is read as a scene file and as a data file. Polydata that was read can be
// written as text, read again, and is then the same text.

#include "Delivery.h"
#include "FuzzTarget.h"
#include "MemoryWatch.h"

#include "scenegraph/io/SceneGraphPolyDataWriter.h"
#include "scenegraph/io/SceneGraphReader.h"
#include "scenegraph/io/detail/LegacyPolyData.h"

namespace
{

using fuzz::require;

std::string textOf(vtkPolyData& polys)
{
    const vtkNew<tsg::SceneGraphPolyDataWriter> writer;
    writer->WriteToOutputStringOn();
    writer->SetInputData(&polys);
    writer->Write();
    const char* const text = writer->GetOutputString();
    return text != nullptr ? std::string(text, static_cast<std::size_t>(writer->GetOutputStringLength())) : "";
}

vtkSmartPointer<vtkPolyData> read(const std::string& text)
{
    // Text needs more memory than the file that it was read from.
    sdb::detail::MemoryBudget budget(UINT64_MAX);
    return tsg::detail::readLegacyPolyData(text, budget);
}

void checkStable(vtkPolyData& polys)
{
    const std::string once = textOf(polys);
    const auto second = read(once);
    require(second != nullptr, "a text that was written can be read");
    const std::string twice = textOf(*second);
    require(twice == once, "a text is stable");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    const std::string bytes = fuzz::asString(data, size);
    fuzz::Delivery delivery;
    {
        const fuzz::MemoryWatch watch(size);
        tsg::SceneGraphReader reader(delivery);
        std::istringstream scene(bytes);
        require(reader.loadSceneFileFromInputStream(scene), "a scene file is read as far as it goes");
        std::istringstream file(bytes);
        reader.loadVtkDataFromInputStream(file);
    }
    delivery.touch();
    for (const fuzz::Delivery::Piece& piece : delivery.data)
    {
        if (piece.data.polys != nullptr)
        {
            checkStable(*piece.data.polys);
        }
    }
    return 0;
}
