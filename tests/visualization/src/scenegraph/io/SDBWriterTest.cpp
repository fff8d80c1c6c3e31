#include "scenegraph/io/SDBWriter.h"

#include "core/Error.h"
#include "scenegraph/Attributes.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/io/SDBReader.h"
#include "support/ContainerBytes.h"
#include "support/RecordingStream.h"
#include "support/Scenes.h"
#include "support/TemporaryDirectory.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <vtkBitArray.h>
#include <vtkDoubleArray.h>
#include <vtkIdTypeArray.h>
#include <vtkPointData.h>

namespace
{

using test::add;
using test::floats;
using test::Scene;
using test::triangle;
using tsg::SDBReader;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

class SDBWriterTest : public testing::Test
{
protected:
    SDBWriterTest() { EXPECT_EQ(writer.open(path, false, true), FileIoStatus::Success); }

    std::string bytes() const
    {
        std::ifstream in(directory.file("file.sce").narrow, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    /// The binary data tags of the file in file order.
    std::vector<Properties> blocks() const
    {
        std::vector<Properties> found;
        const std::string content = bytes();
        for (std::size_t at = content.find("{\"DataField\":\"BinaryData\""); at != std::string::npos;
             at = content.find("{\"DataField\":\"BinaryData\"", at + 1))
        {
            found.emplace_back(content.substr(at, content.find('}', at) + 1 - at));
        }
        return found;
    }

    const std::vector<Properties>& records()
    {
        EXPECT_EQ(reader.open(path), FileIoStatus::Success);
        return reader.getRecords();
    }

    test::TemporaryDirectory directory;
    const std::wstring path = directory.file("file.sce").wide;
    SDBWriter writer;
    SDBReader reader;
};

TEST_F(SDBWriterTest, recordHeaderTellsWhereTheRecordAndItsDataAre)
{
    const std::string header = bytes();
    Scene scene;
    EXPECT_EQ(add(writer, scene), 0);
    const std::string content = bytes();
    const Properties record = records().at(0);
    EXPECT_EQ(record.names(), (std::vector<std::string>{"DataField", "Version", "SessionID", "RootNodeKey", "Title",
                                                        "Description", "Frame", "FilePos", "Length", "BinaryData"}));
    EXPECT_EQ(sdb::hexFromProp(record, "FilePos"), header.size());
    EXPECT_EQ(sdb::hexFromProp(record, "FilePos") + sdb::hexFromProp(record, "Length"), content.size());
    EXPECT_EQ(sdb::hexFromProp(record, "BinaryData"), content.size());
    EXPECT_EQ(record.getString("RootNodeKey"), "SceneNode_1");
    EXPECT_NE(content.find(R"({"DataField":"ClassVersions","Versions":{"SceneNode":)"), std::string::npos);
    EXPECT_NE(content.find(R"({"DataField":"Node","ObjectKey":"SceneNode_1","Properties":{}})"), std::string::npos);
}

TEST_F(SDBWriterTest, framesCountTheRecordsOfASessionAndTitle)
{
    Scene scene;
    const std::pair<const char*, const char*> owners[] = {{"s", "t"}, {"s", "t"}, {"s", "u"}, {"r", "t"}, {"s", "t"}};
    for (const auto& [session, title] : owners)
    {
        add(writer, scene, session, title);
    }
    writer.close();
    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    EXPECT_EQ(add(writer, scene, "s", "t"), 5);
    std::vector<int> frames;
    for (const Properties& record : records())
    {
        frames.push_back(record.getInt("Frame"));
    }
    EXPECT_EQ(frames, (std::vector<int>{0, 1, 0, 0, 2, 3}));
}

TEST_F(SDBWriterTest, unchangedDataOfASessionIsStoredOnce)
{
    const auto polys = triangle();
    const auto array = floats("T", {1, 2, 3});
    Scene scene;
    scene.with(polys).with(array);
    add(writer, scene);
    add(writer, scene);
    array->Modified();
    add(writer, scene);
    add(writer, scene, "other session");
    const auto found = blocks();
    ASSERT_EQ(found.size(), 8U);
    const auto position = [&](int block) { return found[static_cast<std::size_t>(block)].getString("FilePos"); };
    EXPECT_EQ(position(2), position(0));
    EXPECT_EQ(position(3), position(1));
    EXPECT_EQ(position(4), position(0));
    EXPECT_NE(position(5), position(1));
    EXPECT_NE(position(6), position(0));
    EXPECT_NE(position(7), position(5));
    EXPECT_EQ(found[1].names().back(), "DataType");
    EXPECT_EQ(found[3].names().back(), "NumberOfTuples");
    for (int record = 0; record < 4; ++record)
    {
        test::RecordingStream stream;
        records();
        ASSERT_TRUE(reader.loadRecord(record, stream));
        EXPECT_EQ(stream.calls,
                  (std::vector<std::string>{"node SceneNode_1", "polys SceneNode_1", "point SceneNode_1/T"}));
        EXPECT_EQ(stream.arrays.begin()->second->GetComponent(2, 0), 3);
        EXPECT_EQ(stream.polys.begin()->second->GetNumberOfCells(), 1);
    }
}

TEST_F(SDBWriterTest, aSeriesOverOneMeshStoresTheMeshOnce)
{
    constexpr int SIDE = 317;
    constexpr int FRAMES = 200;
    tsg::SceneNode root("SceneNode_1");
    tsg::PolyDataNode part("PolyDataNode_1");
    root.addChild(part);
    part.setGeometry(test::grid(SIDE));
    vtkNew<vtkFloatArray> normals;
    normals->SetName("Normals");
    normals->SetNumberOfComponents(3);
    normals->SetNumberOfTuples(SIDE * SIDE);
    normals->Fill(0.5);
    part.setArray(tsg::PolyDataNode::Points, normals);
    SDBWriter plain;
    ASSERT_EQ(plain.open(path, false, false), FileIoStatus::Success);
    std::uint64_t payloads = 0;
    for (int frame = 0; frame < FRAMES; ++frame)
    {
        vtkNew<vtkFloatArray> scalar;
        scalar->SetName("p");
        scalar->SetNumberOfValues(SIDE * SIDE);
        scalar->Fill(frame);
        part.setArray(tsg::PolyDataNode::Points, scalar);
        ASSERT_EQ(add(plain, root), frame);
        payloads += SIDE * SIDE * sizeof(float);
    }
    payloads += SIDE * SIDE * 6 * sizeof(float) + (SIDE - 1) * (SIDE - 1) * 2 * 4 * sizeof(std::int32_t);
    const auto size = std::filesystem::file_size(directory.file("file.sce").narrow);
    EXPECT_GE(size, payloads);
    EXPECT_LE(size, payloads + payloads / 50);
    test::RecordingStream stream;
    ASSERT_EQ(records().size(), std::size_t{FRAMES});
    ASSERT_TRUE(reader.loadRecord(FRAMES - 1, stream));
    EXPECT_EQ(stream.polys.at("PolyDataNode_1")->GetNumberOfCells(), 2 * (SIDE - 1) * (SIDE - 1));
    EXPECT_EQ(stream.arrays.at("point PolyDataNode_1/p")->GetComponent(SIDE * SIDE - 1, 0), FRAMES - 1);
}

TEST_F(SDBWriterTest, appendingRefersToStoredDataOfTheSameStamp)
{
    const auto array = floats("T", {1, 2, 3});
    Scene scene;
    scene.with(array);
    add(writer, scene);
    writer.close();
    ASSERT_EQ(writer.open(path, true, false), FileIoStatus::Success);
    add(writer, scene);
    array->InsertNextValue(4); // another shape under the old stamp is not the stored data
    add(writer, scene);
    const auto found = blocks();
    EXPECT_EQ(found[1].getString("FilePos"), found[0].getString("FilePos"));
    EXPECT_NE(found[2].getString("FilePos"), found[0].getString("FilePos"));
    EXPECT_EQ(found[2].getInt("NumberOfTuples"), 4);
}

TEST_F(SDBWriterTest, aWriterRepeatsTheNodesOfItsEarlierRecords)
{
    Scene first("SceneNode_1");
    Scene second("SceneNode_2");
    Scene sameKey("SceneNode_1");
    sameKey.setName("never written");
    add(writer, first);
    add(writer, second);
    add(writer, sameKey);
    test::RecordingStream stream;
    records();
    ASSERT_TRUE(reader.loadRecord(2, stream));
    EXPECT_EQ(stream.calls, (std::vector<std::string>{"node SceneNode_1", "node SceneNode_2"}));
    EXPECT_EQ(stream.nodes["SceneNode_1"].getString("Name"), "");
}

TEST_F(SDBWriterTest, geometryCarriesTheArraysThatItsNodesShow)
{
    tsg::DataArrayAttributes shown("DataArrayAttributes_1");
    shown.setDataArrayName("shown");
    tsg::SurfaceAttributes surface("SurfaceAttributes_1");
    const auto polys = triangle();
    for (const char* name : {"shown", "Normal", "hidden"})
    {
        polys->GetPointData()->AddArray(floats(name, {1, 2, 3}));
    }
    Scene scene;
    scene.with(polys);
    scene.addChild(shown);
    scene.addChild(surface);
    add(writer, scene);
    test::RecordingStream stream;
    records();
    ASSERT_TRUE(reader.loadRecord(0, stream));
    vtkPointData* const data = stream.polys.at("SceneNode_1")->GetPointData();
    EXPECT_EQ(data->GetNumberOfArrays(), 2);
    EXPECT_TRUE(data->HasArray("shown") && data->HasArray("Normal"));
}

TEST_F(SDBWriterTest, everyKindOfArrayComesBackWithItsType)
{
    const int types[] = {
        VTK_CHAR,      VTK_UNSIGNED_CHAR,     VTK_SHORT, VTK_UNSIGNED_SHORT, VTK_INT,     VTK_UNSIGNED_INT,
        VTK_LONG,      VTK_UNSIGNED_LONG,     VTK_FLOAT, VTK_DOUBLE,         VTK_ID_TYPE, VTK_SIGNED_CHAR,
        VTK_LONG_LONG, VTK_UNSIGNED_LONG_LONG};
    Scene scene;
    for (const int type : types)
    {
        const auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(type));
        array->SetName(std::to_string(type).c_str());
        array->SetNumberOfComponents(2);
        array->SetNumberOfTuples(2);
        for (int i = 0; i < 4; ++i)
        {
            array->SetComponent(i / 2, i % 2, type == VTK_LONG || type == VTK_ID_TYPE ? -3 * i : 3 * i);
        }
        scene.with(array);
    }
    vtkNew<vtkFloatArray> empty;
    empty->SetName("empty");
    scene.with(empty);
    add(writer, scene);
    test::RecordingStream stream;
    records();
    ASSERT_TRUE(reader.loadRecord(0, stream));
    for (const int type : types)
    {
        vtkDataArray* const array = stream.arrays.at("point SceneNode_1/" + std::to_string(type));
        EXPECT_EQ(array->GetDataType(), type);
        EXPECT_EQ(array->GetNumberOfTuples(), 2);
        EXPECT_EQ(array->GetComponent(1, 1), type == VTK_LONG || type == VTK_ID_TYPE ? -9 : 9);
    }
    EXPECT_EQ(stream.arrays.at("point SceneNode_1/empty")->GetNumberOfTuples(), 0);
}

TEST_F(SDBWriterTest, valuesBeyond32BitsAreRefusedAndTheRecordGoesOn)
{
    vtkNew<vtkIdTypeArray> ids;
    ids->SetName("ids");
    ids->InsertNextValue(vtkIdType{1} << 32);
    Scene scene;
    scene.with(ids).with(floats("T", {1}));
    bool stored = true;
    scene.afterSerialize = [&](tsg::NodeStream& stream)
    { stored = stored && stream.writePointData("SceneNode_1", nullptr, ids); };
    testing::internal::CaptureStderr();
    EXPECT_EQ(add(writer, scene), 0);
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(stored);
    EXPECT_NE(message.find("array \"ids\" of SceneNode_1 cannot be stored"), std::string::npos) << message;
    ASSERT_EQ(blocks().size(), 1U);
    EXPECT_EQ(blocks()[0].getString("Name"), "T");
}

TEST_F(SDBWriterTest, dataOperationsOutsideTheirPassDoNothing)
{
    EXPECT_FALSE(writer.writePolys("k", nullptr, tsg::TimeStamp()));
    EXPECT_TRUE(writer.writePointData("k", nullptr, nullptr));
    EXPECT_TRUE(writer.write("k", Properties()));
    EXPECT_THROW(writer.writePropNodeData("k", Properties(), tsg::NodeStream::DataTag1), InternalError);
    EXPECT_THROW(writer.writeBinaryNodeData("k", nullptr, tsg::NodeStream::DataTag2), InternalError);
    EXPECT_EQ(records().size(), 0U);
}

TEST_F(SDBWriterTest, brokenInvariantsTellMessageConditionSourceAndLine)
{
    const auto report = [](auto&& call)
    {
        try
        {
            call();
        }
        catch (const NonRecoverableError& error)
        {
            return error.message() + "|" + error.condition() + "|" + error.source() + "|" +
                   std::to_string(error.line());
        }
        return std::string();
    };
    tsg::DataNode node("Other_1", "Other", 1);
    SDBWriter closed;
    EXPECT_EQ(report([&] { add(closed, node); }),
              "Node must be either a SceneNode or a ChartCanvasCollection|(dynamic_cast<SceneNode*>(&root) || "
              "dynamic_cast<tsg::ChartCanvasCollection*>(&root))|visualization/src/scenegraph/io/SDBWriter|177");
    vtkNew<vtkFloatArray> unnamed;
    const std::pair<vtkDataArray*, const char*> arrays[] = {
        {nullptr, "Can't be null if exporting binary data|data|visualization/src/scenegraph/io/SDBWriter|571"},
        {unnamed, "The array's name must be specified|data->GetName()|visualization/src/scenegraph/io/SDBWriter|572"}};
    for (const auto& [array, expected] : arrays)
    {
        Scene scene;
        scene.afterSerialize = [array = array](tsg::NodeStream& stream) { stream.writeCellData("k", nullptr, array); };
        EXPECT_EQ(report([&] { add(writer, scene); }), expected);
    }
}

TEST_F(SDBWriterTest, anExceptionLeavesNoRecordAndNoStoredData)
{
    const auto array = floats("T", {1, 2, 3});
    Scene good;
    good.with(array);
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
    test::RecordingStream stream;
    EXPECT_EQ(records().size(), 2U);
    ASSERT_TRUE(reader.loadRecord(1, stream));
    EXPECT_EQ(stream.arrays.size(), 2U);
}

TEST_F(SDBWriterTest, nodesThatCallTheWriterBackHarmNoFile)
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
            test::RecordingStream stream;
            EXPECT_TRUE(reader.loadRecord(0, stream));
            EXPECT_EQ(stream.polys.size(), 1U);
        }
    }
}

