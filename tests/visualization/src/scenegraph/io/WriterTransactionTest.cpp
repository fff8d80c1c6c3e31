#include "scenegraph/io/SDBWriter.h"

#include "scenegraph/io/SDBReader.h"
#include "support/ContainerBytes.h"
#include "support/RecordingStream.h"
#include "support/Scenes.h"
#include "support/Testing.h"
#include "support/WriterFixture.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include <sys/resource.h>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// Additions that fail half-way, and files that such additions have left.
class WriterTransactionTest : public WriterTest
{
};

TEST_F(WriterTransactionTest, anExceptionLeavesNoRecordAndNoStoredData)
{
    Scene good;
    good.with(floats("T", {1, 2, 3}));
    add(writer, good);
    const std::string before = bytes();
    Scene bad("SceneNode_0"); // written before the other node
    bad.with(floats("U", {1}));
    bad.afterSerialize = [&](tsg::NodeStream&)
    {
        if (writer.getExportBinaryData())
        {
            throw std::runtime_error("node");
        }
    };
    EXPECT_THROW(add(writer, bad), std::runtime_error);
    EXPECT_EQ(records().size(), 1U);
    bad.afterSerialize = nullptr;
    EXPECT_EQ(add(writer, bad), 1);
    EXPECT_EQ(bytes().compare(0, before.size(), before), 0);
    EXPECT_EQ(load(1)->arrays.size(), 2U);
    EXPECT_EQ(reader.getRecords().size(), 2U);
}

TEST_F(WriterTransactionTest, nodesThatCallTheWriterBackHarmNoFile)
{
    const std::wstring other = directory.file("other.sce").wide;
    const auto nestedRecord = [](SDBWriter& target)
    {
        Scene inner("SceneNode_0");
        EXPECT_EQ(add(target, inner), -2); // no index was set
    };

    struct Case
    {
        const char* name;
        std::function<void(SDBWriter&)> call;
        std::size_t records; ///< in the file after the call's own record and another one
        std::size_t others;  ///< in the other file
    };

    const Case cases[] = {
        {"record", nestedRecord, 3, 1},
        {"record of a copy",
         [&](SDBWriter& target)
         {
             SDBWriter copy(target), second = copy;
             nestedRecord(second);
         },
         3, 1},
        {"thumbnail",
         [](SDBWriter& target) { EXPECT_EQ(target.addThumbnail(0, tsg::Bitmap<3>()), FileIoStatus::NotOpen); }, 3, 1},
        {"close", [](SDBWriter& target) { target.close(); }, 1, 1},
        {"open", [&](SDBWriter& target) { target.open(other, true, false); }, 1, 2},
    };
    Scene quiet("SceneNode_2");
    quiet.with(triangle()); // written after the node that calls back
    for (const Case& test : cases)
    {
        for (const bool inBinaryPass : {false, true})
        {
            SCOPED_TRACE(std::string(test.name) + (inBinaryPass ? " in the binary pass" : " in the property pass"));
            SDBWriter written;
            ASSERT_EQ(written.open(other, false, false), FileIoStatus::Success);
            add(written, quiet);
            written = SDBWriter();
            ASSERT_EQ(written.open(path, false, false), FileIoStatus::Success);
            add(written, quiet);
            Scene caller;
            caller.addChild(quiet);
            caller.afterSerialize = [&](tsg::NodeStream&)
            {
                if (written.getExportBinaryData() == inBinaryPass)
                {
                    test.call(written);
                }
            };
            add(written, caller);
            EXPECT_EQ(written.hasFailed(), test.records == 1);
            caller.afterSerialize = nullptr;
            add(written, caller);
            EXPECT_EQ(records().size(), test.records);
            ASSERT_EQ(reader.open(other), FileIoStatus::Success);
            ASSERT_EQ(reader.getRecords().size(), test.others);
            test::RecordingStream found;
            EXPECT_TRUE(reader.loadRecord(0, found));
            EXPECT_EQ(found.polys.size(), 1U);
        }
    }
}

TEST_F(WriterTransactionTest, aNodeThatClosesTheFileWhileNodesAreCollectedGetsNoRecord)
{
    struct Closer : Scene
    {
        void collectReferences(std::unordered_set<tsg::Ptr<tsg::Node>>&) const override { target->close(); }

        SDBWriter* target = nullptr;
    };

    Closer closer;
    closer.target = &writer;
    int index = 7;
    EXPECT_EQ(writer.addRecord("t", "d", "s", closer, index), FileIoStatus::NotOpen);
    EXPECT_EQ(index, 7);
    EXPECT_EQ(records().size(), 0U);
}

