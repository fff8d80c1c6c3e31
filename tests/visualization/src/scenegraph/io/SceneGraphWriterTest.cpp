#include "scenegraph/io/SceneGraphWriter.h"

#include "scenegraph/io/detail/Limits.h"
#include "support/FileSizeLimit.h"
#include "support/Golden.h"
#include "support/RaisedError.h"
#include "support/SceneDirectories.h"

#include <sys/stat.h>

namespace
{

using namespace test;
using tsg::NodeData;
using tsg::NodeStream;

class SceneGraphWriterTest : public SceneDirectoryTest
{
protected:
    /// Saves a scene that calls the operations of the writer.
    bool saveCalls(const std::function<void(NodeStream&)>& calls)
    {
        Scene scene;
        scene.afterSerialize = calls;
        writer = tsg::SceneGraphWriter(); // it would write the nodes of earlier saves again
        return writer.save(directory, scene);
    }

    std::string header(const std::string& file) const
    {
        const std::string bytes = bytesOfFile("tsg/" + file);
        return bytes.substr(0, bytes.find('\n'));
    }

    tsg::SceneGraphWriter writer;
};

TEST_F(SceneGraphWriterTest, theFilesAreThoseOfTheFormatPage)
{
    Scene scene;
    scene.setName("view");
    const auto temperatures = arrayOf(VTK_LONG, "T", 1, {});
    temperatures->SetNumberOfTuples(4);
    temperatures->FillComponent(0, 77);
    temperatures->SetNumberOfTuples(3); // keeps the room
    temperatures->SetTuple1(0, 1);
    temperatures->SetTuple1(1, -2);
    temperatures->SetTuple1(2, 3);
    scene.with(triangle()).with(temperatures);
    EXPECT_TRUE(writer.save(directory, scene));
    EXPECT_FALSE(writer.hasFailed());
    EXPECT_TRUE(isGolden("scene.tsg", bytesOfFile("scene.tsg")));
    EXPECT_TRUE(isGolden("triangle.polyData", bytesOfFile("tsg/SceneNode_1.polyData")));
    EXPECT_TRUE(isGolden("array.dataArray", bytesOfFile("tsg/SceneNode_1.T.dataArray")));
    EXPECT_EQ(paths().size(), 5U);
}

TEST_F(SceneGraphWriterTest, nodesAreWrittenOnceASaveAndAgainByTheNext)
{
    Scene first("SceneNode_1"), second("SceneNode_2"), child("SceneNode_3");
    first.addChild(second);
    first.addChild(child);
    second.addHandle(child);
    child.addHandle(first);
    const auto records = [&]
    {
        const std::string text = bytesOfFile("scene.tsg");
        return std::count(text.begin(), text.end(), '\n');
    };
    EXPECT_TRUE(writer.save(directory, first));
    EXPECT_EQ(records(), 4);
    EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg"));

    Scene another("SceneNode_4");
    tsg::SceneGraphWriter copy(writer), assigned;
    assigned = writer;
    tsg::SceneGraphWriter moved(std::move(writer));
    for (tsg::SceneGraphWriter* const full : {&copy, &assigned, &moved})
    {
        tsg::SceneGraphWriter& self = *full;
        *full = self;
        *full = std::move(self);
        EXPECT_TRUE(full->save(directory, another));
        EXPECT_EQ(records(), 5);
    }
    EXPECT_TRUE(writer.save(directory, another)); // NOLINT: moved-from writers are defined
    EXPECT_EQ(records(), 2);
}

TEST_F(SceneGraphWriterTest, dataOfNodesIsTaggedOrRefused)
{
    const auto array = floats("a", {1});
    for (const auto& [tag, stored] : {std::pair(NodeStream::DataTag7, 3), {NodeStream::DataTag1, 4}})
    {
        EXPECT_TRUE(
            saveCalls([&, tag = tag](NodeStream& out) { EXPECT_TRUE(out.writeBinaryNodeData("N_1", array, tag)); }));
        EXPECT_EQ(Properties(header("N_1.a.dataArray")).getInt("Tag"), stored);
    }
    for (const auto tag : {NodeStream::DataTag2, NodeStream::DataTag3, NodeStream::DataTag4})
    {
        EXPECT_EQ(raisedBy([&] { saveCalls([&](NodeStream& out) { out.writeBinaryNodeData("N_1", array, tag); }); }),
                  "Unsupported flag in SceneGraphWriter::writeBinaryNodeData.|false|"
                  "visualization/src/scenegraph/io/SceneGraphWriter|171");
    }
    EXPECT_EQ(
        raisedBy([&] { saveCalls([](NodeStream& out) { out.writePropNodeData("N_1", {}, NodeStream::DataTag1); }); }),
        "SceneGraphWriter::writePropNodeData: not supported|false|"
        "visualization/src/scenegraph/io/SceneGraphWriter|180");
    NodeStream& out = writer;
    EXPECT_TRUE(saveCalls([](NodeStream&) {}));
    EXPECT_FALSE(out.write("N_1", {})) << "no scene file is open";
}

TEST_F(SceneGraphWriterTest, whatCannotBeStoredHasNoFile)
{
    const auto refused = [](const std::string& name, const std::string& reason)
    { return "SceneGraphWriter: array \"" + name + "\" of N_1 cannot be stored: " + reason + "\n"; };
    const auto huge = arrayOf(VTK_FLOAT, "huge", 1, {});
    huge->SetVoidArray(huge.Get(), 536870912, 1); // looked at by nobody
    const std::pair<vtkSmartPointer<vtkDataArray>, std::string> cases[] = {
        {arrayOf(VTK_ID_TYPE, "ids", 1, {3e9}), refused("ids", "value 3000000000 does not fit 4 bytes")},
        {arrayOf(VTK_FLOAT, nullptr, 1, {1}), refused("", "it has no name")},
        {huge, refused("huge", "its room for 536870912 values takes 2 GiB or more")},
        {nullptr, ""}};
    for (const auto& [array, message] : cases)
    {
        const auto call = [array = array.Get()](NodeStream& out)
        { EXPECT_FALSE(out.writePointData("N_1", nullptr, array)); };
        EXPECT_EQ(stderrOf([&] { EXPECT_TRUE(saveCalls(call)); }), message);
        EXPECT_TRUE(writer.hasFailed());
    }
    EXPECT_TRUE(saveCalls([](NodeStream& out) { EXPECT_FALSE(out.writePolys("N_1", nullptr, tsg::TimeStamp())); }));
    EXPECT_FALSE(writer.hasFailed());
    EXPECT_TRUE(std::filesystem::is_empty(directory + "/tsg"));
    const auto saveBits = [](NodeStream& out) {
        EXPECT_TRUE(out.writeCellData("N_1", nullptr, arrayOf(VTK_BIT, "b", 1, {1, 0, 1})));
    };
    EXPECT_EQ(stderrOf([&] { EXPECT_TRUE(saveCalls(saveBits)); }),
              "SceneGraphWriter: the values of array \"b\" of N_1 cannot be stored: there is no room for bits\n");
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(header("N_1.b.dataArray") + "\n", bytesOfFile("tsg/N_1.b.dataArray")) << "bits have no bytes";
}

TEST_F(SceneGraphWriterTest, namesThatNoFileCanHaveMakeNoFile)
{
    const std::pair<std::string, std::string> cases[] = {{"../N_1", "a"},
                                                         {"/N_1", "a"},
                                                         {"x/../N_1", "a"},
                                                         {std::string("N\0_1", 4), "a"},
                                                         {std::string(247, 'N'), "a"},
                                                         {"N_1", "a/b"},
                                                         {"N_1", std::string(242, 'a')}};
    for (const auto& [key, name] : cases)
    {
        EXPECT_TRUE(saveCalls(
            [&, objectKey = key, array = floats(name.c_str(), {1})](NodeStream& out)
            {
                EXPECT_FALSE(out.writePointData(objectKey, nullptr, array));
                EXPECT_TRUE(objectKey == "N_1" || out.writePolys(objectKey, onePoint(), tsg::TimeStamp()));
            }));
        EXPECT_TRUE(writer.hasFailed());
        EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg")) << key << name;
    }
}

TEST_F(SceneGraphWriterTest, differentDataNeverShareAFile)
{
    const std::string words = stderrOf(
        [&]
        {
            EXPECT_TRUE(saveCalls(
                [](NodeStream& out)
                {
                    for (int round = 0; round < 2; ++round) // writing again takes the same files
                    {
                        out.writePointData("N_1", nullptr, floats("U", {1}));
                        out.writeCellData("N_1", nullptr, floats("U", {2}));
                        out.writePointData("N_1", nullptr, floats("U.1", {3}));
                        out.writeBinaryNodeData("N_1", floats("U", {4}), NodeStream::DataTag7);
                        out.writePointData("N_1.U", nullptr, floats("1", {5}));
                        out.writePolys("N_1.U", onePoint(), tsg::TimeStamp());
                    }
                }));
        });
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(std::count(words.begin(), words.end(), '\n'), 6);
    EXPECT_THAT(words, HasSubstr("N_1.U.polyData holds the last of several data of one kind, key and name\n"));
    EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg", "dir/tsg/N_1.U.polyData",
                                              "dir/tsg/N_1.U.dataArray", "dir/tsg/N_1.U.1.dataArray",
                                              "dir/tsg/N_1.U.1.0.dataArray", "dir/tsg/N_1.U.3.dataArray",
                                              "dir/tsg/N_1.U.1.0.0.dataArray"));
    EXPECT_TRUE(load());
    for (const auto& [call, value] : {std::pair("point N_1/U", 1),
                                      {"cell N_1/U", 2},
                                      {"point N_1/U.1", 3},
                                      {"node7 N_1/U", 4},
                                      {"point N_1.U/1", 5}})
    {
        EXPECT_THAT(valuesOf(stream.arrays[call]), ElementsAre(value)) << call;
    }
}

