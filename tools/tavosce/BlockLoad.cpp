#include "BlockLoad.h"

#include "BlockCheck.h"
#include "LibraryLog.h"
#include "Text.h"
#include "VtkMessages.h"

#include <string>

namespace tavosce
{

BlockData loadBlock(SceneFile& file, std::size_t record, const StoredBlock& block)
{
    BlockData res;
    std::string complaints;
    if (gravest(framingFindings(file.stream(), block, file.size())) != Severity::Error)
    {
        VtkMessages vtk;
        const LibraryLog log; // the findings say it
        res = readBlockData(file.stream(), block, file.size());
        complaints = joined(vtk.takeErrors());
    }
    if (res.isEmpty() || !complaints.empty())
    {
        const std::string fault = blockFault(file.stream(), block, file.size());
        throw Failure(TooDamaged, file.placeOf(record, block.tagPosition),
                      describeBlock(block) + ": " + (fault.empty() ? shown(complaints) : fault));
    }
    return res;
}

} // namespace tavosce
