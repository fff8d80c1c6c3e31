#include "scenegraph/io/SDBWriter.h"

#include "scenegraph/io/SDBReader.h"
#include "support/ContainerBytes.h"
#include "support/FileSizeLimit.h"
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
#include <thread>
#include <unordered_set>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// Additions that fail half-way, and files that such additions have left.
class WriterTransactionTest : public WriterTest
{
};

/// A scene that throws wherever it is told to while it is written.
class Thrower : public Scene
{
public:
    enum Place
    {
        References,
        Versions,
        PropertyPass,
        BinaryPass,
        Nowhere
    };

    explicit Thrower(SDBWriter& target)
        : Scene("SceneNode_0") // written before the other node
        , _target(target)
    {
        afterSerialize = [this](tsg::NodeStream&)
        { throwAt(_target.getExportBinaryData() ? BinaryPass : PropertyPass); };
    }

    void collectReferences(std::unordered_set<tsg::Ptr<tsg::Node>>&) const override { throwAt(References); }

    void addClassVersion(ClassVersions&) const override { throwAt(Versions); }

    Place place = Nowhere;

private:
    void throwAt(Place here) const
    {
        if (here == place)
        {
            throw std::runtime_error("node");
        }
    }

    SDBWriter& _target;
};

TEST_F(WriterTransactionTest, anExceptionLeavesNoRecordAndNoStoredData)
{
    Scene good;
    good.with(floats("T", {1, 2, 3}));
    const auto array = floats("U", {1});
    for (const Thrower::Place place :
         {Thrower::References, Thrower::Versions, Thrower::PropertyPass, Thrower::BinaryPass})
    {
        for (const bool thumbnailNext : {false, true})
        {
            SCOPED_TRACE(place);
            SDBWriter written;
            ASSERT_EQ(written.open(path, false, true), FileIoStatus::Success);
            add(written, good);
            const std::string before = bytes();
            Thrower bad(written);
            bad.with(array);
            bad.place = place;
            EXPECT_THROW(add(written, bad), std::runtime_error);
            EXPECT_EQ(written.getExportBinaryData(), place == Thrower::BinaryPass);
            EXPECT_FALSE(written.hasFailed());
            EXPECT_EQ(records().size(), 1U);
            if (thumbnailNext)
            {
                EXPECT_EQ(written.addThumbnail(0, tsg::Bitmap<3>()), FileIoStatus::Success);
                EXPECT_EQ(bytes().compare(0, before.size(), before), 0);
                EXPECT_LT(bytes().size(), before.size() + 200) << "the unfinished record is gone";
            }
            bad.place = Thrower::Nowhere;
            EXPECT_EQ(add(written, good), 1);
            // A node that was collected stays with the writer, and is written with its data, which is in no file yet.
            EXPECT_EQ(load(1)->arrays.size(), place == Thrower::References ? 1U : 2U);
            EXPECT_EQ(reader.getThumbnails().size(), thumbnailNext ? 1U : 0U);
        }
    }
}

