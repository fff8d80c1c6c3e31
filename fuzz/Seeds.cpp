#include "Seeds.h"

#include "DatasetText.h"
#include "FuzzTarget.h"

#include "scenegraph/Attributes.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/io/SceneGraphPolyDataWriter.h"
#include "scenegraph/io/SceneGraphWriter.h"
#include "support/ContainerBytes.h"
#include "support/DatasetBlocks.h"
#include "support/Scenes.h"

namespace fuzz
{

namespace
{

const std::vector<int> STORED_TYPES = {VTK_BIT,  VTK_CHAR,  VTK_UNSIGNED_CHAR, VTK_SHORT,  VTK_INT,
                                       VTK_LONG, VTK_FLOAT, VTK_DOUBLE,        VTK_ID_TYPE};

vtkSmartPointer<vtkPolyData> everything()
{
    auto data = test::withAllArrays(test::allCellKinds(), STORED_TYPES);
    data->GetPointData()->GetScalars()->SetLookupTable(test::tableOf({{1, 0, 0, 1}, {0, 0, 1, 0.5}}));
    return data;
}

/// A scene with a mesh, arrays of its points, cells and the node, and a mesh that carries its arrays itself.
class SeedScene
{
public:
    SeedScene()
    {
        _mesh.setPolyData(test::triangle());
        _mesh.setArray(tsg::PolyDataNode::Points, test::stringsOf("words", {"a", "", "{"}));
        _mesh.setArray(tsg::PolyDataNode::Points, test::counting(VTK_BIT, "on", 3, 1));
        _mesh.findArray(tsg::PolyDataNode::Points, "on")->SetComponentName(0, "name");
        _mesh.addData(tsg::NodeData::ofPoints(test::counting(VTK_DOUBLE, "p", 3, 2)));
        _mesh.addData(tsg::NodeData::ofCells(test::counting(VTK_ID_TYPE, "c", 1, 1)));
        _mesh.addData(tsg::NodeData::ofNode(test::counting(VTK_BIT, "bits", 9, 1), tsg::NodeStream::DataTag7, {}));
        _shown.setDataArrayName("v");
        root.with(everything());
        root.addChild(_mesh);
        root.addChild(_shown);
    }

