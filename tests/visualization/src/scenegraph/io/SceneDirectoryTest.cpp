#include "platform/FileSystem.h"
#include "scenegraph/GraphBuilder.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/StandardNodes.h"
#include "support/SceneDirectories.h"
#include "support/TouchEverything.h"

#include <cmath>

#include <vtkFieldData.h>
#include <vtkFloatArray.h>
#include <vtkSOADataArrayTemplate.h>

namespace
{

using namespace test;
using tsg::PolyDataNode;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INF = std::numeric_limits<double>::infinity();

/// Values that six digits or a decimal text would not keep.
vtkSmartPointer<vtkDataArray> awkwardValues(int type, const std::string& name, vtkIdType tuples, int components)
{
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(type));
    array->SetName(name.c_str());
    array->SetNumberOfComponents(components);
    array->SetNumberOfTuples(tuples);
    const bool isReal = type == VTK_FLOAT || type == VTK_DOUBLE;
    for (vtkIdType i = 0; i < array->GetNumberOfValues(); ++i)
    {
        const double value = type == VTK_BIT ? i % 3 == 0 : isReal ? 1.0 / (3.0 + static_cast<double>(i)) : i % 101;
        array->SetComponent(i / components, static_cast<int>(i % components), value);
    }
    if (isReal)
    {
        array->SetComponent(0, 0, NOT_A_NUMBER);
        array->SetComponent(tuples - 1, components - 1, -INF);
    }
    return array;
}

/// All kinds of cells, and under the same names point, cell and field arrays of every type; some are attributes.
void fill(PolyDataNode& node)
{
    const vtkNew<vtkPolyData> mesh;
    mesh->SetPoints(pointsOf(VTK_DOUBLE, {0, 1e-7, 1.0 / 3, 1, -1.23456789e20, 2, 3, 4, 5, NOT_A_NUMBER, INF, 9}));
    mesh->SetVerts(cellsOf({{0}, {1, 2}}));
    mesh->SetLines(cellsOf({{0, 3, 1}}));
    mesh->SetPolys(cellsOf({{0, 1, 2, 3}, {2, 1, 0}}));
    mesh->SetStrips(cellsOf({{3, 2, 1, 0}}));
    node.setGeometry(mesh);
    for (int type = VTK_BIT; type <= VTK_UNSIGNED_LONG_LONG; ++type)
    {
        if (type <= VTK_ID_TYPE || type >= VTK_SIGNED_CHAR)
        {
            const std::string name = "100% \"" + std::to_string(type) + "\" {\xe4}";
            node.setArray(PolyDataNode::Points, awkwardValues(type, name, 4, 3));
            node.setArray(PolyDataNode::Cells, awkwardValues(type, name, 6, 9));
            node.setArray(PolyDataNode::Fields, awkwardValues(type, name, 2, 1));
        }
    }
    node.setActive(PolyDataNode::Points, vtkDataSetAttributes::SCALARS, "100% \"3\" {\xe4}");
    node.setActive(PolyDataNode::Points, vtkDataSetAttributes::VECTORS, "100% \"10\" {\xe4}");
    node.setActive(PolyDataNode::Cells, vtkDataSetAttributes::TENSORS, "100% \"11\" {\xe4}");
    const vtkNew<vtkLookupTable> table;
    table->SetTableRange(0.1, 1e9);
    table->Build();
    node.findArray(PolyDataNode::Points, "100% \"3\" {\xe4}")->SetLookupTable(table);
}

bool isSame(vtkDataArray* left, vtkDataArray* right)
{
    const std::vector<double> wanted = valuesOf(left), found = valuesOf(right);
    const auto equal = [](double a, double b) { return std::isnan(a) ? std::isnan(b) : a == b; };
    return left != nullptr && right != nullptr && left->GetDataType() == right->GetDataType() &&
           left->GetNumberOfComponents() == right->GetNumberOfComponents() &&
           std::equal(wanted.begin(), wanted.end(), found.begin(), found.end(), equal);
}

void expectSameGeometry(vtkPolyData& found, vtkPolyData& expected)
{
    const std::vector<double> wanted = valuesOf(expected.GetPoints()->GetData());
    const std::vector<double> coordinates = valuesOf(found.GetPoints()->GetData());
    ASSERT_EQ(coordinates.size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i)
    {
        const bool isClose = std::isfinite(wanted[i])
                                 ? std::abs(coordinates[i] - wanted[i]) <= 5e-6 * std::abs(wanted[i])
                                 : coordinates[i] == wanted[i] || std::isnan(wanted[i]);
        EXPECT_TRUE(isClose && std::isnan(coordinates[i]) == std::isnan(wanted[i])) << wanted[i];
    }
    ASSERT_EQ(found.GetNumberOfCells(), expected.GetNumberOfCells());
    for (vtkIdType cell = 0; cell < expected.GetNumberOfCells(); ++cell)
    {
        const vtkNew<vtkIdList> ids, wantedIds;
        found.GetCellPoints(cell, ids);
        expected.GetCellPoints(cell, wantedIds);
        EXPECT_EQ(found.GetCellType(cell), expected.GetCellType(cell));
        EXPECT_TRUE(std::equal(ids->begin(), ids->end(), wantedIds->begin(), wantedIds->end())) << cell;
    }
}

