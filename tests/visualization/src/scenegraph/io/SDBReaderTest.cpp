#include "scenegraph/io/SDBReader.h"

#include "core/Error.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/io/SDBWriter.h"
#include "scenegraph/io/detail/Positions.h"
#include "support/RecordingStream.h"
#include "support/Scenes.h"
#include "support/TemporaryDirectory.h"
#include "support/TouchEverything.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <vtkNew.h>
#include <vtkPointData.h>
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

    /// Replaces the file by one record with the given tags behind its header, and a length of at least that. Answers
    /// with the length of the record header.
    std::size_t writeRecord(int version, const std::string& rootKey, const std::string& tags, std::uint64_t length)
    {
        std::ostringstream fileHeader;
        sdb::writeHeader(fileHeader);
        Properties record;
        record.set("DataField", "Header");
        record.set("Version", version);
        record.set("RootNodeKey", rootKey);
        record.set("FilePos", sdb::detail::hexPosition(fileHeader.str().size()));
        record.set("Length", sdb::detail::hexPosition(length));
        record.set("BinaryData", sdb::detail::hexPosition(length));
        writeRaw(record.toString() + tags);
        return record.toString().size();
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
        writeRecord(version, rootKey, nodes + std::string(0x1000, ' '), 0x1000);
        EXPECT_EQ(reader.open(path), FileIoStatus::Success);
        EXPECT_TRUE(reader.loadRecord(0, stream));
        return reader.getCanvasInfo().name;
    };
    EXPECT_EQ(load(1, ""), "b");
    EXPECT_EQ(load(2, "SceneNode_1"), "a");
    EXPECT_EQ(reader.getCanvasInfo().type, ISDBReader::SceneCanvas);
    EXPECT_EQ(load(2, "ChartCanvasCollection"), "");
    EXPECT_EQ(reader.getCanvasInfo().type, ISDBReader::ChartCanvas);
    EXPECT_EQ(load(1, "ChartCanvasCollection_1"), "b") << "a root key of that version is not looked at";
    EXPECT_EQ(load(2, "Other_SceneNode_1"), "");
    EXPECT_EQ(reader.getCanvasInfo().type, ISDBReader::UnknownCanvas);
    testing::internal::CaptureStderr();
    load(3, "SceneNode_1");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Unsupported SDB::Writer version: 3\n");
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
    Percentages progress;
    reader.attach(progress);
    ASSERT_TRUE(reader.loadRecord(0, stream));
    EXPECT_EQ(progress.values,
              (std::vector<int>{0, 6, 12, 15, 21, 27, 30, 36, 42, 45, 51, 57, 60, 66, 72, 75, 81, 87, 90, 96, 100}));
}

TEST_F(SDBReaderTest, aLoadGoesAsFarAsThereAreTags)
{
    int posts = 0;
    stream.registry.setPostUpgradeStep([&](const ClassVersions& versions)
                                       { posts += versions.getClassVersion("A") == 2 ? 1 : 0; });
    const std::string versions = R"({"DataField":"ClassVersions","Versions":{"A":2}})";
    writeRecord(2, "A_1",
                versions + R"({"DataField":"No)"
                           "\n"
                           R"(de"}{"DataField":"Node","ObjectKey":"A_2"}{"cut)",
                0x1000);
    reader.open(path);
    Percentages progress;
    reader.attach(progress);
    Properties header = reader.getRecords().at(0);
    const auto load = [&](const char* key, const char* value)
    {
        header.set(key, value, Properties::Overwrite);
        stream.calls.clear();
        progress.values.clear();
        EXPECT_TRUE(reader.loadRecord(header, stream)) << key << value;
        return stream.calls.size();
    };
    EXPECT_EQ(load("Length", "0000000000001000"), 1U) << "over a broken tag to the one behind it, up to the cut one";
    EXPECT_EQ(stream.nodes.count("A_2"), 1U);
    EXPECT_EQ(load("Length", "0000000000000000"), 0U);
    EXPECT_EQ(progress.values, std::vector<int>{0});
    EXPECT_EQ(load("FilePos", "7fffffffffffffff"), 0U);
    EXPECT_EQ(load("FilePos", "ffffffffffffffff"), 0U);
    EXPECT_EQ(progress.values, std::vector<int>{0});
    EXPECT_EQ(posts, 4);
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

TEST_F(SDBReaderTest, countsOfAnArrayWrapButNeverExceedItsMemory)
{
    struct Shape
    {
        int components;
        int tuples;
        int type;
        int values; ///< of the loaded array; -1 for none
    };

    const Shape shapes[] = {{3, 1, VTK_FLOAT, 3},
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
                            {1, 5, VTK_FLOAT, -1}};
    for (const Shape& shape : shapes)
    {
        const auto tagAt = [&](std::uint64_t payload)
        {
            Properties tag(R"({"DataField":"BinaryData","ObjectKey":"A_1","Tag":1,"Name":"T"})");
            tag.set("FilePos", sdb::detail::hexPosition(payload));
            tag.set("NumberOfComponents", shape.components);
            tag.set("NumberOfTuples", shape.tuples);
            tag.set("DataType", shape.type);
            return tag.toString();
        };
        writeRecord(2, "A_1", tagAt(0), 0x1000);
        writeRecord(2, "A_1", tagAt(bytes().size()) + std::string(17, '\0'), 0x1000); // an uncompressed block
        reader.open(path);
        stream.arrays.clear();
        testing::internal::CaptureStderr();
        EXPECT_EQ(reader.loadRecord(0, stream), shape.values >= 0);
        testing::internal::GetCapturedStderr();
        ASSERT_EQ(stream.arrays.size(), shape.values >= 0 ? 1U : 0U) << shape.components << " x " << shape.tuples;
        for (const auto& [name, array] : stream.arrays)
        {
            EXPECT_EQ(array->GetNumberOfValues(), shape.values);
            EXPECT_EQ(array->GetNumberOfComponents(), std::max(shape.components, 1));
            vtkNew<vtkPolyData> holder;
            holder->GetPointData()->AddArray(array);
            test::touchEverything(*holder);
        }
    }
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
