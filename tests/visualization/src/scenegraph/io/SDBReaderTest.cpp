#include "scenegraph/io/SDBReader.h"

#include "core/Error.h"
#include "scenegraph/io/detail/Positions.h"
#include "support/LogCapture.h"
#include "support/Scenes.h"
#include "support/TouchEverything.h"

namespace
{

using namespace test;
using tsg::ISDBReader;
using tsg::SDBReader;
using tsg::io::FileIoStatus;

class SDBReaderTest : public SceneFileTest
{
protected:
    /// Writes one record of each scene, in one session.
    void write(std::initializer_list<Scene*> scenes)
    {
        tsg::SDBWriter writer;
        ASSERT_EQ(writer.open(path, false, true), FileIoStatus::Success);
        for (Scene* scene : scenes)
        {
            add(writer, *scene);
        }
    }

    /// Replaces the file by one record with the given tags behind its header, and a length of at least that. Answers
    /// with the length of the record header.
    std::size_t writeRecord(int version, const std::string& rootKey, const std::string& tags, std::uint64_t length)
    {
        std::ostringstream out;
        sdb::writeHeader(out);
        Properties record;
        record.set("DataField", "Header");
        record.set("Version", version);
        record.set("RootNodeKey", rootKey);
        record.set("FilePos", sdb::detail::hexPosition(out.str().size()));
        record.set("Length", sdb::detail::hexPosition(length));
        record.set("BinaryData", sdb::detail::hexPosition(length));
        replaceBytes(out.str() + record.toString() + tags);
        return record.toString().size();
    }

    /// Changes the first occurrence of a text in the file to one of the same length, and opens the file.
    void openPatched(const std::string& from, const std::string& to)
    {
        std::string content = bytes();
        ASSERT_EQ(from.size(), to.size());
        replaceBytes(content.replace(content.find(from), from.size(), to));
        ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    }
};

/// The same with VTK's own messages off.
class QuietSDBReaderTest : public SDBReaderTest
{
protected:
    void SetUp() override { vtkObject::GlobalWarningDisplayOff(); }