TEST_F(SDBWriterTest, aNodeThatClosesTheFileWhileNodesAreCollectedGetsNoRecord)
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

TEST_F(SDBWriterTest, aFileHeaderThatClaimsToBeAnUnfinishedRecordIsNotCutOff)
{
    writer.close();
    std::string content = bytes();
    content.insert(1, R"("DataField":"Header","FilePos":"0","Length":"0",)");
    std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << content;
    EXPECT_EQ(writer.open(path, true, false), FileIoStatus::OpenFailed);
    EXPECT_EQ(bytes(), content);
}

TEST_F(SDBWriterTest, appendingRemembersNoMoreBlocksThanTheFileCanHold)
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

TEST_F(SDBWriterTest, aFullDiskCostsOnlyTheRecordThatDidNotFit)
{
    Scene small;
    small.with(floats("T", {1, 2, 3}));
    add(writer, small);
    const std::string before = bytes();
    Scene large("SceneNode_2");
    vtkNew<vtkDoubleArray> array;
    array->SetName("large");
    array->SetNumberOfTuples(100000);
    for (int i = 0; i < 100000; ++i)
    {
        array->SetValue(i, 1.0 / (i + 1));
    }
    large.with(array);

    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tight{before.size() + 4096, old.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &tight);
    testing::internal::CaptureStderr();
    const int index = add(writer, large);
    const std::string message = testing::internal::GetCapturedStderr();
    setrlimit(RLIMIT_FSIZE, &old);
    signal(SIGXFSZ, handler);

    EXPECT_EQ(index, -1);
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_NE(message.find("file.sce failed"), std::string::npos) << message;
    EXPECT_EQ(bytes(), before);
    EXPECT_EQ(writer.addThumbnail(0, tsg::Bitmap<3>()), FileIoStatus::NotOpen);
    writer.close();
    ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
    EXPECT_FALSE(writer.hasFailed());
    EXPECT_EQ(add(writer, small), 1);
    EXPECT_EQ(records().size(), 2U);
}