TEST_F(SceneDirectoryTest, aSceneComesBack)
{
    tsg::NodeRegistry registry;
    tsg::registerStandardNodes(registry);
    tsg::SceneGraph graph;
    auto& root = graph.create<tsg::SceneNode>();
    auto& node = graph.create<PolyDataNode>();
    root.setName("view \xe4");
    root.addChild(node);
    fill(node);
    const auto expected = node.assemble();
    // A directory whose name is no ASCII, and one whose name is no UTF-8.
    for (const std::string& name : {std::string("sz\xc3\xa9ne"), std::string("\xff\xfe")})
    {
        tsg::SceneGraphWriter writer;
        ASSERT_TRUE(writer.save(parent.path() + "/" + name, root));
        EXPECT_FALSE(writer.hasFailed());
        EXPECT_TRUE(std::filesystem::exists(parent.path() + "/" + name + "/tsg/PolyDataNode_1.polyData"));

        tsg::GraphBuilder builder(registry);
        tsg::SceneGraphReader reader(builder);
        EXPECT_EQ(stdoutOf([&] { ASSERT_TRUE(reader.load(OS::toWide(parent.path() + "/" + name))); }), "");
        EXPECT_EQ(reader.getSceneName(), "view \xe4");
        const tsg::SceneGraph loaded = builder.take();
        const auto* const copy = dynamic_cast<PolyDataNode*>(loaded.find("PolyDataNode_1"));
        ASSERT_NE(copy, nullptr);
        expectSameGeometry(*copy->getGeometry(), *node.getGeometry());
        std::vector<std::string> misfits;
        const auto found = copy->assemble(&misfits);
        EXPECT_THAT(misfits, IsEmpty());
        for (const auto association : {PolyDataNode::Points, PolyDataNode::Cells, PolyDataNode::Fields})
        {
            const auto& arrays = node.getArrays(association);
            EXPECT_EQ(copy->getArrays(association).size(), arrays.size());
            for (std::size_t i = 0; i < arrays.size(); ++i)
            {
                EXPECT_TRUE(isSame(arrays.numbersAt(i), copy->findArray(association, arrays.nameAt(i))))
                    << arrays.nameAt(i);
            }
        }
        EXPECT_STREQ(found->GetCellData()->GetTensors()->GetName(), expected->GetCellData()->GetTensors()->GetName());
        vtkDataArray& scalars = *found->GetPointData()->GetScalars();
        EXPECT_STREQ(scalars.GetName(), expected->GetPointData()->GetScalars()->GetName());
        ASSERT_NE(scalars.GetLookupTable(), nullptr);
        EXPECT_EQ(scalars.GetLookupTable()->GetTableRange()[1], 1e9);
        touchEverything(*found);
    }
}

TEST_F(SceneDirectoryTest, polydataComesBackWithItsArrays)
{
    const auto mesh = triangle();
    for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL})
    {
        vtkDataSetAttributes& set = *mesh->GetAttributes(owner);
        const vtkIdType tuples = mesh->GetNumberOfElements(owner);
        set.SetScalars(awkwardValues(VTK_FLOAT, "s of 100%", tuples, 2));
        set.SetVectors(awkwardValues(VTK_DOUBLE, "v", tuples, 3));
        set.SetNormals(awkwardValues(VTK_FLOAT, "n", tuples, 3));
        set.SetTCoords(awkwardValues(VTK_FLOAT, "t", tuples, 2));
        set.SetTensors(awkwardValues(VTK_FLOAT, "m", tuples, 9));
        set.SetGlobalIds(awkwardValues(VTK_ID_TYPE, "g", tuples, 1));
        set.AddArray(awkwardValues(VTK_DOUBLE, "f", tuples, 4));
        set.AddArray(awkwardValues(VTK_BIT, "b", tuples, 1));
    }
    mesh->GetFieldData()->AddArray(awkwardValues(VTK_DOUBLE, "field", 3, 1));
    Scene scene;
    ASSERT_TRUE(save(scene.with(mesh)) && load());
    vtkPolyData& found = *stream.polys["SceneNode_1"];
    expectSameGeometry(found, *mesh);
    for (const int owner : {vtkDataObject::POINT, vtkDataObject::CELL, vtkDataObject::FIELD})
    {
        vtkFieldData& wanted = *mesh->GetAttributesAsFieldData(owner);
        ASSERT_EQ(found.GetAttributesAsFieldData(owner)->GetNumberOfArrays(), wanted.GetNumberOfArrays());
        for (int i = 0; i < wanted.GetNumberOfArrays(); ++i)
        {
            vtkDataArray* const array = found.GetAttributesAsFieldData(owner)->GetArray(wanted.GetArray(i)->GetName());
            ASSERT_NE(array, nullptr) << wanted.GetArray(i)->GetName();
            EXPECT_THAT(valuesOf(array), Pointwise(NanSensitiveDoubleNear(1e-5), valuesOf(wanted.GetArray(i))));
        }
    }
    for (int kind = vtkDataSetAttributes::SCALARS; kind <= vtkDataSetAttributes::GLOBALIDS; ++kind)
    {
        EXPECT_NE(found.GetPointData()->GetAttribute(kind), nullptr) << kind;
        EXPECT_NE(found.GetCellData()->GetAttribute(kind), nullptr) << kind;
    }
}