TEST_F(WriterTransactionTest, aKilledProcessLosesNoAcknowledgedRecord)
{
    Scene scene;
    scene.with(floats("T", {1, 2, 3}));
    for (const bool inBinaryPass : {false, true})
    {
        writer.close();
        const pid_t child = fork();
        if (child == 0)
        {
            SDBWriter written;
            written.open(path, false, true);
            add(written, scene);
            Scene last("SceneNode_2");
            last.afterSerialize = [&](tsg::NodeStream&)
            {
                if (written.getExportBinaryData() == inBinaryPass)
                {
                    raise(SIGKILL);
                }
            };
            add(written, last);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(load(0)->arrays.size(), 1U);
        EXPECT_EQ(reader.getRecords().size(), 1U);
        ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
        EXPECT_EQ(add(writer, scene), 1);
        EXPECT_EQ(load(1)->arrays.size(), 1U);
        EXPECT_THAT(payloads(), ElementsAre(0, 0));
    }
}

TEST_F(WriterTransactionTest, readersMayComeAtAnyMoment)
{
    Scene scene;
    scene.with(floats("T", {1, 2, 3}));
    add(writer, scene);
    int visits = 0;
    scene.afterSerialize = [&](tsg::NodeStream&)
    {
        EXPECT_EQ(load(0)->arrays.size(), 1U);
        EXPECT_EQ(reader.getRecords().size(), 1U);
        ++visits;
    };
    add(writer, scene);
    EXPECT_EQ(visits, 2);
    scene.afterSerialize = nullptr;
    EXPECT_EQ(records().size(), 2U);
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

TEST_F(WriterTransactionTest, aFullDiskCostsOnlyTheItemThatDidNotFit)
{
    Scene small, large("SceneNode_2");
    small.with(floats("T", {1, 2, 3}));
    large.with(floats("large", std::vector<double>(5000, 1.5))); // more than a stream buffers
    tsg::Bitmap<3> picture;
    picture.resize(40, 30);
    add(writer, small);
    writer.close();
    const std::string before = bytes();

    const std::function<void(SDBWriter&)> additions[] = {
        [&](SDBWriter& target)
        {
            const int index = add(target, large);
            EXPECT_EQ(index, target.hasFailed() ? -1 : 1);
        },
        [&](SDBWriter& target) { EXPECT_EQ(target.addThumbnail(0, picture), FileIoStatus::Success); },
    };
    for (const auto& addition : additions)
    {
        bool hasFailed = true;
        for (std::size_t room = 0; hasFailed; room += room < 1500 ? 1 : 97)
        {
            replaceBytes(before);
            SDBWriter written;
            ASSERT_EQ(written.open(path, true, false), FileIoStatus::Success);
            std::string message;
            {
                const FileSizeLimit limit(before.size() + room);
                message = stderrOf([&] { addition(written); });
            }
            hasFailed = written.hasFailed();
            EXPECT_EQ(message.find("file.sce failed") != std::string::npos, hasFailed);
            if (hasFailed)
            {
                ASSERT_EQ(bytes(), before) << room;
                EXPECT_EQ(written.addThumbnail(0, picture), FileIoStatus::NotOpen);
            }
            else
            {
                EXPECT_LE(bytes().size(), before.size() + room);
            }
        }
    }
    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    EXPECT_EQ(add(writer, small), 1);
    EXPECT_EQ(records().size(), 2U);
}

TEST_F(WriterTransactionTest, onlyAWholeBlockOfTheSameOwnerIsUsedAgain)
{
    const auto array = floats("T", {1, 2, 3});
    const auto stored = [&](const std::string& name, const Edit& change)
    {
        RawBlock block{name, std::string(1, '\0') + std::string(12, 'x')};
        block.edit = [&array, change](Properties& tag)
        {
            tag.set("MTime", static_cast<std::int64_t>(array->GetMTime()));
            tag.set("NumberOfComponents", 1);
            tag.set("NumberOfTuples", 3);
            tag.set("DataType", VTK_FLOAT);
            change(tag);
        };
        return block;
    };

    const struct
    {
        const char* nodeKey;
        RawBlock block;
        bool isUsed;
    } cases[] = {
        {"N_1", stored("T", [](Properties&) {}), true},
        {"N_11", stored("1T", [](Properties&) {}), false}, // the same checksum: session, key and name run together
        {"N_1", stored("T", [](Properties& tag) { tag.set("DataType", VTK_INT, Properties::Overwrite); }), false},
        {"N_1", stored("T", [](Properties& tag) { tag.set("NumberOfTuples", 4, Properties::Overwrite); }), false},
        {"N_1", stored("T", position("FilePos", 0)), false},
        {"N_1", stored("T", position("Length", 0)), false},
        {"N_1", stored("T", position("Length", 1 << 20)), false},
        {"N_1", stored("T", position("FilePos", ~std::uint64_t{0})), false},
    };

    for (const auto& test : cases)
    {
        SCOPED_TRACE(&test - cases);
        writer.close();
        replaceBytes(ContainerBytes().record("t", {test.block}).str());
        ASSERT_EQ(writer.open(path, true, false), FileIoStatus::Success);
        Scene scene(test.nodeKey);
        scene.with(array);
        const std::uint64_t end = bytes().size();
        add(writer, scene);
        EXPECT_EQ(sdb::hexFromProp(blocks().back(), "FilePos") < end, test.isUsed);
    }
}

TEST_F(WriterTransactionTest, writersAndReadersOfTwoThreadsDoNotMeet)
{
    const auto work = [this](const std::string& name, const std::string& session)
    {
        const auto place = directory.file(name).wide;
        SDBWriter written;
        written.open(place, false, true);
        Scene scene;
        scene.with(triangle()).with(floats("T", std::vector<double>(500, 1.25)));
        for (int i = 0; i < 20; ++i)
        {
            scene.with(floats(std::to_string(i).c_str(), {1.0 * i}));
            add(written, scene, session);
        }
        written.close();
        tsg::SDBReader read;
        read.open(place);
        RecordingStream received;
        return read.loadRecord(19, received) ? received.calls : std::vector<std::string>{};
    };
    std::vector<std::string> here, there;
    std::thread other([&] { there = work("other.sce", "other"); });
    here = work("here.sce", "here");
    other.join();
    EXPECT_EQ(here.size(), 23U);
    EXPECT_EQ(there, here);
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