TEST_F(SceneGraphWriterTest, nothingOfAnEarlierSaveIsLoadedInPlaceOfNewData)
{
    const auto save = [&](const std::vector<int>& kinds, double value)
    {
        EXPECT_TRUE(saveCalls(
            [&](NodeStream& out)
            {
                for (const int kind : kinds)
                {
                    const auto array = floats("U", {value});
                    kind == TagPointData ? out.writePointData("N_1", nullptr, array)
                                         : out.writeCellData("N_1", nullptr, array);
                }
            }));
        EXPECT_FALSE(writer.hasFailed());
    };
    save({TagPointData, TagCellData}, 1);
    writeBytes(directory + "/tsg/N_1.U.1.1.dataArray", bytesOfFile("tsg/N_1.U.1.dataArray"));
    writeBytes(directory + "/tsg/N_1.U.0.dataArray", R"({"ObjectKey":"N_1.U","Name":"0","Tag":1})");
    writeBytes(directory + "/tsg/N_1.U.3.dataArray", "no data of a scene");
    save({TagCellData}, 2);
    EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg", "dir/tsg/N_1.U.dataArray",
                                              "dir/tsg/N_1.U.0.dataArray", "dir/tsg/N_1.U.3.dataArray"));
    EXPECT_TRUE(load());
    EXPECT_THAT(valuesOf(stream.arrays["cell N_1/U"]), ElementsAre(2));
    save({TagPointData}, 3);
    save({TagCellData, TagPointData}, 4);
    EXPECT_TRUE(load());
    EXPECT_THAT(valuesOf(stream.arrays["cell N_1/U"]), ElementsAre(4));
    EXPECT_THAT(valuesOf(stream.arrays["point N_1/U"]), ElementsAre(4));
}

