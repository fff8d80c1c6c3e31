#include "FileCheck.h"

#include "core/Error.h"
#include "scenegraph/io/SDBPolyDataWriter.h"
#include "support/ContainerBytes.h"
#include "support/FullDisk.h"
#include "support/LogCapture.h"
#include "support/Scenes.h"
#include "support/ToolRun.h"

#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <regex>

namespace
{

using namespace test;
using tsg::NodeData;

constexpr int TYPES[] = {VTK_CHAR, VTK_UNSIGNED_CHAR, VTK_SHORT,   VTK_UNSIGNED_SHORT, VTK_INT,   VTK_UNSIGNED_INT,
                         VTK_LONG, VTK_UNSIGNED_LONG, VTK_ID_TYPE, VTK_FLOAT,          VTK_DOUBLE};

std::string blockOf(vtkPolyData& polys, bool compress)
{
    FullDisk out;
    const vtkNew<tsg::SDBPolyDataWriter> writer;
    writer->SetOStream(&out, VTK_BINARY);
    writer->SetCompressBinaryData(compress ? 1 : 0);
    writer->SetInputData(&polys);
    writer->Write();
    return out.bytes();
}

/// Values that zlib cannot make much smaller.
vtkSmartPointer<vtkDataArray> noise(int type, const std::string& name, int components, vtkIdType tuples)
{
    auto array = arrayOf(type, name.c_str(), components, {});
    array->SetNumberOfTuples(tuples);
    std::minstd_rand random(static_cast<unsigned>(tuples));
    for (vtkIdType i = 0; i < array->GetNumberOfValues(); ++i)
    {
        array->SetVariantValue(i, static_cast<int>(random() % 100));
    }
    return array;
}

/// Cells of all kinds; the first coordinate decides about how the points are stored.
vtkSmartPointer<vtkPolyData> mesh(int pointType, vtkIdType points, double first)
{
    auto res = vtkSmartPointer<vtkPolyData>::New();
    res->SetPoints(pointsOf(pointType, {}));
    res->GetPoints()->SetData(noise(pointType, "", 3, points));
    res->GetPoints()->GetData()->SetComponent(0, 0, first);
    const auto cells = [&](int size)
    {
        auto all = vtkSmartPointer<vtkCellArray>::New();
        std::vector<vtkIdType> ids(static_cast<std::size_t>(size));
        for (vtkIdType i = 0; i + size <= points; ++i)
        {
            std::iota(ids.begin(), ids.end(), i);
            all->InsertNextCell(size, ids.data());
        }
        return all;
    };
    res->SetVerts(cells(1));
    res->SetLines(cells(2));
    res->SetPolys(cells(3));
    res->SetStrips(cells(4));
    return res;
}

/// A mesh with compressed values of every kind and small ones that are not.
vtkSmartPointer<vtkPolyData> meshWithAll()
{
    auto res = withAllArrays(mesh(VTK_DOUBLE, 600, 1 / 3.0), {std::begin(TYPES), std::end(TYPES)});
    res->GetPointData()->AddArray(counting(VTK_BIT, "bits", 600, 1));
    res->GetPointData()->SetScalars(noise(VTK_INT, "scalars", 1, 600));
    const vtkNew<vtkLookupTable> table;
    table->SetNumberOfTableValues(300);
    table->Build();
    res->GetPointData()->GetScalars()->SetLookupTable(table);
    return res;
}

using Places = std::vector<std::size_t>;

void addRange(Places& places, std::size_t begin, std::size_t count)
{
    places.resize(places.size() + count);
    std::iota(places.end() - static_cast<std::ptrdiff_t>(count), places.end(), begin);
}

/// The compressed blocks, with the lengths in front of them.
Places zlibPlaces(const std::string& file)
{
    constexpr std::size_t FRAME = 17;
    Places res;
    for (std::size_t at = file.find("\x78\x9c"); at != std::string::npos; at = file.find("\x78\x9c", at + 1))
    {
        std::uint64_t length = 0;
        std::memcpy(&length, &file[at - 8], sizeof length);
        if (file[at - FRAME] == 1 && length < file.size() - at)
        {
            addRange(res, at - FRAME, FRAME + length);
        }
    }
    return res;
}

Places placesOf(const char* expression, const std::string& file)
{
    Places res;
    const std::regex regex(expression);
    for (std::sregex_iterator found(file.begin(), file.end(), regex), end; found != end; ++found)
    {
        addRange(res, static_cast<std::size_t>(found->position()), static_cast<std::size_t>(found->length()));
    }
    return res;
}

/// Of tags: positions, sizes, and the keys of what nothing else tells.
constexpr char NUMBERS_AND_KEYS[] =
    R"~("(FilePos|Length|BinaryData)":"[0-9a-f]{16}|"NumberOf[A-Z][a-z]+":[0-9]+|)~"
    R"~(\{"DataField":"[A-Z]|"(ObjectKey|Properties|Versions|RootNodeKey|RecordIndex)":|"Name":(?="[^"]*","Number))~";

/// Of polydata: sections and counts, and those of arrays behind their names.
constexpr char COUNTS[] = "(POINTS|VERTICES|LINES|POLYGONS|TRIANGLE_STRIPS|(POINT|CELL)_DATA) [0-9 ]+| [0-9]+ [0-9]+ "
                          "(char|unsigned_char|short|unsigned_short|int|float|double)\n";