    void TearDown() override { vtkObject::GlobalWarningDisplayOn(); }
};

TEST_F(SDBReaderTest, openTellsWhatIsWrongAndKeepsTheListsOfTheLastFile)
{
    Scene scene;
    write({&scene});
    ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    EXPECT_EQ(reader.getCanvasInfo().releaseNumber, "1.0.0");
    writeBytes(directory.file("empty").narrow, "");
    writeBytes(directory.file("text").narrow, "a text\n{}");
    const std::pair<const char*, FileIoStatus> files[] = {{"missing", FileIoStatus::FileNotFound},
                                                          {".", FileIoStatus::FileNotFound},
                                                          {"empty", FileIoStatus::WrongFormat},
                                                          {"text", FileIoStatus::WrongFormat}};
    for (const auto& [name, status] : files)
    {
        FileIoStatus found{};
        const std::string messages = stderrOf([&, name = name] { found = reader.open(directory.file(name).wide); });
        EXPECT_EQ(found, status) << name;
        EXPECT_EQ(messages, status == FileIoStatus::WrongFormat ? "Wrong file format\n" : "");
        EXPECT_EQ(reader.getRecords().size(), 1U);
        EXPECT_TRUE(reader.isOpen());
    }
    EXPECT_FALSE(reader.loadRecord(0, stream)) << "the file is closed";
    write({});
    ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    EXPECT_FALSE(reader.isOpen());
}

TEST_F(SDBReaderTest, aStrayTagEndsTheIndexButWhatCameBeforeLoads)
{
    Scene scene;
    write({&scene});
    replaceBytes(bytes() + "{X=1}");
    EXPECT_THROW(reader.open(path), InternalError);
    ASSERT_EQ(reader.getRecords().size(), 1U);
    EXPECT_TRUE(reader.loadRecord(0, stream));
    EXPECT_THAT(stream.calls, ElementsAre("node SceneNode_1"));
}

TEST_F(SDBReaderTest, indexesAndForeignHeadersAreRefused)
{
    Scene scene;
    write({&scene});
    reader.open(path);
    Percentages progress("Loading record");
    reader.attach(progress);
    EXPECT_FALSE(reader.loadRecord(-1, stream));
    EXPECT_FALSE(reader.loadRecord(1, stream));
    EXPECT_FALSE(reader.loadRecord(Properties(R"({"DataField":"Node"})"), stream));
    EXPECT_TRUE(progress.values.empty() && stream.calls.empty());
    SDBReader fresh;
    tsg::Bitmap<3> bitmap;
    EXPECT_THROW(fresh.getThumbnailData(Properties(), bitmap), InternalError);
    EXPECT_EQ(fresh.getCanvasInfo().type, ISDBReader::UnknownCanvas);
    DeleteSBDReader(nullptr);
    DeleteSBDReader(NewSBDReader());
}

TEST_F(SDBReaderTest, nodesAreUpgradedAndLearnTheRelease)
{
    Scene scene;
    scene.setName("bridge");
    write({&scene});
    stream.registry.addUpgradeStep("SceneNode", 1, 7, [](Properties& properties) { properties.set("up", 1); });
    int posts = 0;
    stream.registry.setPostUpgradeStep([&](const ClassVersions& versions)
                                       { posts += versions.getClassVersion("SceneNode"); });
    reader.open(path);
    ASSERT_TRUE(reader.loadRecord(0, stream));
    EXPECT_EQ(stream.nodes["SceneNode_1"].toString(), R"({"Name":"bridge","FlowProductRelease":"1.0.0","up":1})");
    EXPECT_EQ(posts, 1);
    EXPECT_EQ(reader.getCanvasInfo().type, ISDBReader::SceneCanvas);
    EXPECT_EQ(reader.getCanvasInfo().name, "bridge");
    EXPECT_EQ(reader.getCanvasInfo().rootNodeKey, "SceneNode_1");
}

TEST_F(SDBReaderTest, recordVersionsDecideAboutTheRoot)
{
    const std::string nodes = R"({"DataField":"Node","ObjectKey":"SceneNode_1","Properties":{"Name":"a"}})"
                              R"({"DataField":"Node","ObjectKey":"SceneNode_2","Properties":{"Name":"b"}})";
    const std::tuple<int, const char*, const char*, ISDBReader::CanvasType> cases[] = {
        {1, "", "b", ISDBReader::SceneCanvas},
        {2, "SceneNode_1", "a", ISDBReader::SceneCanvas},
        {2, "ChartCanvasCollection", "", ISDBReader::ChartCanvas},
        {1, "ChartCanvasCollection_1", "b", ISDBReader::SceneCanvas}, // version 1 has no root key
        {2, "Other_SceneNode_1", "", ISDBReader::UnknownCanvas},
    };
    for (const auto& [version, rootKey, name, type] : cases)
    {
        writeRecord(version, rootKey, nodes + std::string(0x1000, ' '), 0x1000);
        EXPECT_EQ(reader.open(path), FileIoStatus::Success);
        EXPECT_TRUE(reader.loadRecord(0, stream));
        EXPECT_EQ(reader.getCanvasInfo().name, name) << rootKey;
        EXPECT_EQ(reader.getCanvasInfo().type, type) << rootKey;
    }
    writeRecord(3, "SceneNode_1", nodes, 0x1000);
    reader.open(path);
    EXPECT_EQ(stderrOf([&] { EXPECT_TRUE(reader.loadRecord(0, stream)); }), "Unsupported SDB::Writer version: 3\n");
}

TEST_F(SDBReaderTest, progressComesInStepsOfFivePercent)
{
    std::string tags;
    for (int i = 0; i < 33; ++i)
    {
        const std::string tag = R"({"DataField":"Other","Text":")";
        tags += tag + std::string(300 - tag.size() - 2, 'x') + "\"}";
    }
    const std::size_t header = writeRecord(2, "SceneNode_1", tags, 10000);
    ASSERT_LE(header, 300U);
    writeRecord(2, "SceneNode_1", tags.replace(0, 300, std::string(300 - header, ' ')), 9900); // header: first of 33
    reader.open(path);
    Percentages progress("Loading record");
    reader.attach(progress);
    ASSERT_TRUE(reader.loadRecord(0, stream));
    EXPECT_THAT(progress.values,
                ElementsAre(0, 6, 12, 15, 21, 27, 30, 36, 42, 45, 51, 57, 60, 66, 72, 75, 81, 87, 90, 96, 100));
}

