#include "BlockData.h"

#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/detail/Blocks.h"
#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "scenegraph/io/detail/Positions.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <istream>
#include <memory>

#include <vtkNew.h>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;
using sdb::detail::MemoryBudget;

vtkSmartPointer<vtkDataArray> readArray(std::istream& in, const Properties& tag, MemoryBudget& budget)
{
    const std::int64_t components = tag.getInt(key::NUMBER_OF_COMPONENTS);
    const std::int64_t values = components * tag.getInt(key::NUMBER_OF_TUPLES);
    const auto fill = [&](char* data, std::uint64_t bytes) { return sdb::detail::readBlock(in, data, bytes, budget); };
    auto res = tsg::detail::makeStoredArray(tag.getInt(key::DATA_TYPE), components, values, budget, fill);
    if (res != nullptr)
    {
        res->SetName(tag.getString(key::NAME).c_str());
    }
    return res;
}

vtkSmartPointer<vtkPolyData> readPolys(std::istream& in, std::uint64_t length, MemoryBudget& budget)
{
    const std::unique_ptr<char[]> bytes(new char[length]);
    if (!in.read(bytes.get(), static_cast<std::streamsize>(length)))
    {
        return nullptr;
    }
    sdb::detail::MemoryStream memory(bytes.get(), length);
    const vtkNew<tsg::SDBPolyDataReader> reader;
    reader->SetIStream(&memory);
    reader->SetMemoryBudget(&budget);
    reader->Update();
    const bool isEmpty = reader->GetOutput() == nullptr || reader->GetOutput()->GetPoints() == nullptr;
    return isEmpty ? nullptr : reader->GetOutput();
}

} // namespace

BlockData readBlockData(std::istream& in, const StoredBlock& block, std::uint64_t fileSize)
{
    MemoryBudget budget(sdb::detail::loadMemory(fileSize));
    in.clear();
    sdb::detail::seekTo(in, block.filePos);
    if (block.isArray())
    {
        return {nullptr, readArray(in, block.tag, budget)};
    }
    return {readPolys(in, block.length, budget), nullptr};
}

} // namespace tavosce
