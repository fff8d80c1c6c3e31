#pragma once

#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "support/ReportedErrors.h"
#include "support/TouchEverything.h"

#include <functional>
#include <string>
#include <vector>

#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace test
{

/// What reading one dataset block has come to.
struct BlockReading
{
    vtkSmartPointer<tsg::SDBPolyDataReader> reader;
    std::vector<std::string> messages;

    vtkPolyData& output() const { return *reader->GetOutput(); }
};

/// Reads a block, with a reader set up as `configure` says, and touches everything in the result.
inline BlockReading readBlock(
    const std::string& bytes, const std::function<void(tsg::SDBPolyDataReader&)>& configure = [](auto&) {})
{
    BlockReading reading{vtkSmartPointer<tsg::SDBPolyDataReader>::New(), {}};
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    reading.reader->SetIStream(&stream);
    configure(*reading.reader);
    ReportedErrors reported(*reading.reader);
    reading.reader->Update();
    touchEverything(reading.output());
    reading.messages = reported.messages;
    return reading;
}

} // namespace test
