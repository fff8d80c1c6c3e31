#include "GraphFixture.h"

#include "core/Error.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneNode.h"
#include "scenegraphcommon/Logger.h"

#include <vtkBitArray.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkDoubleArray.h>
#include <vtkFloatArray.h>
#include <vtkIntArray.h>
#include <vtkLookupTable.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkStringArray.h>

using namespace tsg;

namespace
{

constexpr double THIRD = 1.0 / 3;

template <class Array>
vtkSmartPointer<Array> filled(const char* name, const std::vector<double>& values, int components = 1)
{
    auto res = vtkSmartPointer<Array>::New();
    res->SetName(name);
    res->SetNumberOfComponents(components);
    res->SetNumberOfTuples(static_cast<vtkIdType>(values.size()) / components);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        res->SetValue(static_cast<vtkIdType>(i), values[i]);
    }
    return res;
}

vtkSmartPointer<vtkLookupTable> table(int colours, double first, double last)
{
    auto res = vtkSmartPointer<vtkLookupTable>::New();
    res->SetNumberOfColors(colours);
    res->SetTableRange(first, last);
    return res;
}

vtkSmartPointer<vtkPolyData> triangle()
{
    auto res = vtkSmartPointer<vtkPolyData>::New();
    vtkNew<vtkPoints> points;
    vtkNew<vtkCellArray> cells;
    cells->InsertNextCell({0, 1, 2});
    for (int i = 0; i < 3; ++i)
    {
        points->InsertNextPoint(i, i * i, 0);
    }
    res->SetPoints(points);
    res->SetPolys(cells);
    return res;
}

/// A triangle with two tables of one name, a table that two arrays share, bits, and active attributes.
vtkSmartPointer<vtkPolyData> richTriangle()
{
    auto res = triangle();
    const auto shared = table(5, 0.1, 0.1 + 0.2);
    auto pointValues = filled<vtkDoubleArray>("T", {1, 2, 3});
    auto cellValues = filled<vtkFloatArray>("T", {4});
    pointValues->SetLookupTable(shared);
    cellValues->SetLookupTable(table(2, -THIRD, 1e300));
    auto mask = filled<vtkBitArray>("mask", {1, 0, 1});
    mask->SetLookupTable(shared);
    res->GetPointData()->SetScalars(pointValues);
    res->GetPointData()->SetNormals(filled<vtkFloatArray>("N", {0, 0, 1, 0, 0, 1, 0, 0, 1}, 3));
    res->GetPointData()->SetTangents(filled<vtkFloatArray>("along", {1, 0, 0, 1, 0, 0, 1, 0, 0}, 3));
    res->GetPointData()->AddArray(mask);
    res->GetCellData()->SetScalars(cellValues);
    res->GetFieldData()->AddArray(filled<vtkIntArray>("T", {7, 8, 9, 10}));
    return res;
}

