#include "scenegraph/io/SDBWriter.h"

#include "support/ContainerBytes.h"
#include "support/FileSizeLimit.h"
#include "support/WriterFixture.h"

#include <thread>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

using WriterTransactionTest = WriterTest;

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

TEST_F(WriterTransactionTest, progressComesByBytesAndWhateverItThrowsTakesTheRecordBack)
{
    Scene scene;
    scene.with(counting(VTK_DOUBLE, "large", 1 << 20, 1)).with(triangle());
    Percentages progress("Writing record");
    int limit = 101;
    progress.onUpdate = [&]
    {
        if (progress.values.back() >= limit)
        {
            throw std::runtime_error("stop");
        }
    };
    writer.attach(progress);
    EXPECT_EQ(add(writer, scene), 0);
    EXPECT_THAT(progress.values, ElementsAre(0, 12, 24, 37, 49, 62, 74, 87, 99, 100));
    const std::string before = bytes();
    for (const int percentage : {0, 49, 100})
    {
        limit = percentage;
        EXPECT_THROW(add(writer, scene, "other"), std::runtime_error);
        EXPECT_EQ(bytes(), before);
        EXPECT_FALSE(writer.hasFailed());
    }
    writer.detach(progress);
    int checks = 0;
    writer.setStopCheck(
        [&]
        {
            if (++checks == 5)
            {
                throw std::runtime_error("stop");
            }
        });
    EXPECT_THROW(add(writer, scene, "other"), std::runtime_error);
    EXPECT_EQ(bytes(), before);
    writer.setStopCheck({});
    EXPECT_EQ(add(writer, scene, "other"), 1);
    EXPECT_EQ(load(1)->arrays.size(), 1U);
}

TEST_F(WriterTransactionTest, whatWasAddedSinceOpeningCanBeTakenBack)
{
    Scene scene;
    scene.with(triangle());
    add(writer, scene);
    writer.close();
    const std::string before = bytes();
    EXPECT_FALSE(writer.rollBack()) << "no file is open";

    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    add(writer, scene);
    add(writer, scene);
    EXPECT_TRUE(writer.rollBack());
    EXPECT_EQ(bytes(), before);

    writer.setAllOrNothing(true);
    ASSERT_EQ(writer.open(path, true, false), FileIoStatus::Success);
    add(writer, scene);
    {
        const FileSizeLimit limit(bytes().size() + 300);
        scene.with(counting(VTK_DOUBLE, "large", 1000, 1));
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(add(writer, scene), -1); }), HasSubstr("cut back to what it held before"));
    }
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(bytes(), before);
}

TEST_F(WriterTransactionTest, forgottenNodesAreNotRepeated)
{
    Scene second("SceneNode_2");
    {
        Scene first;
        add(writer, first);
        writer.forgetNodes();
    }
    add(writer, second);
    EXPECT_THAT(load(1)->calls, ElementsAre("node SceneNode_2"));
}

TEST_F(WriterTransactionTest, appendingRemembersNoMoreBlocksThanTheFileCanHold)
{
    constexpr int BLOCKS = 40;
    constexpr char SESSIONS = 50;
    const auto array = floats("shared", {1});
    std::vector<RawBlock> stored(BLOCKS, storedBlock(*array));
    for (int i = 1; i < BLOCKS; ++i)
    {
        stored[i].name = std::to_string(i);
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
    RawBlock otherName = storedBlock(*array), otherValue = storedBlock(*array);
    otherName.name = "1T";
    otherValue.payload.back() ^= 1;

    const struct
    {
        const char* nodeKey;
        RawBlock block;
        bool isUsed;
    } cases[] = {
        {"N_1", storedBlock(*array), true},
        {"N_1", otherValue, false}, // another process has the same stamp
        {"N_11", otherName, false}, // the same checksum: session, key and name run together
        {"N_1", storedBlock(*array, [](Properties& tag) { tag.set("DataType", VTK_INT, Properties::Overwrite); }),
         false},
        {"N_1", storedBlock(*array, [](Properties& tag) { tag.set("NumberOfTuples", 4, Properties::Overwrite); }),
         false},
        {"N_1", storedBlock(*array, position("FilePos", 0)), false},
        {"N_1", storedBlock(*array, position("Length", 0)), false},
        {"N_1", storedBlock(*array, position("Length", 1 << 20)), false},
        {"N_1", storedBlock(*array, position("FilePos", ~std::uint64_t{0})), false},
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
