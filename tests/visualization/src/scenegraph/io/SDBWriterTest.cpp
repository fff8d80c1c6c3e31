#include "scenegraph/io/SDBWriter.h"

#include "scenegraph/Attributes.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/io/SDBReader.h"
#include "support/ContainerBytes.h"
#include "support/RaisedError.h"
#include "support/RecordingStream.h"
#include "support/Scenes.h"
#include "support/Testing.h"

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

class SDBWriterTest : public SceneFileTest
{
protected:
    SDBWriterTest() { EXPECT_EQ(writer.open(path, false, true), FileIoStatus::Success); }

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
        EXPECT_EQ(reader.open(path), FileIoStatus::Success);
        return reader.getRecords();
    }

    std::unique_ptr<RecordingStream> load(int record)
    {
        auto received = std::make_unique<RecordingStream>();
        records();
        EXPECT_TRUE(reader.loadRecord(record, *received));
        return received;
    }

    SDBWriter writer;
};

TEST_F(SDBWriterTest, recordHeaderTellsWhereTheRecordAndItsDataAre)
{
    const std::size_t begin = bytes().size();
    Scene scene;
    EXPECT_EQ(add(writer, scene), 0);
    const std::string content = bytes();
    const Properties record = records().at(0);
    EXPECT_THAT(record.names(), ElementsAre("DataField", "Version", "SessionID", "RootNodeKey", "Title", "Description",
                                            "Frame", "FilePos", "Length", "BinaryData"));
    EXPECT_EQ(sdb::hexFromProp(record, "FilePos"), begin);
    EXPECT_EQ(begin + sdb::hexFromProp(record, "Length"), content.size());
    EXPECT_EQ(sdb::hexFromProp(record, "BinaryData"), content.size());
    EXPECT_EQ(record.getString("RootNodeKey"), "SceneNode_1");
    EXPECT_THAT(content, HasSubstr(R"({"DataField":"ClassVersions","Versions":{"SceneNode":)"));
    EXPECT_THAT(content, HasSubstr(R"({"DataField":"Node","ObjectKey":"SceneNode_1","Properties":{}})"));
}

TEST_F(SDBWriterTest, framesCountTheRecordsOfASessionAndTitle)
{
    Scene scene;
    for (const auto& [session, title] : {std::pair("s", "t"), {"s", "t"}, {"s", "u"}, {"r", "t"}, {"s", "t"}})
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
    EXPECT_THAT(frames, ElementsAre(0, 1, 0, 0, 2, 3));
}

TEST_F(SDBWriterTest, unchangedDataOfASessionIsStoredOnce)
{
    const auto array = floats("T", {1, 2, 3});
    Scene scene;
    scene.with(triangle()).with(array);
    add(writer, scene);
    add(writer, scene);
    array->Modified();
    add(writer, scene);
    add(writer, scene, "other session");
    EXPECT_THAT(payloads(), ElementsAre(0, 1, 0, 1, 0, 2, 3, 4));
    EXPECT_EQ(blocks()[1].names().back(), "DataType");
    EXPECT_EQ(blocks()[3].names().back(), "NumberOfTuples");
    for (int record = 0; record < 4; ++record)
    {
        const auto loaded = load(record);
        EXPECT_THAT(loaded->calls, ElementsAre("node SceneNode_1", "polys SceneNode_1", "point SceneNode_1/T"));
        EXPECT_THAT(valuesOf(loaded->arrays.begin()->second), ElementsAre(1, 2, 3));
        EXPECT_EQ(loaded->polys.begin()->second->GetNumberOfCells(), 1);
    }
}

/// side x side points in a plane, with two triangles a square.
vtkSmartPointer<vtkPolyData> grid(int side)
{
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    const vtkNew<vtkPoints> points;
    const vtkNew<vtkCellArray> cells;
    for (vtkIdType id = 0; id < vtkIdType{side} * side; ++id)
    {
        const vtkIdType x = id % side;
        const vtkIdType y = id / side;
        points->InsertNextPoint(static_cast<double>(x), static_cast<double>(y), 0);
        if (x + 1 < side && y + 1 < side)
        {
            cells->InsertNextCell({id, id + 1, id + side});
            cells->InsertNextCell({id + 1, id + side + 1, id + side});
        }
    }
    polys->SetPoints(points);
    polys->SetPolys(cells);
    return polys;
}