class SweepTest : public SceneFileTest
{
protected:
    /// All that a reader delivers of the file.
    std::string delivered() const
    {
        std::ostringstream res;
        tsg::SDBReader all;
        all.open(path);
        for (const Properties& header : all.getRecords())
        {
            RecordingStream record;
            res << header.getString("Title") << (all.loadRecord(header, record) ? " loaded " : " failed ");
            for (const auto& [key, properties] : record.nodes)
            {
                res << key << properties.toString();
            }
            for (const auto& [name, array] : record.arrays)
            {
                res << name << ' ' << array->GetDataType() << ' ' << array->GetNumberOfComponents() << ' ';
                res.write(static_cast<const char*>(array->GetVoidPointer(0)),
                          array->GetNumberOfValues() * array->GetDataTypeSize());
            }
            for (const auto& [key, polys] : record.polys)
            {
                res << key << blockOf(*polys, false);
            }
        }
        for (const Properties& tag : all.getThumbnails())
        {
            tsg::Bitmap<3> picture;
            all.getThumbnailData(tag, picture);
            res << tag.getInt("RecordIndex") << ' ' << picture.getWidth() << picture.getHeight();
        }
        return res.str();
    }

    tavosce::CheckedFile checked() const
    {
        return tavosce::checkFile(file.narrow, tavosce::CheckDepth::Everything, [](double) {});
    }

    bool looksClean() const
    {
        try
        {
            return gravest(checked().findings) == tavosce::Severity::Note;
        }
        catch (const tavosce::Failure&)
        {
            return false;
        }
    }

    /// Every kind of block, array and tag that a writer leaves.
    std::string everything() const
    {
        Scene scene;
        for (const int type : TYPES)
        {
            scene.with(noise(type, "p" + std::to_string(type), 1, 300));
            scene.addData(NodeData::ofCells(noise(type, "c" + std::to_string(type), 2, 150)));
            scene.addData(
                NodeData::ofNode(noise(type, "n" + std::to_string(type), 3, 100), tsg::NodeStream::DataTag7, {}));
        }
        scene.addData(NodeData::ofNode(noise(VTK_UNSIGNED_CHAR, "t", 4, 300), tsg::NodeStream::DataTag1, {}));
        scene.with(mesh(VTK_DOUBLE, 200, 0.5));
        tsg::SDBWriter writer;
        writer.open(path, false, true);
        add(writer, scene);
        tsg::Bitmap<3> picture;
        picture.resize(5, 4);
        writer.addThumbnail(0, picture);
        scene.with(floats("more", {1, 2, 3}));
        add(writer, scene, "s", "again");
        writer.addThumbnail(1, picture);
        writer.close();
        const Edit asPolys = [](Properties& tag) { tag.set("Tag", sdb::PolyData, Properties::Overwrite); };
        return ContainerBytes(bytes()).record("all", {{"", blockOf(*meshWithAll(), true), {}, asPolys}}).str();
    }

    /// Blocks that are written and read in many pieces.
    std::string large() const
    {
        Scene scene;
        scene.with(noise(VTK_FLOAT, "f", 1, 300000)).with(mesh(VTK_FLOAT, 30000, 0.5));
        tsg::SDBWriter writer;
        writer.open(path, false, true);
        add(writer, scene);
        writer.close();
        return bytes();
    }

    /// Flips single bits, and puts them right again: either verify finds something or nothing else is delivered.
    void sweep(const std::string& whole, const Places& places, int flips)
    {
        const char* const factor = std::getenv("TAVO_SWEEP_FACTOR"); // more by hand
        const std::string expected = delivered();
        std::minstd_rand random(static_cast<unsigned>(flips));
        std::fstream edit(file.narrow, std::ios::in | std::ios::out | std::ios::binary);
        const auto put = [&](std::size_t at, char byte)
        { edit.seekp(static_cast<std::streamoff>(at)).put(byte).flush(); };
        for (int left = flips * (factor == nullptr ? 1 : std::atoi(factor)); left > 0; --left)
        {
            const std::size_t at = places.at(random() % places.size());
            const auto bit = static_cast<char>(1 << (random() >> 8) % 8);
            put(at, static_cast<char>(whole[at] ^ bit));
            EXPECT_TRUE(!looksClean() || delivered() == expected)
                << "bit " << int{bit} << " of byte " << at << ", behind " << PrintToString(whole.substr(at - 40, 40));
            put(at, whole[at]);
        }
    }
};

TEST_F(SweepTest, noFlippedBitThatChangesWhatIsDeliveredIsMissed)
{
    const LogCapture log;
    const std::string whole = everything();
    replaceBytes(whole);
    ASSERT_THAT(checked().findings, IsEmpty());
    sweep(whole, zlibPlaces(whole), 60);
    sweep(whole, placesOf(NUMBERS_AND_KEYS, whole), 60);
    sweep(whole, placesOf(COUNTS, whole), 30);
}

TEST_F(SweepTest, norIsOneInBlocksOfManyPieces)
{
    const LogCapture log;
    const std::string whole = large();
    ASSERT_THAT(checked().findings, IsEmpty());
    sweep(whole, zlibPlaces(whole), 10);
}

} // namespace
