#include "GraphFixture.h"

#include "core/Error.h"
#include "scenegraph/Attributes.h"
#include "scenegraph/ChartCanvasCollection.h"
#include "scenegraph/OpaqueNode.h"
#include "scenegraph/SceneNode.h"

using namespace tsg;

namespace
{

using GraphBuilderTest = GraphFixture;

template <class T>
T& get(const SceneGraph& graph, const std::string& key)
{
    return dynamic_cast<T&>(*graph.find(key));
}

TEST_F(GraphBuilderTest, everyClassKeepsWhatItsGettersGive)
{
    SceneGraph graph;
    auto& scene = graph.create<SceneNode>();
    scene.setName("ca\xc3\xb1on {1}");
    graph.create<ChartCanvasCollection>().setName("charts");
    graph.create<DataArrayAttributes>().setDataArrayName("p");
    graph.create<RibbonAttributes>().setRibbonOrientation(1);
    graph.create<SurfaceAttributes>().setSmoothShaded(true);
    scene.addChild(graph.create<TubeAttributes>());
    scene.addChild(graph.create<StreamlineDrawable>());
    scene.addChild(graph.create<LineMarkerAttributes>());
    scene.addChild(*graph.find("TubeAttributes_1"));

    const SceneGraph loaded = reload(graph);
    EXPECT_EQ(loaded.root()->getObjectKey(), "SceneNode_1");
    EXPECT_EQ(get<SceneNode>(loaded, "SceneNode_1").getName(), "ca\xc3\xb1on {1}");
    EXPECT_EQ(get<ChartCanvasCollection>(loaded, "ChartCanvasCollection_1").getName(), "charts");
    EXPECT_EQ(get<DataArrayAttributes>(loaded, "DataArrayAttributes_1").getDataArrayName(), "p");
    EXPECT_EQ(get<RibbonAttributes>(loaded, "RibbonAttributes_1").getRibbonOrientation(), 1);
    EXPECT_TRUE(get<SurfaceAttributes>(loaded, "SurfaceAttributes_1").getSmoothShaded());
    std::string order;
    for (const auto& child : loaded.root()->getChildren())
    {
        order += child->getObjectKey() + " ";
    }
    EXPECT_EQ(order, "TubeAttributes_1 StreamlineDrawable_1 LineMarkerAttributes_1 ");
    EXPECT_EQ(reachable(*loaded.root()).size(), 8U);
    EXPECT_EQ(classVersions(loaded), classVersions(graph));
    for (const auto& entry : graph.nodes())
    {
        EXPECT_EQ(Offered(*entry.second).properties, Offered(*loaded.find(entry.first)).properties) << entry.first;
    }
}

TEST_F(GraphBuilderTest, opaqueNodesKeepEverythingAndFindTheirReferences)
{
    const std::string properties =
        R"({"Self":"Gadget_a_1","S":"Gizmo_1","R":{"x":{"Gizmo_2":7,"y":{"z":"Gizmo_3"}}},"Gizmo_4":"none","n":3})";
    const auto point = floats("p", {1}), node = floats("q", {1});
    const std::map<std::string, int> versions{{"Gadget_a", 4}, {"SceneNode", 1}, {"GadgetBase", 9}};
    vtkNew<vtkPolyData> polys;
    Delivery delivery(registry, versions);
    delivery.node("SceneNode_1", R"({"Children":{"Gadget_a_1":5,"Lost_1":2}})").node("Gadget_a_1", properties);
    delivery.node("Gizmo_1").node("Gizmo_2").node("Gizmo_3").node("Gizmo_4").node("plain");
    EXPECT_TRUE(delivery.writePolys("Gadget_a_1", polys, TimeStamp(5)));
    EXPECT_TRUE(delivery.writePointData("Gadget_a_1", nullptr, point));
    EXPECT_TRUE(delivery.writeCellData("Gadget_a_1", nullptr, point));
    EXPECT_TRUE(delivery.writeBinaryNodeData("Gadget_a_1", node, NodeStream::DataTag4, TimeStamp(6)));
    EXPECT_TRUE(delivery.writePropNodeData("Gadget_a_1", Properties(R"({"k":1})"), NodeStream::DataTag2));

    const SceneGraph graph = reload(delivery.finish("SceneNode_1"));
    const Offered gadget(get<OpaqueNode>(graph, "Gadget_a_1"));
    EXPECT_EQ(gadget.properties.toString(), properties);
    EXPECT_THAT(gadget.kinds(), ElementsAre("polys", "point:p", "cell:p", "4:q", R"(2{"k":1})"));
    EXPECT_EQ(std::get<vtkObject*>(gadget.items[0]), polys);
    EXPECT_THAT(valuesOf(vtkDataArray::SafeDownCast(std::get<vtkObject*>(gadget.items[3]))), ElementsAre(1));
    EXPECT_EQ(reachable(*graph.root()), (Keys{{"SceneNode_1", 2}, // the child, and the node that nothing refers to
                                              {"Gadget_a_1", 4},
                                              {"Gizmo_1", 0},
                                              {"Gizmo_2", 0},
                                              {"Gizmo_3", 0},
                                              {"Gizmo_4", 0},
                                              {"plain", 0}}));
    EXPECT_EQ(classVersions(graph), versions);
    graph.root()->addChild(*graph.find("plain"));
    EXPECT_EQ(Offered(*graph.root()).properties.toString(), R"({"Children":{"Gadget_a_1":5,"Lost_1":2,"plain":6}})");
}

TEST_F(GraphBuilderTest, sharedAndCircularReferencesLeaveNoNodeUnreachable)
{
    Delivery delivery(registry);
    delivery.node("SceneNode_1", R"({"Children":{"X_1":1,"X_2":0}})");
    delivery.node("X_1", R"({"to":"X_3"})").node("X_2", R"({"to":"X_3"})").node("X_3", R"({"up":"SceneNode_1"})");
    delivery.node("A_1", R"({"to":"B_1"})").node("B_1", R"({"to":"A_1"})"); // reachable from nowhere else
    delivery.node("C_1").node("D_1", R"({"to":"C_1"})");                    // C hangs under D already
    const SceneGraph graph = delivery.finish();
    EXPECT_EQ(graph.root()->getChildren()[0]->getObjectKey(), "X_2");
    EXPECT_EQ(
        reachable(*graph.root()),
        (Keys{{"SceneNode_1", 4}, {"X_1", 1}, {"X_2", 1}, {"X_3", 1}, {"A_1", 1}, {"B_1", 1}, {"C_1", 0}, {"D_1", 1}}));
}

TEST_F(GraphBuilderTest, rootIsTheNamedNodeOrTheOneSceneOnTop)
{
    const std::string one = R"({"Children":{"SceneNode_1":0}})", two = R"({"Children":{"SceneNode_2":0}})";
    // nodes with their properties, the key asked for, and the root or the problem
    const std::tuple<std::map<std::string, std::string>, std::string, std::string> cases[] = {
        {{{"SceneNode_1", "{}"}, {"Chart_1", "{}"}}, "Chart_1", "Chart_1"},
        {{{"SceneNode_1", "{}"}}, "SceneNode_2", "the root node SceneNode_2 is missing"},
        {{{"SceneNode_1", "{}"}, {"SceneNode_2", one}}, "", "SceneNode_2"},
        {{{"SceneNode_1", one}}, "", "SceneNode_1"},
        {{{"Thing_1", "{}"}}, "", "there is no scene node"},
        {{{"SceneNode_1", "{}"}, {"SceneNode_2", "{}"}},
         "",
         "there are several scene nodes that could be the root: SceneNode_1, SceneNode_2"},
        {{{"SceneNode_1", two}, {"SceneNode_2", one}}, "", "every scene node belongs to another node"}};
    for (const auto& [nodes, rootKey, result] : cases)
    {
        Delivery delivery(registry);
        for (const auto& [key, properties] : nodes)
        {
            delivery.node(key, properties);
        }
        const SceneGraph graph = delivery.finish(rootKey);
        EXPECT_EQ(graph.root() != nullptr ? graph.root()->getObjectKey() : delivery.problem, result);
    }
}

TEST_F(GraphBuilderTest, knownClassesAreUpgradedAndOthersKeepTheirVersion)
{
    const auto step = [](const char* key) { return [key](Properties& properties) { properties.set(key, 1); }; };
    EXPECT_THROW(registry.addUpgradeStep("SceneNode", 1, 1, step("loops")), InternalError);
    EXPECT_THROW(registry.addUpgradeStep("SceneNode", 1, 0, step("loops")), InternalError);
    registry.addUpgradeStep("SceneNode", 0, 1, step("known"));
    registry.addUpgradeStep("Thing", 2, 3, step("unknown"));
    int finished = 0;
    registry.setPostUpgradeStep([&](const ClassVersions& versions) { finished += versions.getClassVersion("Thing"); });
    Delivery delivery(registry, {{"Thing", 2}});
    const SceneGraph graph = delivery.node("SceneNode_1").node("Thing_1").node("Stray_1").finish();
    EXPECT_EQ(finished, 2);
    EXPECT_EQ(graph.find("SceneNode_1")->getProperties().toString(), R"({"known":1})");
    EXPECT_EQ(graph.find("Thing_1")->getProperties().toString(), "{}");
    EXPECT_EQ(classVersions(graph), (std::map<std::string, int>{{"SceneNode", 1}, {"Thing", 2}}));
    EXPECT_TRUE(delivery.getVersionGaps().empty()) << "neither for what has no version nor for what stays as it is";
}

TEST_F(GraphBuilderTest, classesThatAreNotWhatTheyWereStoredAsAreListed)
{
    using Steps = std::vector<std::pair<int, int>>;
    // the version that the class is registered with, upgrade steps, the stored version, the one that is missed
    const std::tuple<std::optional<int>, Steps, int, int> cases[] = {
        {3, {}, 3, 0},
        {3, {}, 4, 3},
        {3, {{3, 4}}, 3, 0},
        {3, {}, 2, 3},
        {3, {{1, 2}, {2, 3}}, 1, 0},
        {3, {{1, 2}}, 1, 3},
        {3, {{1, 3}}, 2, 3},
        {3, {{1, 4}}, 1, 3},
        {std::nullopt, {}, 9, 0},
        {std::nullopt, {{2, 5}, {1, 2}}, 1, 0},
        {std::nullopt, {{2, 5}, {1, 2}}, 6, 5},
        {std::nullopt, {{4, 5}, {1, 2}}, 1, 5},
    };
    for (const auto& [told, steps, stored, missed] : cases)
    {
        const auto make = [](const std::string& key) { return std::make_unique<SceneNode>(key); };
        registry = NodeRegistry();
        registry.registerClass("Other", make, 1);
        registry.registerClass("N", make, told);
        for (const auto& [from, to] : steps)
        {
            registry.addUpgradeStep("N", from, to, [](Properties&) {});
        }
        Delivery delivery(registry, {{"N", stored}, {"Other", 7}});
        delivery.node("N_1").take();
        const auto& gaps = delivery.getVersionGaps();
        ASSERT_EQ(gaps.size(), missed == 0 ? 0U : 1U) << stored;
        EXPECT_TRUE(gaps.empty() || gaps[0].known == missed) << gaps[0].describe();
    }
}

TEST_F(GraphBuilderTest, whatFindsNoPlaceIsLeftOver)
{
    Delivery delivery(registry);
    EXPECT_TRUE(delivery.writePointData("Thing_1", nullptr, floats("early", {})));
    delivery.node("Thing_1", R"({"first":1})");
    EXPECT_FALSE(delivery.write("Thing_1", Properties(R"({"second":2})")));
    delivery.writeCellData("Nobody_1", nullptr, floats("orphan", {}));
    EXPECT_FALSE(delivery.writePolys("Thing_1", nullptr, TimeStamp()));
    EXPECT_FALSE(delivery.writePointData("Thing_1", nullptr, nullptr));
    EXPECT_FALSE(delivery.writeCellData("Thing_1", nullptr, nullptr));
    EXPECT_FALSE(delivery.writeBinaryNodeData("Thing_1", nullptr, NodeStream::DataTag1, TimeStamp()));

    const SceneGraph graph = delivery.take();
    const Offered thing(*graph.find("Thing_1"));
    EXPECT_EQ(thing.properties.toString(), R"({"first":1})");
    EXPECT_THAT(thing.kinds(), ElementsAre("point:early"));
    const auto& left = delivery.getLeftovers();
    ASSERT_EQ(left.nodes.size(), 1U);
    EXPECT_EQ(left.nodes[0].properties.toString(), R"({"second":2})");
    ASSERT_EQ(left.data.size(), 1U);
    EXPECT_EQ(left.data[0].objectKey + left.data[0].data.array->GetName(), "Nobody_1orphan");
    EXPECT_TRUE(delivery.take().nodes().empty());
    EXPECT_TRUE(delivery.getLeftovers().data.empty());
}

TEST_F(GraphBuilderTest, graphsOwnOneNodeOfAKey)
{
    SceneGraph graph;
    graph.create<SceneNode>();
    EXPECT_THROW(graph.add(std::make_unique<OpaqueNode>("SceneNode_1")), InternalError);
    EXPECT_THROW(graph.add(nullptr), InternalError);
    EXPECT_EQ(graph.create<SceneNode>().getObjectKey(), "SceneNode_2");
}

TEST_F(GraphBuilderTest, chainsOfAnyLengthAreBuiltAndDropped)
{
    constexpr int LENGTH = 100000;
    Delivery delivery(registry);
    delivery.node("SceneNode_1", R"({"Children":{"X_0":0}})");
    for (int i = 0; i < LENGTH; ++i)
    {
        delivery.node("X_" + std::to_string(i), R"({"next":"X_)" + std::to_string(i + 1) + "\"}");
    }
    const SceneGraph graph = delivery.finish();
    const Keys found = reachable(*graph.root());
    EXPECT_EQ(found.size(), LENGTH + 1U);
    EXPECT_EQ(found.at("SceneNode_1"), 1U);
}

} // namespace