TEST_F(SDBWriterTest, copiesShareOneFile)
{
    Scene scene;
    add(writer, scene);
    {
        SDBWriter copy(writer);
        EXPECT_EQ(add(copy, scene), 1);
    }
    EXPECT_EQ(writer.addThumbnail(7, tsg::Bitmap<3>()), FileIoStatus::Success);
    SDBWriter copy;
    copy = writer;
    copy.close();
    EXPECT_EQ(writer.addThumbnail(7, tsg::Bitmap<3>()), FileIoStatus::NotOpen);
    EXPECT_EQ(records().size(), 2U);
    EXPECT_EQ(reader.getThumbnails().at(0).getInt("RecordIndex"), 7);
}

TEST_F(SDBWriterTest, thumbnailsFollowTheirTagAndRecordsFollowThem)
{
    tsg::Bitmap<3> picture;
    picture.resize(4, 2);
    picture.getData()[0] = '{'; // pixels are no tags
    EXPECT_EQ(writer.addThumbnail(7, picture), FileIoStatus::Success);
    EXPECT_EQ(writer.addThumbnail(0, tsg::Bitmap<3>()), FileIoStatus::Success);
    Scene scene;
    add(writer, scene);
    EXPECT_EQ(records().size(), 1U);
    const auto& thumbnails = reader.getThumbnails();
    ASSERT_EQ(thumbnails.size(), 2U);
    EXPECT_EQ(thumbnails[0].getString("Length"), "0000000000000018");
    EXPECT_EQ(thumbnails[1].getString("Length"), "0000000000000000");
    tsg::Bitmap<3> loaded;
    reader.getThumbnailData(thumbnails[0], loaded);
    EXPECT_EQ(loaded.getWidth(), 4);
    EXPECT_EQ(loaded.getHeight(), 2);
    EXPECT_EQ(loaded.getData()[0], '{');
}