TEST_F(SDBWriterTest, aSeriesOverOneMeshStoresTheMeshOnce)
{
    constexpr std::size_t SIDE = 317, FRAMES = 200, POINTS = SIDE * SIDE, CELLS = 2 * (SIDE - 1) * (SIDE - 1);
    const auto filled = [](const char* name, int components, double value)
    { return arrayOf(VTK_FLOAT, name, components, std::vector<double>(POINTS * components, value)); };
    tsg::SceneNode root("SceneNode_1");
    tsg::PolyDataNode part("PolyDataNode_1");
    root.addChild(part);
    part.setGeometry(grid(SIDE));
    part.setArray(tsg::PolyDataNode::Points, filled("Normals", 3, 0.5));
    SDBWriter plain;
    ASSERT_EQ(plain.open(path, false, false), FileIoStatus::Success);
    for (std::size_t frame = 0; frame < FRAMES; ++frame)
    {
        part.setArray(tsg::PolyDataNode::Points, filled("p", 1, static_cast<double>(frame)));
        ASSERT_EQ(add(plain, root), frame);
    }
    constexpr std::size_t PAYLOADS = POINTS * (FRAMES + 6) * sizeof(float) + CELLS * 4 * sizeof(std::int32_t);
    const auto size = std::filesystem::file_size(file.narrow);
    EXPECT_GE(size, PAYLOADS);
    EXPECT_LE(size, PAYLOADS + PAYLOADS / 50);
    const auto loaded = load(FRAMES - 1);
    EXPECT_EQ(reader.getRecords().size(), FRAMES);
    EXPECT_EQ(loaded->polys.at("PolyDataNode_1")->GetNumberOfCells(), CELLS);
    EXPECT_EQ(loaded->arrays.at("point PolyDataNode_1/p")->GetComponent(POINTS - 1, 0), FRAMES - 1);
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
    array->InsertNextTuple1(4); // another shape under the old stamp is not the stored data
    add(writer, scene);
    EXPECT_THAT(payloads(), ElementsAre(0, 0, 1));
    EXPECT_EQ(blocks()[2].getInt("NumberOfTuples"), 4);
}

TEST_F(SDBWriterTest, aWriterRepeatsTheNodesOfItsEarlierRecords)
{
    Scene first("SceneNode_1"), second("SceneNode_2"), sameKey("SceneNode_1");
    sameKey.setName("never written");
    for (Scene* const scene : {&first, &second, &sameKey})
    {
        add(writer, *scene);
    }
    const auto loaded = load(2);
    EXPECT_THAT(loaded->calls, ElementsAre("node SceneNode_1", "node SceneNode_2"));
    EXPECT_EQ(loaded->nodes["SceneNode_1"].getString("Name"), "");
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
    const auto loaded = load(0);
    vtkPointData* const data = loaded->polys.at("SceneNode_1")->GetPointData();
    EXPECT_EQ(data->GetNumberOfArrays(), 2);
    EXPECT_TRUE(data->HasArray("shown") && data->HasArray("Normal"));
}