class PolyDataNodeTest : public GraphFixture
{
protected:
    PolyDataNodeTest()
    {
        graph.create<SceneNode>().addChild(graph.create<PolyDataNode>());
        node = &of(graph);
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
    node->setPolyData(richTriangle());
    const SceneGraph loaded = reload(graph);
    EXPECT_EQ(Offered(of(loaded)).kinds(), Offered(*node).kinds());
    EXPECT_EQ(Offered(of(loaded)).properties, Offered(*node).properties);
    for (const auto& polys : {node->assemble(), of(loaded).assemble()})
    {
        EXPECT_EQ(polys->GetNumberOfPoints(), 3);
        EXPECT_EQ(polys->GetNumberOfCells(), 1);
        auto* points = polys->GetPointData();
        EXPECT_STREQ(points->GetScalars()->GetName(), "T");
        EXPECT_STREQ(points->GetNormals()->GetName(), "N");
        EXPECT_STREQ(points->GetTangents()->GetName(), "along");
        EXPECT_EQ(points->GetScalars()->GetTuple1(2), 3);
        EXPECT_EQ(polys->GetCellData()->GetScalars()->GetTuple1(0), 4);
        EXPECT_EQ(polys->GetFieldData()->GetArray("T")->GetNumberOfTuples(), 4);
        auto* mask = vtkBitArray::SafeDownCast(points->GetArray("mask"));
        ASSERT_TRUE(mask);
        EXPECT_EQ(mask->GetTuple1(0) + 10 * mask->GetTuple1(1) + 100 * mask->GetTuple1(2), 101);

        vtkLookupTable* first = points->GetScalars()->GetLookupTable();
        EXPECT_EQ(first, mask->GetLookupTable());
        EXPECT_EQ(first->GetNumberOfTableValues(), 5);
        EXPECT_EQ(first->GetTableRange()[1], 0.1 + 0.2);
        first->Build();
        EXPECT_EQ(first->GetTableValue(4)[2], 1.0) << "the last colour of the default table is blue";
        vtkLookupTable* second = polys->GetCellData()->GetScalars()->GetLookupTable();
        EXPECT_EQ(second->GetNumberOfTableValues(), 2);
        EXPECT_EQ(second->GetTableRange()[0], -THIRD);
        EXPECT_EQ(second->GetTableRange()[1], 1e300);
    }
    EXPECT_EQ(Offered(*node).kinds(), (std::vector<std::string>{"polys", "point:T", "point:N", "point:along",
                                                                "point:mask", "cell:T", "7:T", "1:T", "1:T_2"}));
}

TEST_F(PolyDataNodeTest, unchangedDataIsTheSameObjectWithTheSameStamp)
{
    node->setPolyData(richTriangle());
    const auto before = Offered(*node).items;
    EXPECT_EQ(Offered(*node).items, before);
    GraphBuilder sharing(registry);
    node->serialize(sharing);
    const SceneGraph shared = sharing.take();
    EXPECT_EQ(Offered(of(shared)).items, before) << "loaded bytes and colours are not converted again";
    EXPECT_EQ(Offered(*node).items, before) << "and their owner does not notice";

    const auto changes = [&](const std::vector<Offered::Item>& old)
    {
        std::vector<std::string> res;
        const auto now = Offered(*node).items;
        for (std::size_t i = 0; i < now.size(); ++i)
        {
            if (!(now[i] == old.at(i)))
            {
                res.push_back(now[i].what);
            }
        }
        return res;
    };
    node->findArray(PolyDataNode::Points, "T")->GetLookupTable()->SetTableValue(0, 0, 0, 0, 0);
    EXPECT_EQ(changes(before), std::vector<std::string>{"1:T"});
    auto last = Offered(*node).items;
    auto* mask = vtkBitArray::SafeDownCast(node->findArray(PolyDataNode::Points, "mask"));
    mask->Modified();
    EXPECT_EQ(changes(last), std::vector<std::string>{});
    mask->SetValue(1, 1);
    mask->Modified();
    EXPECT_EQ(changes(last), std::vector<std::string>{"point:mask"});
    last = Offered(*node).items;
    auto next = node->assemble();
    next->GetPointData()->AddArray(filled<vtkFloatArray>("N", {1, 0, 0, 1, 0, 0, 1, 0, 0}, 3));
    node->setPolyData(next, PolyDataNode::Geometry::Keep);
    EXPECT_EQ(changes(last), std::vector<std::string>{"point:N"});
    last = Offered(*node).items;
    node->setPolyData(next);
    EXPECT_EQ(changes(last), std::vector<std::string>{"polys"});
    EXPECT_EQ(node->getGeometry()->GetPoints(), next->GetPoints());
    EXPECT_EQ(node->getGeometry()->GetPointData()->GetNumberOfArrays(), 0);
}

TEST_F(PolyDataNodeTest, arraysThatCannotBeHeldAreRefusedAndNothingChanges)
{
    node->setPolyData(richTriangle());
    const Offered before(*node);
    EXPECT_THROW(node->setPolyData(nullptr), InternalError);
    EXPECT_THROW(node->setArray(PolyDataNode::Points, nullptr), InternalError);
    vtkNew<vtkFloatArray> unnamed;
    EXPECT_THROW(node->setArray(PolyDataNode::Points, unnamed), InternalError);
    vtkNew<vtkStringArray> strings;
    strings->SetName("s");
    const auto renamed = filled<vtkFloatArray>("other", {1});
    for (vtkAbstractArray* bad : {static_cast<vtkAbstractArray*>(unnamed), static_cast<vtkAbstractArray*>(strings),
                                  static_cast<vtkAbstractArray*>(renamed)})
    {
        const auto polys = triangle();
        polys->GetCellData()->AddArray(filled<vtkFloatArray>("ok", {1}));
        renamed->SetName("other");
        polys->GetCellData()->AddArray(bad);
        renamed->SetName("ok");
        EXPECT_THROW(node->setPolyData(polys), InternalError);
    }
    EXPECT_EQ(Offered(*node).items, before.items);
    EXPECT_EQ(Offered(*node).properties, before.properties);

    EXPECT_TRUE(node->removeArray(PolyDataNode::Points, "N"));
    EXPECT_FALSE(node->removeArray(PolyDataNode::Points, "N"));
    EXPECT_EQ(node->findArray(PolyDataNode::Points, "mask"), node->getArrays(PolyDataNode::Points).at(2));
    EXPECT_EQ(node->assemble()->GetPointData()->GetNormals(), nullptr);
    node->setActive(PolyDataNode::Points, vtkDataSetAttributes::NORMALS, "");
    EXPECT_EQ(node->getActive(PolyDataNode::Points, vtkDataSetAttributes::NORMALS), "");
    node->setActive(PolyDataNode::Points, vtkDataSetAttributes::NUM_ATTRIBUTES, "T");
    node->setActive(PolyDataNode::Fields, vtkDataSetAttributes::SCALARS, "T");
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
    delivery.writePointData("PolyDataNode_1", nullptr, filled<vtkFloatArray>("T", {1, 2}));
    delivery.writePointData("PolyDataNode_1", nullptr, filled<vtkFloatArray>("T", {1, 2, 3}));
    delivery.writeCellData("PolyDataNode_1", nullptr, filled<vtkFloatArray>("c", {1, 2}));
    for (const auto tag : {NodeStream::DataTag1, NodeStream::DataTag2})
    {
        delivery.writeBinaryNodeData("PolyDataNode_1", filled<vtkUnsignedCharArray>("falling", {1, 2, 3, 4}, 4), tag,
                                     TimeStamp());
    }
    const SceneGraph loaded = delivery.take();
    const Offered again(of(loaded));
    EXPECT_EQ(again.properties, Properties(properties));
    EXPECT_EQ(again.kinds(),
              (std::vector<std::string>{"polys", "point:T", "cell:c", "polys", "point:T", "1:falling", "2:falling"}));
    std::vector<std::string> misfits;
    const auto polys = of(loaded).assemble(&misfits);
    EXPECT_EQ(misfits, (std::vector<std::string>{"T", "c"}));
    EXPECT_EQ(polys->GetPointData()->GetNumberOfArrays() + polys->GetCellData()->GetNumberOfArrays(), 0);
}

TEST_F(PolyDataNodeTest, arraysInsideStoredGeometryAreSeparated)
{
    auto polys = richTriangle();
    vtkNew<vtkStringArray> strings;
    strings->SetName("s");
    polys->GetPointData()->AddArray(strings);
    Delivery delivery(registry);
    delivery.node("PolyDataNode_1");
    const auto own = filled<vtkFloatArray>("N", {1, 2, 3});
    delivery.writePolys("PolyDataNode_1", polys, TimeStamp());
    delivery.writePointData("PolyDataNode_1", nullptr, own);
    std::vector<std::string> warnings;
    Logger::getSingleton().setSink([&](const std::string& entry) { warnings.push_back(entry); });
    const SceneGraph loaded = delivery.take();
    Logger::getSingleton().setSink({});
    EXPECT_EQ(warnings.size(), 1U);
    EXPECT_EQ(of(loaded).findArray(PolyDataNode::Points, "N"), own);
    EXPECT_EQ(of(loaded).findArray(PolyDataNode::Cells, "T"), polys->GetCellData()->GetArray("T"));
    EXPECT_EQ(of(loaded).getActive(PolyDataNode::Points, vtkDataSetAttributes::SCALARS), "T");
    EXPECT_EQ(of(loaded).getGeometry()->GetPointData()->GetNumberOfArrays(), 0);
    EXPECT_EQ(polys->GetPointData()->GetNumberOfArrays(), 5) << "the delivered object stays as it was";
}

} // namespace
