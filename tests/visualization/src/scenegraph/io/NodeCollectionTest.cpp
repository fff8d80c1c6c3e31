#include "scenegraph/io/SDB.h"

#include "scenegraph/Node.h"
#include "support/RaisedError.h"
#include "support/Testing.h"

#include <deque>
#include <unordered_set>

namespace
{

using namespace test;

class TestNode : public tsg::Node
{
public:
    using Node::Node;

    void addClassVersion(ClassVersions&) const override {}

    void collectReferences(std::unordered_set<tsg::Ptr<tsg::Node>>& references) const override
    {
        references.insert(children.begin(), children.end());
    }

    void serialize(tsg::NodeStream&) const override {}

    void refersTo(tsg::Object* object) { children.emplace_back(object); }

    std::vector<tsg::Ptr<tsg::Node>> children;
};

class TestObject : public tsg::Object
{
};

TEST(NodeCollectionTest, everyKeyIsCollectedOnceInTheOrderOfItsBytes)
{
    TestNode root("b"), umlaut("\xc3\xa4"), prefix("a"), longer("ab"), twin("ab"), behindTwin("z");
    root.refersTo(&umlaut);
    umlaut.refersTo(&root);
    root.refersTo(&prefix);
    prefix.refersTo(&longer);
    longer.refersTo(&twin);
    twin.refersTo(&behindTwin);
    sdb::NodeSet nodes;
    sdb::collectAllNodes(root, nodes);
    EXPECT_THAT(nodes, ElementsAre(&prefix, &longer, &root, &umlaut));
    EXPECT_EQ(*nodes.find(&twin), &longer);
    sdb::collectAllNodes(twin, nodes);
    EXPECT_EQ(nodes.size(), 4U);
}

TEST(NodeCollectionTest, aReferenceThatIsNoNodeRaisesAndAddsNothing)
{
    TestObject other;
    for (tsg::Object* const bad : {static_cast<tsg::Object*>(nullptr), static_cast<tsg::Object*>(&other)})
    {
        TestNode old("old"), root("root"), child("child");
        root.refersTo(&child);
        child.refersTo(bad);
        sdb::NodeSet nodes{&old};
        EXPECT_EQ(raisedBy([&] { sdb::collectAllNodes(root, nodes); }),
                  "Uninitialized object or unexpected object type|res|base/src/scenegraph/Ptr|63");
        EXPECT_THAT(nodes, ElementsAre(&old));
    }
}

TEST(NodeCollectionTest, graphsMayBeDeep)
{
    std::deque<TestNode> chain;
    for (int i = 0; i < 100000; ++i)
    {
        chain.emplace_back("N_" + std::to_string(i));
        if (i > 0)
        {
            chain[chain.size() - 2].refersTo(&chain.back());
        }
    }
    sdb::NodeSet nodes;
    sdb::collectAllNodes(chain.front(), nodes);
    EXPECT_EQ(nodes.size(), chain.size());
}

} // namespace