    test::Scene root;

private:
    tsg::PolyDataNode _mesh{"PolyDataNode_1"};
    tsg::DataArrayAttributes _shown{"DataArrayAttributes_1"};
};

/// Two records of one session, the second with data of the first, and a picture.
std::string database(bool compress)
{
    const ScratchFile file;
    SeedScene scene;
    tsg::SDBWriter writer;
    require(writer.open(file.path(), false, compress) == tsg::io::FileIoStatus::Success, "a seed can be written");
    test::add(writer, scene.root);
    tsg::Bitmap<3> picture;
    picture.resize(3, 2);
    writer.addThumbnail(0, picture);
    test::add(writer, scene.root, "s", "braces {} and \x01");
    writer.close();
    return file.bytes();
}

std::string smallDatabase()
{
    test::ContainerBytes file;
    file.record("a", {{"T", "abc\n"}});
    const auto shared = file.lastPayload;
    return file.thumbnail(0).record("b", {{"T", "", shared}, {"U", "x{y"}}).str();
}

std::string unfinishedDatabase()
{
    return test::ContainerBytes()
        .record("a", {{"T", "abc"}})
        .record("lost", {{"U", "x"}}, test::position("Length", 0))
        .record("b", {{"V", "y"}})
        .str();
}

std::string textOf(vtkPolyData& polys, int type)
{
    const vtkNew<tsg::SceneGraphPolyDataWriter> writer;
    writer->SetFileType(type);
    writer->WriteToOutputStringOn();
    writer->SetInputData(&polys);
    writer->Write();
    return {writer->GetOutputString(), static_cast<std::size_t>(writer->GetOutputStringLength())};
}

std::string blockOf(const std::string& content, tsg::CompressionMethods method, std::uint16_t capacity)
{
    std::ostringstream out;
    out << static_cast<char>(capacity & 0xff) << static_cast<char>(capacity >> 8);
    sdb::writeCompressed(out, content.data(), content.size(), method);
    return out.str();
}

void addDatabases(std::vector<Seed>& seeds)
{
    const std::pair<const char*, std::string> files[] = {{"small", smallDatabase()},
                                                         {"unfinished", unfinishedDatabase()},
                                                         {"plain", database(false)},
                                                         {"compressed", database(true)},
                                                         {"empty", ""},
                                                         {"header", test::ContainerBytes().str()}};
    for (const char* const target : {"index", "record", "roundtrip", "append"})
    {
        for (const auto& [name, bytes] : files)
        {
            seeds.push_back({target, name, bytes});
        }
    }
}

void addBlocks(std::vector<Seed>& seeds)
{
    using tsg::CompressionMethods;
    const std::string header = test::header();
    const std::pair<const char*, std::string> blocks[] = {
        {"everything", writeBlock(*everything())},
        {"triangle", writeBlock(*test::triangle())},
        {"cells-only", header + test::cells("POLYGONS", 1, {3, 0, 1, 2})},
        {"wrong-ids", header + test::points(3) + test::cells("LINES", 1, {2, 0, 3})},
        {"text", header + test::points(2) + "POINT_DATA 2\nFIELD FieldData 1\na 1 2 int\n"},
    };
    for (const auto& [name, bytes] : blocks)
    {
        seeds.push_back({"dataset_block", name, bytes});
        seeds.push_back({"roundtrip", std::string("block-") + name, bytes});
    }
    const std::string repeated(2000, 'a');
    seeds.push_back({"block", "plain", blockOf("abc", CompressionMethods::None, 3)});
    seeds.push_back({"block", "zlib", blockOf(repeated, CompressionMethods::Zlib, 2000)});
    seeds.push_back({"block", "longer", blockOf(repeated, CompressionMethods::Zlib, 100)});
    seeds.push_back({"block", "shorter", blockOf(repeated, CompressionMethods::Zlib, 3000)});
}

void addTags(std::vector<Seed>& seeds)
{
    seeds.push_back(
        {"tag", "kinds", R"(x{"a":"t\u00e4\n\u007b","b":-9223372036854775808,"c":{"d":{},"e":"1f"}}{"f":1})"});
    seeds.push_back({"tag", "duplicate", R"({"a":1,"a":"2","\u0000":"\ud83d\ude00"})"});
    seeds.push_back({"tag", "no-records", R"({"a":1.5}{"b":[1]}{"c":null}{})"});
    std::string deep;
    for (int i = 0; i < Properties::MAX_DEPTH + 1; ++i)
    {
        deep += "{\"a\":";
    }
    seeds.push_back({"tag", "deep", deep + "1" + std::string(Properties::MAX_DEPTH + 1, '}')});
}

void addSceneDirectories(std::vector<Seed>& seeds)
{
    const std::string header = "{\"ObjectKey\":\"N_1\",\"Tag\":2}\n";
    const auto all = test::withAllArrays(test::allCellKinds(), {VTK_CHAR, VTK_SHORT, VTK_INT, VTK_FLOAT, VTK_DOUBLE});
    all->GetPointData()->GetScalars()->SetLookupTable(test::tableOf({{1, 0, 0, 1}, {0, 0, 1, 0.5}}));
    seeds.push_back({"scene_directory", "everything", header + textOf(*all, VTK_ASCII)});
    seeds.push_back({"scene_directory", "triangle", header + textOf(*test::triangle(), VTK_ASCII)});
    seeds.push_back({"scene_directory", "binary", header + textOf(*test::triangle(), VTK_BINARY)});
    seeds.push_back(
        {"scene_directory", "not-numbers",
         header + "# vtk DataFile Version 3.0\nt\nASCII\nDATASET POLYDATA\nPOINTS 2 float\nnan 0 inf\n1 2 3\n"});
    seeds.push_back({"scene_directory", "array",
                     R"({"ObjectKey":"N","Name":"x","DataType":6,"NumberOfComponents":2,"NumberOfTuples":2,"Size":4,)"
                     "\"Tag\":0}\nabcdefghijklmnop"});
    const test::TemporaryDirectory parent;
    SeedScene scene;
    tsg::SceneGraphWriter().save(parent.file("scene").narrow, scene.root);
    seeds.push_back({"scene_directory", "scene", test::bytesOf(parent.file("scene").narrow + "/scene.tsg")});
}

} // namespace

std::vector<Seed> allSeeds()
{
    std::vector<Seed> seeds;
    addTags(seeds);
    addDatabases(seeds);
    addBlocks(seeds);
    addSceneDirectories(seeds);
    return seeds;
}

} // namespace fuzz
