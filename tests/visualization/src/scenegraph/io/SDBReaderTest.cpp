#include "scenegraph/io/SDBReader.h"

#include "core/Error.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/io/SDBWriter.h"
#include "support/RecordingStream.h"
#include "support/Scenes.h"
#include "support/TemporaryDirectory.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <vtkPolyData.h>

namespace
{

using test::add;
using test::floats;
using test::RecordingStream;
using test::Scene;
using test::triangle;
using tsg::ISDBReader;
using tsg::SDBReader;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

/// Keeps VTK's own messages off for as long as it lives.
class VtkQuiet
{
public:
    VtkQuiet() { vtkObject::GlobalWarningDisplayOff(); }

    ~VtkQuiet() { vtkObject::GlobalWarningDisplayOn(); }
};

/// Collects the percentages of a reader's progress.
class Percentages : public Observer
{
public:
    void update(const Properties& event) override
    {
        EXPECT_EQ(event.getString("Message"), "Loading record");
        values.push_back(event.getInt("PercentComplete"));
    }

    std::vector<int> values;
};

class SDBReaderTest : public testing::Test
{
protected:
    /// Writes one record of each scene, in one session.
    void write(std::initializer_list<Scene*> scenes)
    {
        SDBWriter writer;
        ASSERT_EQ(writer.open(path, false, true), FileIoStatus::Success);
        for (Scene* scene : scenes)
        {
            add(writer, *scene);
        }
    }

    /// Replaces the file by a header and the given record content.
    void writeRaw(const std::string& content)
    {
        std::ofstream out(directory.file("file.sce").narrow, std::ios::binary);
        sdb::writeHeader(out);
        out << content;
    }

