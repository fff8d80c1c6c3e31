#include "scenegraph/io/SDBWriter.h"

#include "scenegraph/Attributes.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "support/ContainerBytes.h"
#include "support/RaisedError.h"
#include "support/Unprivileged.h"
#include "support/WriterFixture.h"

#include <sys/stat.h>
#include <unistd.h>

namespace
{

using namespace test;
using tsg::SDBWriter;
using tsg::io::FileIoStatus;

using SDBWriterTest = WriterTest;

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

    Scene other("SceneNode_2");
    other.afterSerialize = [&](tsg::NodeStream& out)
    {
        auto lost = triangle();
        lost->SetPoints(pointsOf(VTK_ID_TYPE, {0, 0, 4294967296.0}));
        stored = out.writePolys("SceneNode_2", lost, tsg::TimeStamp());
        out.writePolys("SceneNode_2", triangle(), tsg::TimeStamp());
    };
    EXPECT_THAT(stderrOf([&] { EXPECT_EQ(add(writer, other), 1); }),
                HasSubstr("the points of SceneNode_2 cannot be stored: value 4294967296 does not fit 4 bytes\n"));
    EXPECT_FALSE(stored);
    EXPECT_EQ(load(1)->polys.at("SceneNode_2")->GetNumberOfPolys(), 1) << "what comes behind is stored";
}

/// The most compressible data there is, of every type and kind.
TEST_F(SDBWriterTest, whateverIsWrittenLoads)
{
    constexpr vtkIdType VALUES = 4000000, CELLS = VALUES / 8;
    std::map<int, double> lastValues; ///< by type; bits are lost
    Scene scene;
    for (int type = 0; type <= VTK_UNSIGNED_LONG_LONG; ++type)
    {
        if (tsg::detail::isStorable(type))
        {
            auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(type));
            array->SetName(std::to_string(type).c_str());
            array->SetNumberOfComponents(2);
            array->SetNumberOfTuples(VALUES / 2);
            array->Fill(1);
            const double last = type == VTK_UNSIGNED_LONG ? 4294967295.0 : array->GetDataTypeMin() < 0 ? -9 : 9;
            array->SetComponent(VALUES / 2 - 1, 1, last);
            lastValues[type] = type == VTK_BIT ? 0 : last;
            scene.with(array);
        }
    }
    scene.with(floats("empty", {}));
    auto polys = onePoint();
    const std::pair<void (vtkPolyData::*)(vtkCellArray*), std::vector<vtkIdType>> kinds[] = {
        {&vtkPolyData::SetVerts, {0}},
        {&vtkPolyData::SetLines, {0, 0}},
        {&vtkPolyData::SetPolys, {0, 0, 0}},
        {&vtkPolyData::SetStrips, {0, 0, 0, 0}}};
    for (const auto& [set, cell] : kinds)
    {
        const vtkNew<vtkCellArray> cells;
        for (vtkIdType i = 0; i < CELLS; ++i)
        {
            cells->InsertNextCell(static_cast<vtkIdType>(cell.size()), cell.data());
        }
        (polys->*set)(cells);
    }
    const auto ids = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(VTK_ID_TYPE));
    ids->SetNumberOfTuples(4 * CELLS);
    ids->Fill(3);
    polys->GetCellData()->SetGlobalIds(ids);
    polys->GetPointData()->SetScalars(floats(nullptr, {1}));
    const auto table = tableOf({});
    table->SetNumberOfTableValues(CELLS);
    std::fill_n(table->GetTable()->GetPointer(0), 4 * CELLS, static_cast<unsigned char>(7));
    polys->GetPointData()->GetScalars()->SetLookupTable(table);
    scene.with(polys);
    EXPECT_EQ(add(writer, scene), 0);
    const auto loaded = load(0);
    EXPECT_EQ(lastValues.size(), 15U);
    for (const auto& [type, last] : lastValues)
    {
        vtkDataArray* const array = loaded->arrays.at("point SceneNode_1/" + std::to_string(type));
        EXPECT_EQ(array->GetDataType(), type);
        EXPECT_EQ(array->GetNumberOfTuples(), VALUES / 2);
        EXPECT_EQ(array->GetComponent(VALUES / 2 - 1, 1), last) << type;
    }
    EXPECT_EQ(loaded->arrays.at("point SceneNode_1/empty")->GetNumberOfTuples(), 0);
    ASSERT_EQ(loaded->polys.size(), 1U);
    vtkPolyData& mesh = *loaded->polys.begin()->second;
    EXPECT_THAT((std::vector{mesh.GetNumberOfVerts(), mesh.GetNumberOfLines(), mesh.GetNumberOfPolys(),
                             mesh.GetNumberOfStrips()}),
                Each(CELLS));
    EXPECT_EQ(mesh.GetCellData()->GetGlobalIds()->GetTuple1(4 * CELLS - 1), 3);
    EXPECT_EQ(mesh.GetPointData()->GetScalars()->GetLookupTable()->GetNumberOfAvailableColors(), CELLS);
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

