#include "scenegraph/io/SDBWriter.h"

#include "scenegraph/io/SDBReader.h"
#include "support/ContainerBytes.h"
#include "support/DatasetBlocks.h"
#include "support/RecordingStream.h"
#include "support/Scenes.h"
#include "support/Testing.h"
#include "support/WriterFixture.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// What nodes do to the addition that asks them, and which data an addition may refer to.
/// The payload of an array of floats.
std::string payload(const std::vector<float>& values)
{
    std::string bytes = block(values);
    bytes.pop_back(); // the line feed
    return bytes;
}

class WriterTransactionTest : public WriterTest
{
};

/// A scene that does something at one of the moments at which a writer asks it for something.
class Actor : public Scene
{
public:
    enum Moment
    {
        References,
        Versions,
        PropertyPass,
        BinaryPass,
        Never
    };

    explicit Actor(SDBWriter& target, const std::string& key = "SceneNode_0")
        : Scene(key)
        , _target(target)
    {
        afterSerialize = [this](tsg::NodeStream&) { actAt(_target.getExportBinaryData() ? BinaryPass : PropertyPass); };
    }

    void collectReferences(std::unordered_set<tsg::Ptr<tsg::Node>>& references) const override
    {
        Scene::collectReferences(references);
        actAt(References);
    }

    void addClassVersion(ClassVersions& versions) const override
    {
        Scene::addClassVersion(versions);
        actAt(Versions);
    }

    Moment moment = Never;
    std::function<void()> action;

private:
    void actAt(Moment now) const
    {
        if (now == moment)
        {
            action();
        }
    }

    SDBWriter& _target;
};

TEST_F(WriterTransactionTest, anExceptionLeavesNoRecordAndNoStoredData)
{
    Scene good;
    good.with(floats("T", {1, 2, 3}));
    const auto array = floats("U", {1});
    for (const Actor::Moment moment : {Actor::References, Actor::Versions, Actor::PropertyPass, Actor::BinaryPass})
    {
        for (const bool thumbnailNext : {false, true})
        {
            SCOPED_TRACE(moment);
            writer.close();
            SDBWriter written;
            ASSERT_EQ(written.open(path, false, true), FileIoStatus::Success);
            add(written, good);
            const std::string before = bytes();
            Actor bad(written); // written before the other node
            bad.with(array);
            bad.moment = moment;
            bad.action = [] { throw std::runtime_error("node"); };
            EXPECT_THROW(add(written, bad), std::runtime_error);
            EXPECT_EQ(written.getExportBinaryData(), moment == Actor::BinaryPass);
            EXPECT_FALSE(written.hasFailed());
            EXPECT_EQ(records().size(), 1U);
            if (thumbnailNext)
            {
                EXPECT_EQ(written.addThumbnail(0, tsg::Bitmap<3>()), FileIoStatus::Success);
                EXPECT_EQ(bytes().compare(0, before.size(), before), 0);
                EXPECT_LT(bytes().size(), before.size() + 200) << "the unfinished record is gone";
            }
            bad.moment = Actor::Never;
            EXPECT_EQ(add(written, good), 1);
            // A node that was collected stays with the writer, and is written with its data, which is in no file yet.
            const std::size_t arrays = moment == Actor::References ? 1 : 2;
            EXPECT_EQ(load(1)->arrays.size(), arrays);
            EXPECT_EQ(blocks().size(), 1 + arrays) << "the pass of the properties wrote no data";
            EXPECT_EQ(reader.getThumbnails().size(), thumbnailNext ? 1U : 0U);
        }
    }
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
        for (const Actor::Moment moment : {Actor::Versions, Actor::PropertyPass, Actor::BinaryPass})
        {
            SCOPED_TRACE(std::string(test.name) + " at moment " + std::to_string(moment));
            writer.close();
            SDBWriter written;
            ASSERT_EQ(written.open(other, false, false), FileIoStatus::Success);
            add(written, quiet);
            const std::string otherBytes = bytesOf(directory.file("other.sce").narrow);
            written = SDBWriter();
            ASSERT_EQ(written.open(path, false, false), FileIoStatus::Success);
            add(written, quiet);
            Actor caller(written, "SceneNode_1");
            caller.addChild(quiet);
            caller.moment = moment;
            caller.action = [&] { test.call(written); };
            add(written, caller);
            EXPECT_EQ(written.hasFailed(), test.records == 1);
            EXPECT_EQ(bytesOf(directory.file("other.sce").narrow), otherBytes);
            caller.moment = Actor::Never;
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

TEST_F(WriterTransactionTest, nodesMayCallTheWriterBackWhileTheyAreCollected)
{
    Actor caller(writer);
    Scene inner("SceneNode_2");
    caller.moment = Actor::References;
    caller.action = [&]
    {
        caller.moment = Actor::Never;
        EXPECT_EQ(add(writer, inner), 0);
    };
    EXPECT_EQ(add(writer, caller), 1);
    EXPECT_EQ(load(0)->nodes.size(), 2U) << "the node that was met already is written as well";

    Actor closer(writer, "SceneNode_3");
    closer.moment = Actor::References;
    closer.action = [&] { writer.close(); };
    int index = 7;
    EXPECT_EQ(writer.addRecord("t", "d", "s", closer, index), FileIoStatus::NotOpen);
    EXPECT_EQ(index, 7);
    EXPECT_EQ(records().size(), 2U);
}

TEST_F(WriterTransactionTest, textsThatANodeChangesAreWrittenAsTheyWereGiven)
{
    std::string title = "t", description = "d", session = "s";
    Actor scene(writer);
    scene.with(floats("T", {1, 2, 3}));
    scene.moment = Actor::BinaryPass;
    scene.action = [&] { title = description = session = std::string(300, 'x'); };
    int index = -1;
    EXPECT_EQ(writer.addRecord(title, description, session, scene, index), FileIoStatus::Success);
    EXPECT_EQ(load(index)->calls.size(), 2U);
    const Properties& header = reader.getRecords().at(0);
    EXPECT_EQ(header.getString("Title") + header.getString("Description") + header.getString("SessionID"), "tds");
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
    std::vector<test::RawBlock> stored{{"shared", payload({1}), {}, describe}};
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

TEST_F(WriterTransactionTest, onlyAWholeBlockOfTheSameOwnerIsUsedAgain)
{
    const auto array = floats("T", {1, 2, 3});
    const auto stored = [&](const std::string& name, const Edit& change, const std::string& values = payload({1, 2, 3}))
    {
        RawBlock block{name, values};
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
        {"N_1",
         stored(
             "T", [](Properties&) {}, payload({1, 2, 4})),
         false},                                           // another process has the same stamp
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

} // namespace
