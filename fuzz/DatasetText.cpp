#include "DatasetText.h"

#include "scenegraph/io/detail/CodecRun.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "support/FullDisk.h"

namespace fuzz
{

vtkSmartPointer<vtkPolyData> readBlock(const std::string& bytes)
{
    sdb::detail::MemoryStream in(bytes.data(), bytes.size());
    sdb::detail::MemoryBudget budget(sdb::detail::loadMemory(bytes.size()));
    const vtkNew<tsg::SDBPolyDataReader> reader;
    reader->SetIStream(&in);
    tsg::detail::CodecRun run(budget);
    tsg::detail::lend(*reader, &run);
    reader->Update();
    vtkPolyData* const output = reader->GetOutput();
    return output != nullptr && output->GetPoints() != nullptr ? output : nullptr;
}

std::string writeBlock(vtkPolyData& polys)
{
    test::FullDisk disk; // with room for everything
    const vtkNew<tsg::SDBPolyDataWriter> writer;
    writer->SetCompressBinaryData(1);
    writer->SetOStream(&disk, VTK_BINARY);
    writer->SetInputData(&polys);
    writer->Write();
    return disk.bytes();
}

} // namespace fuzz