    std::string bytes() const
    {
        std::ifstream in(directory.file("file.sce").narrow, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    /// Changes the first occurrence of a text in the file to one of the same length.
    void patch(const std::string& from, const std::string& to)
    {
        std::string content = bytes();
        ASSERT_EQ(from.size(), to.size());
        content.replace(content.find(from), from.size(), to);
        std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << content;
    }

    test::TemporaryDirectory directory;
    const std::wstring path = directory.file("file.sce").wide;
    SDBReader reader;
    RecordingStream stream;
};

TEST_F(SDBReaderTest, openTellsWhatIsWrongAndKeepsTheListsOfTheLastFile)
{
    Scene scene;
    write({&scene});
    ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    EXPECT_EQ(reader.getCanvasInfo().releaseNumber, "1.0.0");
    std::ofstream(directory.file("empty").narrow);
    std::ofstream(directory.file("text").narrow) << "a text\n{}";
    const std::pair<const char*, FileIoStatus> files[] = {{"missing", FileIoStatus::FileNotFound},
                                                          {".", FileIoStatus::FileNotFound},
                                                          {"empty", FileIoStatus::WrongFormat},
                                                          {"text", FileIoStatus::WrongFormat}};
    for (const auto& [name, status] : files)
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(reader.open(directory.file(name).wide), status) << name;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  status == FileIoStatus::WrongFormat ? "Wrong file format\n" : "");
        EXPECT_EQ(reader.getRecords().size(), 1U);
        EXPECT_TRUE(reader.isOpen());
    }
    EXPECT_FALSE(reader.loadRecord(0, stream)) << "the file is closed";
    writeRaw("");
    ASSERT_EQ(reader.open(path), FileIoStatus::Success);
    EXPECT_FALSE(reader.isOpen());
}

TEST_F(SDBReaderTest, aStrayTagEndsTheIndexButWhatCameBeforeLoads)
{
    Scene scene;
    write({&scene});
    std::ofstream(directory.file("file.sce").narrow, std::ios::app) << "{X=1}";
    EXPECT_THROW(reader.open(path), InternalError);
    ASSERT_EQ(reader.getRecords().size(), 1U);
    EXPECT_TRUE(reader.loadRecord(0, stream));
    EXPECT_EQ(stream.calls, (std::vector<std::string>{"node SceneNode_1"}));
}

TEST_F(SDBReaderTest, indexesAndForeignHeadersAreRefused)
{
    Scene scene;
    write({&scene});
    reader.open(path);
    Percentages progress;
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
    const auto load = [&](int version, const std::string& rootKey)
    {
        std::ostringstream header;
        sdb::writeHeader(header);
        Properties record;
        record.set("DataField", "Header");
        record.set("Version", version);
        record.set("RootNodeKey", rootKey);
        char position[17];
        std::snprintf(position, sizeof position, "%016zx", header.str().size());
        record.set("FilePos", position);
        record.set("Length", "0000000000001000");
        record.set("BinaryData", "0000000000001000");
        writeRaw(record.toString() + nodes + std::string(0x1000, ' '));
        EXPECT_EQ(reader.open(path), FileIoStatus::Success);
        EXPECT_TRUE(reader.loadRecord(0, stream));
        return reader.getCanvasInfo().name;
    };
    EXPECT_EQ(load(1, ""), "b");
    EXPECT_EQ(load(2, "SceneNode_1"), "a");
    EXPECT_EQ(reader.getCanvasInfo().type, ISDBReader::SceneCanvas);
    EXPECT_EQ(load(2, "ChartCanvasCollection"), "");
    EXPECT_EQ(reader.getCanvasInfo().type, ISDBReader::ChartCanvas);
    testing::internal::CaptureStderr();
    load(3, "SceneNode_1");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unsupported SDB::Writer version: 3\n");
}

TEST_F(SDBReaderTest, progressComesInStepsOfFivePercent)
{
    Scene scene;
    std::vector<std::unique_ptr<Scene>> children;
    for (int i = 2; i < 60; ++i)
    {
        children.push_back(std::make_unique<Scene>("SceneNode_" + std::to_string(i)));
        scene.addChild(*children.back());
    }
    write({&scene});
    reader.open(path);
    Percentages progress;
    reader.attach(progress);
    ASSERT_TRUE(reader.loadRecord(0, stream));
    ASSERT_GE(progress.values.size(), 3U);
    EXPECT_LE(progress.values.size(), 21U);
    EXPECT_EQ(progress.values.front(), 0);
    EXPECT_EQ(progress.values.back(), 100);
    for (std::size_t i = 1; i < progress.values.size(); ++i)
    {
        EXPECT_GT(progress.values[i] / 5, progress.values[i - 1] / 5);
    }
}

TEST_F(SDBReaderTest, throwingIsHowALoadIsCancelled)
{
    Scene scene;
    scene.with(triangle());
    write({&scene});
    reader.open(path);
    stream.onCall = [] { throw std::runtime_error("cancel"); };
    EXPECT_THROW(reader.loadRecord(0, stream), std::runtime_error);
    stream.onCall = nullptr;
    EXPECT_TRUE(reader.loadRecord(0, stream));
    EXPECT_EQ(stream.polys.size(), 1U);
    stream.onCall = [&] { reader.open(path); }; // a mistake of the caller, but no use of what was freed
    reader.loadRecord(reader.getRecords()[0], stream);
    stream.onCall = [&] { reader.close(); };
    reader.loadRecord(0, stream);
}

TEST_F(SDBReaderTest, damagedBlocksEndTheLoadWithAMessage)
{
    struct Damage
    {
        const char* from;
        const char* to;
        const char* message;
    };

    const char* const noArray = "Can't load data array from input stream\n";
    const char* const noPolys = "Can't load polydata from input stream\n";
    const Damage damages[] = {
        {R"("DataType":10)", R"("DataType":13)", noArray},
        {R"("DataType":10)", R"("DataType":99)", noArray},
        {"\x78\x9c", "\x79\x9c", noArray}, // the beginning of a zlib stream
        {"# vtk DataFile", "# vtk damaged!", noPolys},
        {"DATASET POLYDATA", "DATASET POLYGONS", noPolys},
    };
    const VtkQuiet quiet;
    for (const Damage& damage : damages)
    {
        Scene scene;
        scene.with(floats("T", {1, 2, 3})).with(triangle());
        write({&scene});
        patch(damage.from, damage.to);
        ASSERT_EQ(reader.open(path), FileIoStatus::Success);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(reader.loadRecord(0, stream)) << damage.to;
        const std::string messages = testing::internal::GetCapturedStderr();
        EXPECT_NE(messages.find(damage.message), std::string::npos) << damage.to << ": " << messages;
    }
    Scene scene;
    scene.with(floats("T", {1, 2, 3}));
    write({&scene});
    patch(R"("NumberOfTuples":3)", R"("NumberOfTuples":9)"); // a block shorter than its array: the rest is zero
    reader.open(path);
    EXPECT_TRUE(reader.loadRecord(0, stream));
    EXPECT_EQ(stream.arrays.at("point SceneNode_1/T")->GetComponent(8, 0), 0);
    patch(R"("Tag":1)", R"("Tag":9)");
    reader.open(path);
    EXPECT_THROW(reader.loadRecord(0, stream), InternalError);
}

TEST_F(SDBReaderTest, everyPrefixLoadsWhatIsThere)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    write({&scene, &scene});
    const std::string whole = bytes();
    const VtkQuiet quiet;
    testing::internal::CaptureStderr();
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        std::filesystem::remove(directory.file("file.sce").narrow); // cheaper than cutting it
        std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << whole.substr(0, length);
        SDBReader cut;
        if (cut.open(path) == FileIoStatus::Success)
        {
            for (std::size_t record = 0; record < cut.getRecords().size(); ++record)
            {
                RecordingStream received;
                cut.loadRecord(static_cast<int>(record), received);
                for (const auto& [key, polys] : received.polys)
                {
                    EXPECT_EQ(polys->GetNumberOfPoints(), 3) << length;
                }
            }
        }
    }
    testing::internal::GetCapturedStderr();
}

} // namespace