TEST_F(SceneGraphWriterTest, aSaveThatEndsByAnExceptionLeavesTheEarlierSceneFile)
{
    EXPECT_TRUE(saveCalls([](NodeStream&) {}));
    const std::string before = bytesOfFile("scene.tsg");
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto open = openFiles();
    std::vector<tsg::SceneGraphWriter> copies;
    const auto fail = [&](NodeStream& out)
    {
        out.write("N_1", {});
        copies.push_back(writer);
        throw std::runtime_error("node");
    };
    EXPECT_THROW(saveCalls(fail), std::runtime_error);
    EXPECT_EQ(openFiles(), open);
    for (NodeStream& copy : copies)
    {
        copy.write("N_2", {});
    }
    copies.clear();
    EXPECT_EQ(bytesOfFile("scene.tsg"), before);
    EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg"));
}

TEST_F(SceneGraphWriterTest, whatThePolydataFormatHasNoPlaceForIsTold)
{
    const auto fails = [&](const vtkSmartPointer<vtkPolyData>& data)
    {
        (void)stderrOf(
            [&] { EXPECT_TRUE(saveCalls([&](NodeStream& out) { out.writePolys("N_1", data, tsg::TimeStamp()); })); });
        EXPECT_TRUE(load());
        EXPECT_EQ(stream.polys.count("N_1"), 1U) << "what is written is read";
        return writer.hasFailed();
    };
    const auto withArray = [](vtkAbstractArray* array)
    {
        auto data = onePoint();
        data->GetPointData()->AddArray(array);
        return data;
    };
    const auto wide = arrayOf(VTK_CHAR, "wide", sdb::detail::MAX_COMPONENTS + 1,
                              std::vector<double>(sdb::detail::MAX_COMPONENTS + 1));
    const vtkNew<vtkStringArray> words;
    words->InsertNextValue("w");
    auto pedigree = onePoint(), edges = onePoint();
    pedigree->GetPointData()->SetPedigreeIds(floats("ids", {1}));
    edges->GetPointData()->SetAttribute(floats("edges", {1}), vtkDataSetAttributes::EDGEFLAG);
    EXPECT_TRUE(fails(pedigree));
    EXPECT_TRUE(fails(edges));
    EXPECT_TRUE(fails(withArray(words)));
    EXPECT_TRUE(fails(withArray(wide)));
    auto many = onePoint();
    for (int i = 0; i < sdb::detail::MAX_TEXT_ARRAYS + 6; ++i)
    {
        many->GetFieldData()->AddArray(arrayOf(VTK_CHAR, std::to_string(i).c_str(), 1, {1}));
    }
    EXPECT_TRUE(fails(many));
    EXPECT_FALSE(fails(withArray(floats("NULL_ARRAY", {7}))));
    EXPECT_THAT(valuesOf(stream.polys["N_1"]->GetPointData()->GetArray("NULL_ARRAY")), ElementsAre(7));
}