TEST_F(SceneDirectoryTest, roomThatAnArrayDoesNotUseComesBackAsZeros)
{
    const auto spare = vtkSmartPointer<vtkFloatArray>::New();
    spare->SetName("spare");
    spare->SetNumberOfComponents(2);
    float* const memory = spare->WritePointer(0, 100000);
    std::fill(memory, memory + 100000, 7.0F);
    spare->SetNumberOfTuples(2); // keeps the rest
    spare->InsertNextValue(7);   // half a tuple
    const auto apart = vtkSmartPointer<vtkSOADataArrayTemplate<double>>::New();
    apart->SetName("apart");
    apart->SetNumberOfComponents(2);
    apart->SetNumberOfTuples(1);
    apart->SetTuple2(0, 1, 2);
    Scene scene;
    ASSERT_TRUE(save(scene.with(spare.Get()).with(apart.Get())) && load());
    const std::string bytes = bytesOfFile("tsg/SceneNode_1.spare.dataArray");
    const Properties header(bytes.substr(0, bytes.find('\n')));
    EXPECT_EQ(header.getInt("NumberOfTuples"), 2);
    EXPECT_EQ(header.getInt("Size"), spare->GetSize());
    ASSERT_GE(spare->GetSize(), 100000);
    EXPECT_EQ(bytes.size(), bytes.find('\n') + 1 + static_cast<std::size_t>(spare->GetSize()) * sizeof(float));
    std::vector<double> values = valuesOf(stream.arrays["point SceneNode_1/spare"]);
    ASSERT_EQ(values.size(), static_cast<std::size_t>(spare->GetSize()));
    EXPECT_THAT(std::vector(values.begin(), values.begin() + 6), ElementsAre(7, 7, 7, 7, 0, 0));
    EXPECT_EQ(std::count(values.begin(), values.end(), 0.0), spare->GetSize() - 4);
    EXPECT_THAT(valuesOf(stream.arrays["point SceneNode_1/apart"]), ElementsAre(1, 2));
}

TEST_F(SceneDirectoryTest, damagedFilesLeaveTheOthersReadable)
{
    Scene scene;
    scene.setName("view");
    const auto mesh = triangle();
    mesh->GetPointData()->SetScalars(floats("s", {1, 2, 3}));
    scene.with(mesh).with(floats("a", {1, 2}));
    ASSERT_TRUE(save(scene));
    const std::string names[] = {"scene.tsg", "tsg/SceneNode_1.a.dataArray", "tsg/SceneNode_1.polyData"};
    const std::string calls[] = {"node SceneNode_1", "point SceneNode_1/a", "polys SceneNode_1"};
    for (const std::string& name : names)
    {
        const std::string whole = bytesOfFile(name);
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        for (std::size_t i = 0; i < 2 * whole.size(); ++i)
        {
            // First the file cut at every byte, then with every byte another one.
            std::string damaged = whole.substr(0, i < whole.size() ? i : whole.size());
            if (i >= whole.size())
            {
                damaged[i - whole.size()] = static_cast<char>(whole[i - whole.size()] ^ 0x11);
            }
            writeFile(name, damaged);
            stream.calls.clear();
            stream.polys.clear();
            EXPECT_TRUE(load());
            for (std::size_t file = 0; file < std::size(names); ++file)
            {
                EXPECT_TRUE(names[file] == name || Matches(Contains(calls[file]))(stream.calls)) << name << " " << i;
            }
            for (const auto& polys : stream.polys)
            {
                touchEverything(*polys.second);
            }
        }
        (void)testing::internal::GetCapturedStdout(); // says of nearly each that it can't be loaded
        (void)testing::internal::GetCapturedStderr();
        writeFile(name, whole);
    }
    EXPECT_TRUE(load());
    EXPECT_THAT(stream.calls, IsSupersetOf(calls));
}

} // namespace