TEST_F(SDBReaderTest, aLoadGoesAsFarAsThereAreTags)
{
    int posts = 0;
    stream.registry.setPostUpgradeStep([&](const ClassVersions& versions)
                                       { posts += versions.getClassVersion("A") == 2 ? 1 : 0; });
    writeRecord(2, "A_1",
                R"({"DataField":"ClassVersions","Versions":{"A":2}}{"DataField":"No)"
                "\n"
                R"(de"}{"DataField":"Node","ObjectKey":"A_2"}{"cut)",
                0x1000);
    reader.open(path);
    Percentages progress("Loading record");
    reader.attach(progress);
    Properties header = reader.getRecords().at(0);
    EXPECT_TRUE(reader.loadRecord(header, stream));
    EXPECT_THAT(stream.calls, ElementsAre("node A_2")) << "over a broken tag to the one behind it, up to the cut one";
    for (const auto& [key, value] :
         {std::pair("Length", "0000000000000000"), {"FilePos", "7fffffffffffffff"}, {"FilePos", "ffffffffffffffff"}})
    {
        header.set(key, value, Properties::Overwrite);
        progress.values.clear();
        EXPECT_TRUE(reader.loadRecord(header, stream)) << key << value;
        EXPECT_EQ(stream.calls.size(), 1U);
        EXPECT_THAT(progress.values, ElementsAre(0));
    }
    EXPECT_EQ(posts, 4);
}

TEST_F(SDBReaderTest, throwingIsHowALoadIsCancelled)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    write({&scene});
    reader.open(path);
    Percentages progress("Loading record");
    reader.attach(progress);
    int calls = 0;
    const auto throwInCall = [&](int call)
    {
        calls = 0;
        stream.onCall = progress.onUpdate = [&calls, call]
        {
            if (calls++ == call)
            {
                throw std::runtime_error("cancel");
            }
        };
    };
    throwInCall(-1);
    EXPECT_TRUE(reader.loadRecord(0, stream));
    const int all = calls;
    EXPECT_GE(all, 6) << "of the receiver and the observer";
    for (int call = 0; call < all; ++call)
    {
        throwInCall(call);
        EXPECT_THROW(reader.loadRecord(0, stream), std::runtime_error);
        throwInCall(-1);
        stream.calls.clear();
        EXPECT_TRUE(reader.loadRecord(0, stream)) << "after call " << call;
        EXPECT_THAT(stream.calls, ElementsAre("node SceneNode_1", "polys SceneNode_1", "point SceneNode_1/T"));
    }
}

TEST_F(SDBReaderTest, callingTheReaderFromACallbackIsAMistakeButUsesNothingThatWasFreed)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    write({&scene, &scene});
    const std::function<void()> mistakes[] = {
        [&] { reader.open(path); },
        [&] { reader.close(); },
        [&] { reader.loadRecord(1, stream); },
        [&] { reader.open(directory.file("missing").wide); },
    };
    Percentages progress("Loading record");
    reader.attach(progress);
    for (const auto& mistake : mistakes)
    {
        for (int call = 0; call < 6; ++call)
        {
            int calls = 0;
            ASSERT_EQ(reader.open(path), FileIoStatus::Success);
            stream.onCall = progress.onUpdate = [&]
            {
                if (calls++ == call)
                {
                    mistake();
                }
            };
            reader.loadRecord(reader.getRecords()[0], stream); // which open replaces
            stream.onCall = progress.onUpdate = nullptr;
            ASSERT_EQ(reader.open(path), FileIoStatus::Success);
            EXPECT_TRUE(reader.loadRecord(reader.getRecords()[1], stream));
        }
    }
}