TEST_F(SDBWriterTest, copiesShareOneFile)
{
    Scene scene;
    add(writer, scene);
    {
        SDBWriter copy(writer);
        EXPECT_EQ(add(copy, scene), 1);
        EXPECT_EQ(add(writer, scene), 2) << "they count together";
        EXPECT_EXIT(_exit(static_cast<int>(writer.open(path, true, true))),
                    testing::ExitedWithCode(static_cast<int>(FileIoStatus::OpenFailed)), "another process");
        ASSERT_EQ(writer.open(path, true, true), FileIoStatus::Success);
        EXPECT_EQ(add(copy, scene), -2) << "it would write over what the other one adds";
    }
    EXPECT_EQ(writer.addThumbnail(7, tsg::Bitmap<3>()), FileIoStatus::Success);
    SDBWriter copy;
    copy = writer;
    copy.close();
    EXPECT_EQ(writer.addThumbnail(7, tsg::Bitmap<3>()), FileIoStatus::NotOpen);
    EXPECT_EQ(records().size(), 3U);
    EXPECT_EQ(reader.getThumbnails().at(0).getInt("RecordIndex"), 7);

    auto first = std::make_unique<SDBWriter>();
    ASSERT_EQ(first->open(path, true, true), FileIoStatus::Success);
    copy = *first;
    first.reset();
    EXPECT_EQ(add(copy, scene), 3) << "the file stays open for the writer that is left";
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
    for (const bool append : {false, true})
    {
        const std::string before = bytes();
        EXPECT_THAT(stderrOf([&] { EXPECT_EQ(second.open(path, append, true), FileIoStatus::OpenFailed); }),
                    MatchesRegex("SDBWriter: another process is writing to .*file.sce\n"));
        EXPECT_EQ(bytes(), before);
    }
    writer.close();
    ASSERT_EQ(second.open(path, false, true), FileIoStatus::Success);
    ASSERT_EQ(second.open(path, true, true), FileIoStatus::Success) << "its own lock does not keep a writer away";
    EXPECT_TRUE(reader.loadRecord(0, stream)) << "a reader of the replaced file keeps its view";
    EXPECT_EQ(stream.calls.size(), 1U);
    EXPECT_EQ(records().size(), 0U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1) << "nothing is left behind";

    writeBytes(directory.file("foreign").narrow, "some text");
    EXPECT_EQ(
        stderrOf([&]
                 { EXPECT_EQ(second.open(directory.file("foreign").wide, true, true), FileIoStatus::WrongFormat); }),
        "Wrong file format\n");
    ASSERT_EQ(mkfifo(directory.file("pipe").narrow.c_str(), 0600), 0);
    for (const std::string& name :
         {std::string("."), std::string("none/file"), std::string("pipe"), std::string("a\0b", 3)})
    {
        for (const bool append : {false, true})
        {
            EXPECT_EQ(second.open(directory.file(name).wide, append, true), FileIoStatus::OpenFailed) << name;
        }
    }
    EXPECT_TRUE(std::filesystem::is_fifo(directory.file("pipe").narrow));
    SDBWriter unopened;
    unopened.close();
    EXPECT_EQ(add(unopened, scene), -2);
    EXPECT_EQ(SDBWriter::getExt(), "sce");
    DeleteSBDWriter(nullptr);
    DeleteSBDWriter(NewSBDWriter());
}

TEST_F(SDBWriterTest, whatMayNotBeOpenedFailsAndStaysAsItIs)
{
    using std::filesystem::perms;
    constexpr perms READ_ONLY = perms::owner_read | perms::group_read | perms::others_read;
    constexpr perms EXECUTE = perms::owner_exec | perms::group_exec | perms::others_exec;
    writer.close();
    const auto size = std::filesystem::file_size(file.narrow);

    std::filesystem::permissions(directory.path(), READ_ONLY | EXECUTE);
    std::filesystem::permissions(file.narrow, READ_ONLY);
    {
        const Unprivileged user;
        if (!user)
        {
            GTEST_SKIP() << "the superuser may not become an ordinary user here";
        }
        EXPECT_EQ(reader.open(path), FileIoStatus::Success);
        EXPECT_EQ(writer.open(path, true, true), FileIoStatus::OpenFailed) << "the file is read-only";
        EXPECT_EQ(writer.open(directory.file("new.sce").wide, false, true), FileIoStatus::OpenFailed);
    }
    std::filesystem::permissions(file.narrow, perms::none);
    {
        const Unprivileged user;
        EXPECT_EQ(reader.open(path), FileIoStatus::OpenFailed);
        EXPECT_EQ(writer.open(path, true, true), FileIoStatus::OpenFailed);
        EXPECT_EQ(writer.open(path, false, true), FileIoStatus::OpenFailed) << "the old file cannot be moved away";
    }
    std::filesystem::permissions(directory.path(), perms::owner_all);
    EXPECT_EQ(std::filesystem::file_size(file.narrow), size);
}

} // namespace