TEST_F(SDBWriterTest, openingCreatesReplacesAppendsOrRefuses)
{
    Scene scene;
    add(writer, scene);
    records();
    SDBWriter second;
    ASSERT_EQ(second.open(path, false, true), FileIoStatus::Success);
    test::RecordingStream stream;
    EXPECT_TRUE(reader.loadRecord(0, stream)) << "a reader of the replaced file keeps its view";
    EXPECT_EQ(stream.calls.size(), 1U);
    EXPECT_EQ(records().size(), 0U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1) << "nothing is left behind";

    std::ofstream(directory.file("foreign").narrow) << "some text";
    EXPECT_EQ(second.open(directory.file("foreign").wide, true, true), FileIoStatus::WrongFormat);
    EXPECT_EQ(second.open(directory.file(".").wide, true, true), FileIoStatus::OpenFailed);
    EXPECT_EQ(second.open(directory.file("none/file").wide, false, true), FileIoStatus::OpenFailed);
    EXPECT_EQ(second.open(directory.file(std::string("a\0b", 3)).wide, false, true), FileIoStatus::OpenFailed);
    SDBWriter unopened;
    unopened.close();
    EXPECT_EQ(add(unopened, scene), -2);
    EXPECT_EQ(&SDBWriter::getExt(), &SDBWriter::getExt());
    EXPECT_EQ(SDBWriter::getExt(), "sce");
    DeleteSBDWriter(nullptr);
    DeleteSBDWriter(NewSBDWriter());
}

TEST_F(SDBWriterTest, appendingToAnyPrefixIsReadableOrRefusedAndUnchanged)
{
    Scene scene;
    scene.with(triangle()).with(floats("T", {1, 2, 3}));
    add(writer, scene);
    add(writer, scene, "other");
    writer.close();
    const std::string whole = bytes();
    records();
    const std::uint64_t secondRecord = sdb::hexFromProp(reader.getRecords()[1], "FilePos");
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        std::filesystem::remove(directory.file("file.sce").narrow); // cheaper than cutting it
        std::ofstream(directory.file("file.sce").narrow, std::ios::binary) << whole.substr(0, length);
        testing::internal::CaptureStderr();
        SDBWriter appender;
        const FileIoStatus status = appender.open(path, true, true);
        EXPECT_EQ(bytes(), whole.substr(0, length)) << "opening changes nothing";
        if (status == FileIoStatus::Success)
        {
            add(appender, scene, "new");
            const auto& found = records();
            ASSERT_FALSE(found.empty()) << length;
            EXPECT_EQ(found.back().getString("SessionID"), "new") << length;
            EXPECT_EQ(found.size(), length < secondRecord ? 1U : 2U) << length;
        }
        testing::internal::GetCapturedStderr();
    }
}

} // namespace
