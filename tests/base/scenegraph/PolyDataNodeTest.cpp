#include "GraphFixture.h"

#include "core/Error.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneNode.h"
#include "support/LogCapture.h"

#include <vtkBitArray.h>
#include <vtkVariantArray.h>

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

/// An array that no node holds.
vtkSmartPointer<vtkAbstractArray> variants()
{
    auto res = vtkSmartPointer<vtkVariantArray>::New();
    res->SetName("variants");
    return res;
}

/// A triangle with two tables of one name, a table that two arrays share, bits, strings, names of components, and
/// active attributes.
vtkSmartPointer<vtkPolyData> richTriangle()
{
    auto res = triangle();
    vtkPointData* const points = res->GetPointData();
    points->SetPedigreeIds(stringsOf("who", {"a", "", std::string("\0{\xff", 3)}));
    points->SetScalars(arrayOf(VTK_DOUBLE, "T", 1, {1, 2, 3}));
    points->SetNormals(arrayOf(VTK_FLOAT, "N", 3, {0, 0, 1, 0, 0, 1, 0, 0, 1}));
    points->SetTangents(arrayOf(VTK_FLOAT, "along", 3, {1, 0, 0, 1, 0, 0, 1, 0, 0}));
    points->AddArray(arrayOf(VTK_BIT, "mask", 1, {1, 0, 1}));
    points->GetScalars()->SetLookupTable(table(5, 0.1, 0.1 + 0.2));
    points->GetArray("mask")->SetLookupTable(points->GetScalars()->GetLookupTable());
    points->GetNormals()->SetComponentName(0, "");
    points->GetNormals()->SetComponentName(2, "\xff}");
    points->GetArray("mask")->SetComponentName(0, "on");
    res->GetCellData()->SetScalars(floats("T", {4}));
    res->GetCellData()->GetScalars()->SetLookupTable(table(2, -THIRD, 1e300));
    res->GetFieldData()->AddArray(stringsOf("none", {}, 7));
    res->GetFieldData()->AddArray(arrayOf(VTK_INT, "T", 1, {7, 8, 9, 10}));
    res->GetFieldData()->AddArray(stringsOf("pairs", {"a", "b", "c"}, 2));
    res->GetFieldData()->GetAbstractArray("pairs")->SetComponentName(1, "second");
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
        EXPECT_EQ(points->GetPedigreeIds(), points->GetAbstractArray("who"));
        EXPECT_EQ(namesIn(*points),
                  std::string("who=a==\0{\xff T N..-.\xff} along mask.on ", 35)); // a zero byte is among them
        EXPECT_EQ(namesIn(*polys->GetFieldData()), "none T pairs.-.second=a,b=c ");
        EXPECT_EQ(polys->GetFieldData()->GetAbstractArray("none")->GetNumberOfComponents(), 7);
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
    const Properties& stored = Offered(*node).properties;
    EXPECT_EQ(stored.getProperties("FieldStringArrays").toString(),
              R"({"none":{"Place":0,"Components":7,"Values":{}},)"
              R"("pairs":{"Place":2,"Components":2,"Values":{"0":"a","1":"b","2":"c"}}})");
    EXPECT_EQ(stored.getProperties("PointComponentNames").toString(),
              "{\"N\":{\"0\":\"\",\"1\":0,\"2\":\"\xff\\u007d\"},\"mask\":{\"0\":\"on\"}}");
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
    const auto wide = stringsOf("wide", {"a"}, 1025);
    EXPECT_THROW(node->setPolyData(nullptr), InternalError);
    EXPECT_THROW(node->setArray(POINTS, nullptr), InternalError);
    EXPECT_THROW(node->setArray(POINTS, unnamed), InternalError);
    for (const vtkSmartPointer<vtkAbstractArray>& bad :
         {vtkSmartPointer<vtkAbstractArray>(unnamed), {variants()}, {wide}, {renamed}})
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
    EXPECT_TRUE(node->removeArray(POINTS, "who"));
    EXPECT_TRUE(node->removeArray(POINTS, "N"));
    EXPECT_FALSE(node->removeArray(POINTS, "N"));
    EXPECT_EQ(node->findArray(POINTS, "mask"), node->getArrays(POINTS).at(2));
    EXPECT_EQ(node->assemble()->GetPointData()->GetNormals(), nullptr);
    node->setActive(POINTS, NORMALS, "");
    EXPECT_EQ(node->getActive(POINTS, NORMALS), "");
    node->setActive(POINTS, vtkDataSetAttributes::NUM_ATTRIBUTES, "T");
    node->setActive(PolyDataNode::Fields, SCALARS, "T");
    EXPECT_EQ(Offered(*node).properties.getProperties("ActivePointData").toString(),
              R"({"Scalars":"T","PedigreeIds":"who","Tangents":"along"})");
    EXPECT_EQ(Offered(*node).properties.kind("PointStringArrays"), Properties::Kind::None);
    node->setArray(POINTS, stringsOf("wide", std::vector<std::string>(1025), 1025));
    node->setActive(POINTS, SCALARS, "words");
    node->setArray(POINTS, stringsOf("words", {"a", "b", "c"}));
    EXPECT_FALSE(node->assemble()->GetPointData()->GetAbstractAttribute(SCALARS)) << "strings are no scalars";
}