TEST_F(SceneGraphWriterTest, filesThatCannotBeWrittenAreTold)
{
    Scene scene;
    scene.with(triangle()).with(floats("a", std::vector<double>(10000, 1.0)));
    const auto fails = [&](bool saved) { return writer.save(directory, scene) == saved && writer.hasFailed(); };
    std::filesystem::create_directory(directory);
    ASSERT_EQ(mkfifo((directory + "/scene.tsg").c_str(), 0600), 0);
    EXPECT_TRUE(fails(false)) << "no regular file";
    std::filesystem::remove_all(directory);
    writeBytes(directory, "");
    EXPECT_TRUE(fails(false)) << "no directory";
    std::filesystem::remove(directory);
    std::filesystem::create_directory(directory);
    writeBytes(directory + "/tsg", "");
    EXPECT_TRUE(fails(true)) << "no data directory";
    EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg"));
    std::filesystem::remove(directory + "/tsg");
    std::filesystem::create_directory_symlink(".", directory + "/tsg");
    EXPECT_TRUE(fails(true)) << "a link, which may lead anywhere";
    EXPECT_THAT(paths(), UnorderedElementsAre("dir", "dir/scene.tsg", "dir/tsg"));
    std::filesystem::remove(directory + "/tsg");

    {
        const FileSizeLimit limit(4000);
        EXPECT_TRUE(fails(true)) << "no room on the disk";
    }
    EXPECT_TRUE(writer.save(directory, scene));
    EXPECT_FALSE(writer.hasFailed());
}

} // namespace
