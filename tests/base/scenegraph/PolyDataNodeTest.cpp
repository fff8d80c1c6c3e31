#include "GraphFixture.h"

#include "core/Error.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneNode.h"
#include "support/LogCapture.h"

#include <vtkBitArray.h>
#include <vtkStringArray.h>

using namespace tsg;

namespace
{

constexpr double THIRD = 1.0 / 3;
constexpr auto POINTS = PolyDataNode::Points;
constexpr auto SCALARS = vtkDataSetAttributes::SCALARS, NORMALS = vtkDataSetAttributes::NORMALS;

vtkSmartPointer<vtkLookupTable> table(int colours, double first, double last)
{
    auto res = vtkSmartPointer<vtkLookupTable>::New();
    res->SetNumberOfColors(colours);
    res->SetTableRange(first, last);
    return res;
}

vtkSmartPointer<vtkStringArray> strings()
{
    auto res = vtkSmartPointer<vtkStringArray>::New();
    res->SetName("s");
    return res;
}

/// A triangle with two tables of one name, a table that two arrays share, bits, and active attributes.
vtkSmartPointer<vtkPolyData> richTriangle()
{
    auto res = triangle();
    vtkPointData* const points = res->GetPointData();
    points->SetScalars(arrayOf(VTK_DOUBLE, "T", 1, {1, 2, 3}));
    points->SetNormals(arrayOf(VTK_FLOAT, "N", 3, {0, 0, 1, 0, 0, 1, 0, 0, 1}));
    points->SetTangents(arrayOf(VTK_FLOAT, "along", 3, {1, 0, 0, 1, 0, 0, 1, 0, 0}));
    points->AddArray(arrayOf(VTK_BIT, "mask", 1, {1, 0, 1}));
    points->GetScalars()->SetLookupTable(table(5, 0.1, 0.1 + 0.2));
    points->GetArray("mask")->SetLookupTable(points->GetScalars()->GetLookupTable());
    res->GetCellData()->SetScalars(floats("T", {4}));
    res->GetCellData()->GetScalars()->SetLookupTable(table(2, -THIRD, 1e300));
    res->GetFieldData()->AddArray(arrayOf(VTK_INT, "T", 1, {7, 8, 9, 10}));
    return res;
}

class PolyDataNodeTest : public GraphFixture
{
protected:
    PolyDataNodeTest()
    {
        graph.create<SceneNode>().addChild(graph.create<PolyDataNode>());
        node = &of(graph);
        node->setPolyData(richTriangle());
    }

    static PolyDataNode& of(const SceneGraph& owner)
    {
        return dynamic_cast<PolyDataNode&>(*owner.find("PolyDataNode_1"));
    }