TEST_F(WriterTransactionTest, aFileHeaderThatClaimsToBeAnUnfinishedRecordIsNotCutOff)
{
    writer.close();
    std::string content = bytes();
    content.insert(1, R"("DataField":"Header","FilePos":"0","Length":"0",)");
    std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << content;
    EXPECT_EQ(writer.open(path, true, false), FileIoStatus::OpenFailed);
    EXPECT_EQ(bytes(), content);
}

TEST_F(WriterTransactionTest, appendingRemembersNoMoreBlocksThanTheFileCanHold)
{
    constexpr int BLOCKS = 40;
    constexpr char SESSIONS = 50;
    const auto array = floats("shared", {1});
    const test::Edit describe = [&](Properties& tag)
    {
        tag.set("MTime", static_cast<std::int64_t>(array->GetMTime()));
        tag.set("NumberOfComponents", 1);
        tag.set("NumberOfTuples", 1);
        tag.set("DataType", VTK_FLOAT);
    };
    std::vector<test::RawBlock> stored{{"shared", "12345", {}, describe}};
    for (int i = 1; i < BLOCKS; ++i)
    {
        stored.push_back({std::to_string(i), "12345", {}, describe});
    }
    test::ContainerBytes content;
    content.record("first", stored);
    const std::uint64_t first = content.str().find("{\"DataField\":\"BinaryData\"");
    for (char session = 0; session < SESSIONS; ++session)
    {
        content.record("t", {},
                       [&](Properties& tag)
                       {
                           tag.set("SessionID", std::string(1, static_cast<char>('A' + session)),
                                   Properties::Overwrite);
                           test::position("BinaryData", first)(tag);
                       });
    }
    writer.close();
    std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << content.str();
    ASSERT_EQ(writer.open(path, true, false), FileIoStatus::Success);
    Scene scene("N_1");
    scene.with(array);
    add(writer, scene, "s");
    add(writer, scene, std::string(1, 'A' + SESSIONS - 1)); // the last of too many
    const auto found = blocks();
    ASSERT_EQ(found.size(), std::size_t{BLOCKS + 2});
    EXPECT_EQ(found[BLOCKS].getString("FilePos"), found[0].getString("FilePos"));
    EXPECT_NE(found[BLOCKS + 1].getString("FilePos"), found[0].getString("FilePos"));
}

TEST_F(WriterTransactionTest, aFullDiskCostsOnlyTheRecordThatDidNotFit)
{
    Scene small, large("SceneNode_2");
    small.with(floats("T", {1, 2, 3}));
    add(writer, small);
    const std::string before = bytes();
    std::vector<double> values;
    for (int i = 1; i <= 100000; ++i)
    {
        values.push_back(1.0 / i);
    }
    large.with(arrayOf(VTK_DOUBLE, "large", 1, values));

    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tight{before.size() + 4096, old.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &tight);
    int index = 0;
    const std::string message = stderrOf([&] { index = add(writer, large); });
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, handler);

    EXPECT_EQ(index, -1);
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_THAT(message, HasSubstr("file.sce failed"));
    EXPECT_EQ(bytes(), before);
    EXPECT_EQ(writer.addThumbnail(0, tsg::Bitmap<3>()), FileIoStatus::NotOpen);
    writer.close();
    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    EXPECT_FALSE(writer.hasFailed());
    EXPECT_EQ(add(writer, small), 1);
    EXPECT_EQ(records().size(), 2U);
}

TEST_F(WriterTransactionTest, appendingToAnyPrefixIsReadableOrRefusedAndUnchanged)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    add(writer, scene);
    add(writer, scene, "other");
    writer.close();
    const std::string whole = bytes();
    const std::uint64_t secondRecord = sdb::hexFromProp(records().at(1), "FilePos");
    const auto appendTo = [&](const std::string& prefix)
    {
        replaceBytes(prefix);
        SDBWriter appender;
        const FileIoStatus status = appender.open(path, true, true);
        EXPECT_EQ(bytes(), prefix) << "opening changes nothing";
        if (status == FileIoStatus::Success)
        {
            add(appender, scene, "new");
            ASSERT_EQ(records().size(), prefix.size() < secondRecord ? 1U : 2U) << prefix.size();
            EXPECT_EQ(records().back().getString("SessionID"), "new") << prefix.size();
        }
    };
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        stderrOf([&] { appendTo(whole.substr(0, length)); });
    }
}

} // namespace
