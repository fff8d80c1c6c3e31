#include "BlockData.h"

#include "Interrupt.h"

#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/detail/ArrayReader.h"
#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <istream>
#include <memory>

#include <vtkNew.h>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;
using sdb::detail::BlockResult;
using tsg::detail::CodecRun;

vtkSmartPointer<vtkDataArray> readArray(std::istream& in, const Properties& tag, CodecRun& run)
{
    const std::int64_t components = tag.getInt(key::NUMBER_OF_COMPONENTS);
    const std::int64_t values = components * tag.getInt(key::NUMBER_OF_TUPLES);
    const auto [array, result] = tsg::detail::readPayload(in, tag.getInt(key::DATA_TYPE), components, values, run);
    if (array == nullptr || (result != BlockResult::Whole && result != BlockResult::Longer))
    {
        return nullptr;
    }
    array->SetName(tag.getString(key::NAME).c_str());
    return array;
}

vtkSmartPointer<vtkPolyData> readPolys(std::istream& in, std::uint64_t length, CodecRun& run)
{
    const std::unique_ptr<char[]> bytes(new char[length]);
    if (!in.read(bytes.get(), static_cast<std::streamsize>(length)))
    {
        return nullptr;
    }
    sdb::detail::MemoryStream memory(bytes.get(), length);
    const vtkNew<tsg::SDBPolyDataReader> reader;
    reader->SetIStream(&memory);
    tsg::detail::lend(*reader, &run);
    reader->Update();
    const bool isEmpty = reader->GetOutput() == nullptr || reader->GetOutput()->GetPoints() == nullptr;
    return isEmpty ? nullptr : reader->GetOutput();
}

} // namespace

BlockData readBlockData(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    sdb::detail::MemoryBudget budget(sdb::detail::loadMemory(fileSize));
    CodecRun run(budget);
    run.pulse = [](std::uint64_t) { throwIfInterrupted(); };
    in.clear();
    sdb::detail::seekTo(in, block.filePos);
    BlockData res;
    if (block.isArray())
    {
        res.array = readArray(in, block.tag, run);
    }
    else
    {
        res.polys = readPolys(in, block.length, run);
    }
    res.uncheckedBytes = run.uncheckedBytes;
    res.isSeparated = run.isSeparated;
    return res;
}

} // namespace tavosce