    SceneGraph graph;
    PolyDataNode* node = nullptr;
};

TEST_F(PolyDataNodeTest, polydataSurvivesBeingTakenApartAndStored)
{
    const SceneGraph loaded = reload(graph);
    EXPECT_EQ(Offered(of(loaded)).kinds(), Offered(*node).kinds());
    EXPECT_EQ(Offered(of(loaded)).properties, Offered(*node).properties);
    for (const auto& polys : {node->assemble(), of(loaded).assemble()})
    {
        EXPECT_EQ(polys->GetNumberOfPoints(), 3);
        EXPECT_EQ(polys->GetNumberOfCells(), 1);
        vtkPointData* const points = polys->GetPointData();
        vtkDataArray *const scalars = points->GetScalars(), *const cellScalars = polys->GetCellData()->GetScalars();
        EXPECT_STREQ(scalars->GetName(), "T");
        EXPECT_STREQ(points->GetNormals()->GetName(), "N");
        EXPECT_STREQ(points->GetTangents()->GetName(), "along");
        EXPECT_THAT(valuesOf(scalars), ElementsAre(1, 2, 3));
        EXPECT_THAT(valuesOf(cellScalars), ElementsAre(4));
        EXPECT_THAT(valuesOf(polys->GetFieldData()->GetArray("T")), ElementsAre(7, 8, 9, 10));
        vtkDataArray* const mask = points->GetArray("mask");
        EXPECT_TRUE(vtkBitArray::SafeDownCast(mask));
        EXPECT_THAT(valuesOf(mask), ElementsAre(1, 0, 1));

        vtkLookupTable *const first = scalars->GetLookupTable(), *const second = cellScalars->GetLookupTable();
        EXPECT_EQ(first, mask->GetLookupTable());
        EXPECT_EQ(first->GetNumberOfTableValues(), 5);
        EXPECT_EQ(first->GetTableRange()[1], 0.1 + 0.2);
        first->Build();
        EXPECT_EQ(first->GetTableValue(4)[2], 1.0) << "the last colour of the default table is blue";
        EXPECT_EQ(second->GetNumberOfTableValues(), 2);
        EXPECT_EQ(second->GetTableRange()[0], -THIRD);
        EXPECT_EQ(second->GetTableRange()[1], 1e300);
    }
    EXPECT_THAT(Offered(*node).kinds(), ElementsAre("polys", "point:T", "point:N", "point:along", "point:mask",
                                                    "cell:T", "7:T", "1:T", "1:T_2"));
}

TEST_F(PolyDataNodeTest, unchangedDataIsTheSameObjectWithTheSameStamp)
{
    auto last = Offered(*node).items;
    EXPECT_EQ(Offered(*node).items, last);
    GraphBuilder sharing(registry);
    node->serialize(sharing);
    const SceneGraph shared = sharing.take();
    EXPECT_EQ(Offered(of(shared)).items, last) << "loaded bytes and colours are not converted again";
    EXPECT_EQ(Offered(*node).items, last) << "and their owner does not notice";

    const auto changes = [&] // since the last call
    {
        std::string res;
        const auto now = Offered(*node).items;
        for (std::size_t i = 0; i < now.size(); ++i)
        {
            res += now[i] == last.at(i) ? "" : std::get<0>(now[i]) + " ";
        }
        last = now;
        return res;
    };
    node->findArray(POINTS, "T")->GetLookupTable()->SetTableValue(0, 0, 0, 0, 0);
    EXPECT_EQ(changes(), "1:T ");
    vtkDataArray* const mask = node->findArray(POINTS, "mask");
    mask->Modified();
    EXPECT_EQ(changes(), "");
    mask->SetTuple1(1, 1);
    mask->Modified();
    EXPECT_EQ(changes(), "point:mask ");
    auto next = node->assemble();
    next->GetPointData()->AddArray(arrayOf(VTK_FLOAT, "N", 3, {1, 0, 0, 1, 0, 0, 1, 0, 0}));
    node->setPolyData(next, PolyDataNode::Geometry::Keep);
    EXPECT_EQ(changes(), "point:N ");
    node->setPolyData(next);
    EXPECT_EQ(changes(), "polys ");
    EXPECT_EQ(node->getGeometry()->GetPoints(), next->GetPoints());
    EXPECT_EQ(node->getGeometry()->GetPointData()->GetNumberOfArrays(), 0);
}

TEST_F(PolyDataNodeTest, arraysThatCannotBeHeldAreRefusedAndNothingChanges)
{
    const Offered before(*node);
    const auto unnamed = floats(nullptr, {}), renamed = floats("other", {1});
    EXPECT_THROW(node->setPolyData(nullptr), InternalError);
    EXPECT_THROW(node->setArray(POINTS, nullptr), InternalError);
    EXPECT_THROW(node->setArray(POINTS, unnamed), InternalError);
    for (const vtkSmartPointer<vtkAbstractArray>& bad :
         {vtkSmartPointer<vtkAbstractArray>(unnamed), {strings()}, {renamed}})
    {
        const auto polys = triangle();
        polys->GetCellData()->AddArray(floats("ok", {1}));
        renamed->SetName("other");
        polys->GetCellData()->AddArray(bad);
        renamed->SetName("ok");
        EXPECT_THROW(node->setPolyData(polys), InternalError);
    }
    EXPECT_EQ(Offered(*node).items, before.items);
    EXPECT_EQ(Offered(*node).properties, before.properties);
}

TEST_F(PolyDataNodeTest, arraysMayGoAndActiveOnesChange)
{
    EXPECT_TRUE(node->removeArray(POINTS, "N"));
    EXPECT_FALSE(node->removeArray(POINTS, "N"));
    EXPECT_EQ(node->findArray(POINTS, "mask"), node->getArrays(POINTS).at(2));
    EXPECT_EQ(node->assemble()->GetPointData()->GetNormals(), nullptr);
    node->setActive(POINTS, NORMALS, "");
    EXPECT_EQ(node->getActive(POINTS, NORMALS), "");
    node->setActive(POINTS, vtkDataSetAttributes::NUM_ATTRIBUTES, "T");
    node->setActive(PolyDataNode::Fields, SCALARS, "T");
    EXPECT_EQ(Offered(*node).properties.getProperties("ActivePointData").toString(),
              R"({"Scalars":"T","Tangents":"along"})");
}

TEST_F(PolyDataNodeTest, dataThatDoesNotFitIsKeptForTheNextSaveAndOutOfThePolydata)
{
    const std::string properties =
        R"({"PointBitArrays":{"T":1,"gone":1},"PointLookupTables":{"T":{"Table":"falling","Range":"2 1"},)"
        R"("c":{"Table":"none","Range":"0 1"},"x":5},"CellLookupTables":"odd","ActivePointData":{"Scalars":"gone"}})";
    Delivery delivery(registry);
    delivery.node("PolyDataNode_1", properties);
    delivery.writePolys("PolyDataNode_1", triangle(), TimeStamp());
    delivery.writePolys("PolyDataNode_1", triangle(), TimeStamp());
    delivery.writePointData("PolyDataNode_1", nullptr, floats("T", {1, 2}));
    delivery.writePointData("PolyDataNode_1", nullptr, floats("T", {1, 2, 3}));
    delivery.writeCellData("PolyDataNode_1", nullptr, floats("c", {1, 2}));
    for (const auto tag : {NodeStream::DataTag1, NodeStream::DataTag2})
    {
        delivery.writeBinaryNodeData("PolyDataNode_1", arrayOf(VTK_UNSIGNED_CHAR, "falling", 4, {1, 2, 3, 4}), tag,
                                     TimeStamp());
    }
    const SceneGraph loaded = delivery.take();
    const Offered again(of(loaded));
    EXPECT_EQ(again.properties, Properties(properties));
    EXPECT_THAT(again.kinds(), ElementsAre("polys", "point:T", "cell:c", "polys", "point:T", "1:falling", "2:falling"));
    std::vector<std::string> misfits;
    const auto polys = of(loaded).assemble(&misfits);
    EXPECT_THAT(misfits, ElementsAre("T", "c"));
    EXPECT_EQ(polys->GetPointData()->GetNumberOfArrays() + polys->GetCellData()->GetNumberOfArrays(), 0);
}

TEST_F(PolyDataNodeTest, arraysInsideStoredGeometryAreSeparated)
{
    auto polys = richTriangle();
    polys->GetPointData()->AddArray(strings());
    Delivery delivery(registry);
    delivery.node("PolyDataNode_1");
    delivery.writePolys("PolyDataNode_1", polys, TimeStamp());
    delivery.writePointData("PolyDataNode_1", nullptr, floats("N", {1, 2, 3}));
    const LogCapture log;
    const SceneGraph loaded = delivery.take();
    EXPECT_THAT(log.entries, SizeIs(1));
    EXPECT_THAT(valuesOf(of(loaded).findArray(POINTS, "N")), ElementsAre(1, 2, 3));
    EXPECT_EQ(of(loaded).findArray(PolyDataNode::Cells, "T"), polys->GetCellData()->GetArray("T"));
    EXPECT_EQ(of(loaded).getActive(POINTS, SCALARS), "T");
    EXPECT_EQ(of(loaded).getGeometry()->GetPointData()->GetNumberOfArrays(), 0);
    EXPECT_EQ(polys->GetPointData()->GetNumberOfArrays(), 5) << "the delivered object stays as it was";
}

} // namespace
