// The memory that writing and reading a large mesh take at their peak, beside what was there before.
//
//   sdb_peak_memory write FILE SIDE   writes a wavy surface of SIDE x SIDE points, compressed
//   sdb_peak_memory read FILE         reads it back
//
// Each prints one line of numbers in bytes: what the promise counts with, and the peak that was measured.

#include "Meshes.h"
#include "Scenes.h"

#include "scenegraph/NodeData.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>

#include <malloc.h>
#include <vtkCellArray.h>
#include <vtkPolyData.h>

namespace
{

using namespace bench;

/// A number of bytes from the status that the kernel keeps of this process.
long long statusBytes(const std::string& key)
{
    constexpr long long KIBIBYTE = 1024;
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
    {
        if (long long kibibytes = 0; word == key + ":" && status >> kibibytes)
        {
            return kibibytes * KIBIBYTE;
        }
    }
    require(false);
    return 0;
}

/// The most that an operation takes beyond what the process holds before it.
template <class Operation>
long long peakOf(Operation operation)
{
    malloc_trim(0); // what earlier steps left free would be taken without being seen
    std::ofstream("/proc/self/clear_refs") << "5";
    const long long before = statusBytes("VmRSS");
    operation();
    return statusBytes("VmHWM") - before;
}

int writeMesh(const std::wstring& path, int side)
{
    constexpr int NUMBERS_IN_TRIANGLE = 4;
    const auto mesh = wavySurface(side);
    tsg::SceneNode root("SceneNode_1");
    root.addData(tsg::NodeData::ofPolys(mesh, tsg::TimeStamp(mesh->GetMTime())));
    const long long points = 3LL * static_cast<long long>(sizeof(float)) * mesh->GetNumberOfPoints();
    const long long list = 4LL * NUMBERS_IN_TRIANGLE * mesh->GetNumberOfPolys();
    const long long peak = peakOf(
        [&]
        {
            tsg::SDBWriter writer;
            require(writer.open(path, false, true) == tsg::io::FileIoStatus::Success);
            addRecord(writer, root);
        });
    const long long largest = std::max(points, list);
    std::cout << "write: points " << mesh->GetNumberOfPoints() << ", triangles " << mesh->GetNumberOfPolys()
              << ", largest block " << largest << ", promised " << largest << ", peak " << peak << '\n';
    return 0;
}

/// Adds up what the reader delivers.
class Decoded : public Sink
{
public:
    bool writePolys(const std::string& key, vtkPolyData* polys, tsg::TimeStamp stamp) override
    {
        constexpr long long KIBIBYTE = 1024;
        bytes += static_cast<long long>(polys->GetActualMemorySize()) * KIBIBYTE;
        list = 4LL * polys->GetPolys()->GetNumberOfConnectivityEntries();
        return Sink::writePolys(key, polys, stamp);
    }

    long long bytes = 0;
    long long list = 0;
};

int readMesh(const std::wstring& path)
{
    tsg::SDBReader reader;
    require(reader.open(path) == tsg::io::FileIoStatus::Success);
    const auto length = static_cast<long long>(sdb::hexFromProp(reader.getRecords().front(), "Length"));
    Decoded decoded;
    const long long peak = peakOf([&] { require(reader.loadRecord(0, decoded)); });
    std::cout << "read: payload " << length << ", decoded " << decoded.bytes << ", list " << decoded.list
              << ", promised " << length + decoded.bytes + decoded.list << ", peak " << peak << '\n';
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 3 && words[0] == "write")
    {
        return writeMesh({words[1].begin(), words[1].end()}, std::stoi(words[2]));
    }
    if (words.size() == 2 && words[0] == "read")
    {
        return readMesh({words[1].begin(), words[1].end()});
    }
    std::cerr << "usage: sdb_peak_memory write FILE SIDE | read FILE\n";
    return 2;
}