TEST_F(QuietSDBReaderTest, damagedBlocksEndTheLoadWithAMessage)
{
    const char* const noArray = "Can't load data array from input stream\n";
    const char* const noPolys = "Can't load polydata from input stream\n";
    const std::tuple<const char*, const char*, const char*> damages[] = {
        {R"("DataType":10)", R"("DataType":13)", noArray},
        {R"("DataType":10)", R"("DataType":99)", noArray},
        {"\x78\x9c", "\x79\x9c", noArray}, // the beginning of a zlib stream
        {"# vtk DataFile", "# vtk damaged!", noPolys},
        {"DATASET POLYDATA", "DATASET POLYGONS", noPolys},
    };
    Scene scene;
    scene.with(floats("T", {1, 2, 3})).with(triangle());
    for (const auto& [from, to, message] : damages)
    {
        write({&scene});
        openPatched(from, to);
        bool loaded = true;
        EXPECT_THAT(stderrOf([&] { loaded = reader.loadRecord(0, stream); }), HasSubstr(message));
        EXPECT_FALSE(loaded) << to;
    }
    write({&scene});
    openPatched(R"("NumberOfTuples":3)", R"("NumberOfTuples":9)"); // a block shorter than its array: the rest is zero
    EXPECT_TRUE(reader.loadRecord(0, stream));
    EXPECT_THAT(valuesOf(stream.arrays.at("point SceneNode_1/T")), ElementsAre(1, 2, 3, 0, 0, 0, 0, 0, 0));
    openPatched(R"("Tag":1)", R"("Tag":9)");
    EXPECT_THROW(reader.loadRecord(0, stream), InternalError);
}

TEST_F(SDBReaderTest, countsOfAnArrayWrapButNeverExceedItsMemory)
{
    // values: of the loaded array; -1 for none
    const std::tuple<int, int, int, int> shapes[] = {
        {3, 1, VTK_FLOAT, 3},
        {4, 1073741825, VTK_FLOAT, 4},
        {65536, 65536, VTK_FLOAT, 0},
        {1, 1073741824, VTK_FLOAT, -1},
        {1, 1073741825, VTK_FLOAT, -1},
        {1, -3, VTK_FLOAT, -1},
        {-1, -3, VTK_FLOAT, -1},
        {2097152, 0, VTK_FLOAT, -1},
        {0, 5, VTK_FLOAT, 0},
        {1, 9, VTK_BIT, 9},
        {1, 3, VTK_LONG, 3},
        {1, 5, VTK_FLOAT, -1},
    };
    for (const auto& [components, tuples, type, values] : shapes)
    {
        SCOPED_TRACE(std::to_string(components) + " x " + std::to_string(tuples));
        Properties tag(R"({"DataField":"BinaryData","ObjectKey":"A_1","Tag":1,"Name":"T"})");
        tag.set("NumberOfComponents", components);
        tag.set("NumberOfTuples", tuples);
        tag.set("DataType", type);
        tag.set("FilePos", sdb::detail::hexPosition(0));
        writeRecord(2, "A_1", tag.toString(), 0x1000);
        tag.set("FilePos", sdb::detail::hexPosition(bytes().size()), Properties::Overwrite);
        writeRecord(2, "A_1", tag.toString() + std::string(17, '\0'), 0x1000); // an uncompressed block
        reader.open(path);
        stream.arrays.clear();
        stderrOf([&, loads = values >= 0] { EXPECT_EQ(reader.loadRecord(0, stream), loads); });
        ASSERT_EQ(stream.arrays.size(), values >= 0 ? 1U : 0U);
        for (const auto& [name, array] : stream.arrays)
        {
            EXPECT_EQ(array->GetNumberOfValues(), values);
            EXPECT_EQ(array->GetNumberOfComponents(), std::max(components, 1));
            const vtkNew<vtkPolyData> holder;
            holder->GetPointData()->AddArray(array);
            touchEverything(*holder);
        }
    }
}

TEST_F(QuietSDBReaderTest, everyPrefixLoadsWhatIsThere)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    write({&scene, &scene});
    const std::string whole = bytes();
    const auto loadAll = [&]
    {
        SDBReader cut;
        const bool isOpen = cut.open(path) == FileIoStatus::Success;
        for (std::size_t record = 0; isOpen && record < cut.getRecords().size(); ++record)
        {
            RecordingStream received;
            cut.loadRecord(static_cast<int>(record), received);
            for (const auto& [key, polys] : received.polys)
            {
                EXPECT_EQ(polys->GetNumberOfPoints(), 3) << bytes().size();
            }
        }
    };
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        replaceBytes(whole.substr(0, length));
        stderrOf(loadAll);
    }
}

} // namespace