TEST_F(SDBWriterTest, everyKindOfArrayComesBackWithItsType)
{
    const int types[] = {
        VTK_CHAR,      VTK_UNSIGNED_CHAR,     VTK_SHORT, VTK_UNSIGNED_SHORT, VTK_INT,     VTK_UNSIGNED_INT,
        VTK_LONG,      VTK_UNSIGNED_LONG,     VTK_FLOAT, VTK_DOUBLE,         VTK_ID_TYPE, VTK_SIGNED_CHAR,
        VTK_LONG_LONG, VTK_UNSIGNED_LONG_LONG};
    const auto last = [](int type) {
        return type == VTK_LONG || type == VTK_ID_TYPE ? -9.0 : type == VTK_UNSIGNED_LONG ? 4294967295.0 : 9.0;
    };
    Scene scene;
    for (const int type : types)
    {
        scene.with(arrayOf(type, std::to_string(type).c_str(), 2, {0, 3, 6, last(type)}));
    }
    scene.with(floats("empty", {}));
    add(writer, scene);
    const auto loaded = load(0);
    for (const int type : types)
    {
        vtkDataArray* const array = loaded->arrays.at("point SceneNode_1/" + std::to_string(type));
        EXPECT_EQ(array->GetDataType(), type);
        EXPECT_EQ(array->GetNumberOfComponents(), 2);
        EXPECT_THAT(valuesOf(array), ElementsAre(0, 3, 6, last(type)));
    }
    EXPECT_EQ(loaded->arrays.at("point SceneNode_1/empty")->GetNumberOfTuples(), 0);
}

TEST_F(SDBWriterTest, valuesBeyond32BitsAreRefusedAndTheRecordGoesOn)
{
    const auto ids = arrayOf(VTK_ID_TYPE, "ids", 1, {4294967296.0});
    Scene scene;
    scene.with(ids).with(floats("T", {1}));
    bool stored = true;
    scene.afterSerialize = [&](tsg::NodeStream& out)
    { stored = stored && out.writePointData("SceneNode_1", nullptr, ids); };
    EXPECT_THAT(stderrOf([&] { EXPECT_EQ(add(writer, scene), 0); }),
                HasSubstr("array \"ids\" of SceneNode_1 cannot be stored"));
    EXPECT_FALSE(stored);
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
    tsg::DataNode node("Other_1", "Other", 1);
    SDBWriter closed;
    EXPECT_EQ(raisedBy([&] { add(closed, node); }),
              "Node must be either a SceneNode or a ChartCanvasCollection|(dynamic_cast<SceneNode*>(&root) || "
              "dynamic_cast<tsg::ChartCanvasCollection*>(&root))|visualization/src/scenegraph/io/SDBWriter|177");
    const auto unnamed = floats(nullptr, {});
    const std::pair<vtkDataArray*, const char*> arrays[] = {
        {nullptr, "Can't be null if exporting binary data|data|visualization/src/scenegraph/io/SDBWriter|571"},
        {unnamed, "The array's name must be specified|data->GetName()|visualization/src/scenegraph/io/SDBWriter|572"}};
    for (const auto& [array, expected] : arrays)
    {
        Scene scene;
        scene.afterSerialize = [array = array](tsg::NodeStream& out) { out.writeCellData("k", nullptr, array); };
        EXPECT_EQ(raisedBy([&] { add(writer, scene); }), expected);
    }
}

TEST_F(SDBWriterTest, anExceptionLeavesNoRecordAndNoStoredData)
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
            test::RecordingStream found;
            EXPECT_TRUE(reader.loadRecord(0, found));
            EXPECT_EQ(found.polys.size(), 1U);
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
    tsg::Bitmap<3> picture, loaded;
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
    EXPECT_TRUE(reader.loadRecord(0, stream)) << "a reader of the replaced file keeps its view";
    EXPECT_EQ(stream.calls.size(), 1U);
    EXPECT_EQ(records().size(), 0U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1) << "nothing is left behind";

    writeBytes(directory.file("foreign").narrow, "some text");
    EXPECT_EQ(
        stderrOf([&]
                 { EXPECT_EQ(second.open(directory.file("foreign").wide, true, true), FileIoStatus::WrongFormat); }),
        "Wrong file format\n");
    EXPECT_EQ(second.open(directory.file(".").wide, true, true), FileIoStatus::OpenFailed);
    EXPECT_EQ(second.open(directory.file("none/file").wide, false, true), FileIoStatus::OpenFailed);
    EXPECT_EQ(second.open(directory.file(std::string("a\0b", 3)).wide, false, true), FileIoStatus::OpenFailed);
    SDBWriter unopened;
    unopened.close();
    EXPECT_EQ(add(unopened, scene), -2);
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