TEST_F(PolyDataNodeTest, stringsGoToTheirPlacesAsFarAsThereIsRoom)
{
    std::string entries;
    for (std::size_t i = 0; i <= ArrayList::MAX_STRINGS; ++i)
    {
        const std::string place = i == 0 ? "1" : i == 1 ? "9223372036854775807" : "0";
        entries += (i == 0 ? "\"" : ",\"") + std::to_string(i) + R"(":{"Place":)" + place +
                   R"(,"Components":1,"Values":{"0":"x","1":"","2":"z"}})";
    }
    Delivery delivery(registry);
    delivery.node("PolyDataNode_1", R"({"PointStringArrays":{)" + entries + "}}");
    delivery.writePolys("PolyDataNode_1", triangle(), TimeStamp());
    delivery.writePointData("PolyDataNode_1", nullptr, floats("T", {1, 2, 3}));
    const SceneGraph loaded = delivery.take();
    PolyDataNode& full = of(loaded);
    const ArrayList& arrays = full.getArrays(POINTS);
    ASSERT_EQ(arrays.size(), ArrayList::MAX_STRINGS + 1);
    EXPECT_EQ(arrays.nameAt(0) + arrays.nameAt(1022) + arrays.nameAt(1023) + arrays.nameAt(1024), "20T1");
    EXPECT_EQ(full.getProperties().getProperties("PointStringArrays").names(), std::vector<std::string>{"1024"});
    EXPECT_EQ(full.assemble()->GetPointData()->GetNumberOfArrays(), 1025);
    EXPECT_THROW(full.setArray(POINTS, stringsOf("more", {})), InternalError);
    full.setArray(POINTS, stringsOf("7", {"a"}));
    EXPECT_EQ(full.findStrings(POINTS, "7")->GetNumberOfValues(), 1);
}

TEST_F(PolyDataNodeTest, dataThatDoesNotFitIsKeptForTheNextSaveAndOutOfThePolydata)
{
    const std::string properties =
        R"({"PointBitArrays":{"T":1,"gone":1},"PointLookupTables":{"T":{"Table":"falling","Range":"2 1"},)"
        R"("c":{"Table":"none","Range":"0 1"},"x":5},"CellLookupTables":"odd","ActivePointData":{"Scalars":"gone"},)"
        R"("PointStringArrays":{"T":{"Place":0,"Components":1,"Values":{}},"x":{"Place":-1,"Components":1,"Values":{}},)"
        R"("y":{"Place":0,"Components":0,"Values":{}},"z":{"Place":0,"Components":1025,"Values":{}},)"
        R"("1":{"Place":0,"Components":1,"Values":{"1":"x"}},"2":{"Place":0,"Components":1,"Values":{"0":"x","1":7}},)"
        R"("3":{"Place":0,"Components":1,"Values":{},"More":1},"4":{"Place":"0","Components":1,"Values":{}},)"
        R"("5\u0000":{"Place":0,"Components":1,"Values":{}},"6":{"Place":0,"Components":1,"Values":7},"7":{}},)"
        R"("CellStringArrays":"odd","PointComponentNames":{"T":{"0":"x","1":"y"},"gone":{"0":"x"}},)"
        R"("FieldComponentNames":{"0":{},"1":{"1":"x"},"2":{"0":0},"3":{"0":"x\u0000"},"4":{"0":1,"1":"x"},"5":"x"}})";
    Delivery delivery(registry);
    for (const char* const name : {"0", "1", "2", "3", "4", "5"})
    {
        delivery.writeBinaryNodeData("PolyDataNode_1", arrayOf(VTK_INT, name, 2, {1, 2}), NodeStream::DataTag7, {});
    }
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
    EXPECT_THAT(again.kinds(), ElementsAre("polys", "point:T", "cell:c", "7:0", "7:1", "7:2", "7:3", "7:4", "7:5",
                                           "polys", "point:T", "1:falling", "2:falling"));
    std::vector<std::string> misfits;
    const auto polys = of(loaded).assemble(&misfits);
    EXPECT_THAT(misfits, ElementsAre("T", "c"));
    EXPECT_EQ(polys->GetPointData()->GetNumberOfArrays() + polys->GetCellData()->GetNumberOfArrays(), 0);
    EXPECT_EQ(namesIn(*polys->GetFieldData()), "0 1 2 3 4 5 ");
}

TEST_F(PolyDataNodeTest, arraysInsideStoredGeometryAreSeparated)
{
    auto polys = richTriangle();
    polys->GetPointData()->AddArray(variants());
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
    EXPECT_EQ(of(loaded).findStrings(POINTS, "who"), polys->GetPointData()->GetAbstractArray("who"));
    EXPECT_EQ(polys->GetPointData()->GetNumberOfArrays(), 6) << "the delivered object stays as it was";
}

} // namespace
