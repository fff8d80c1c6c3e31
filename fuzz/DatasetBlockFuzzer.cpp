// The dataset block of a polydata.

#include "DatasetText.h"
#include "FuzzTarget.h"
#include "MemoryWatch.h"

#include "support/TouchEverything.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    const std::string bytes = fuzz::asString(data, size);
    vtkSmartPointer<vtkPolyData> polys;
    {
        const fuzz::MemoryWatch watch(size);
        polys = fuzz::readBlock(bytes);
    }
    if (polys != nullptr)
    {
        test::touchEverything(*polys);
    }
    return 0;
}
