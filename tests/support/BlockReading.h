#pragma once

#include "scenegraph/io/SDBPolyDataReader.h"
#include "scenegraph/io/detail/MemoryStream.h"
#include "support/DatasetBlocks.h"
#include "support/Datasets.h"
#include "support/LogCapture.h"
#include "support/ReportedErrors.h"
#include "support/TouchEverything.h"

namespace test
{

using Messages = std::vector<std::string>;

/// What reading one dataset block has come to.
struct BlockReading
{
    vtkSmartPointer<tsg::SDBPolyDataReader> reader;
    Messages messages;

    vtkPolyData& output() const { return *reader->GetOutput(); }

    vtkPointData& pointData() const { return *output().GetPointData(); }
};

/// Reads a block, with a reader set up as `configure` says, and touches everything in the result.
inline BlockReading readBlock(
    const std::string& bytes, const std::function<void(tsg::SDBPolyDataReader&)>& configure = [](auto&) {})
{
    BlockReading reading{vtkSmartPointer<tsg::SDBPolyDataReader>::New(), {}};
    sdb::detail::MemoryStream stream(bytes.data(), bytes.size());
    reading.reader->SetIStream(&stream);
    configure(*reading.reader);
    const LogCapture log;
    const ReportedErrors reported(*reading.reader);
    reading.reader->Update();
    touchEverything(reading.output());
    reading.messages = reported.messages;
    return reading;
}

/// A case of a table that says what a block is answered with.
struct MessageCase
{
    std::string bytes;
    Messages messages = {};
};

inline void expectMessages(const std::vector<MessageCase>& cases)
{
    for (const MessageCase& one : cases)
    {
        EXPECT_THAT(readBlock(one.bytes).messages, testing::ElementsAreArray(one.messages)) << one.bytes;
    }
}

} // namespace test
