#pragma once

#include "support/Scenes.h"

#include <cstddef>

#include <gtest/gtest.h>

namespace test
{

/// A new file that is open for writing, and looks at what it holds by then.
class WriterTest : public SceneFileTest
{
protected:
    WriterTest() { EXPECT_EQ(writer.open(path, false, true), tsg::io::FileIoStatus::Success); }

    /// The binary data tags of the file in file order.
    std::vector<Properties> blocks() const
    {
        std::vector<Properties> found;
        const std::string content = bytes(), begin = R"({"DataField":"BinaryData")";
        for (std::size_t at = content.find(begin); at != std::string::npos; at = content.find(begin, at + 1))
        {
            found.emplace_back(content.substr(at, content.find('}', at) + 1 - at));
        }
        return found;
    }

    /// Which payload each block of the file refers to, as a number in the order of their first use.
    std::vector<std::ptrdiff_t> payloads() const
    {
        std::vector<std::string> seen;
        std::vector<std::ptrdiff_t> numbers;
        for (const Properties& block : blocks())
        {
            const auto known = std::find(seen.begin(), seen.end(), block.getString("FilePos"));
            numbers.push_back(known - seen.begin());
            if (known == seen.end())
            {
                seen.push_back(block.getString("FilePos"));
            }
        }
        return numbers;
    }

    const std::vector<Properties>& records()
    {
        EXPECT_EQ(reader.open(path), tsg::io::FileIoStatus::Success);
        return reader.getRecords();
    }

    std::unique_ptr<RecordingStream> load(int record)
    {
        auto received = std::make_unique<RecordingStream>();
        records();
        EXPECT_TRUE(reader.loadRecord(record, *received));
        return received;
    }

    tsg::SDBWriter writer;
};

} // namespace test
