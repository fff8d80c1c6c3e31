#pragma once

#include "core/ClassVersions.h"
#include "core/Properties.h"
#include "scenegraph/GraphBuilder.h"
#include "scenegraph/NodeRegistry.h"
#include "scenegraph/SceneGraph.h"
#include "scenegraph/StandardNodes.h"
#include "support/Datasets.h"
#include "support/Testing.h"

#include <map>
#include <unordered_set>

using namespace test;

/// What a node offered: its properties and, in order, "kind:name" with the object and its stamp.
class Offered : public tsg::NodeStream
{
public:
    using Item = std::tuple<std::string, vtkObject*, vtkMTimeType>;

    explicit Offered(const tsg::Node& node) { node.serialize(*this); }

    std::vector<std::string> kinds() const
    {
        std::vector<std::string> res;
        for (const Item& item : items)
        {
            res.push_back(std::get<0>(item));
        }
        return res;
    }

    bool write(const std::string&, Properties&& value) override
    {
        properties = std::move(value);
        return true;
    }

    bool writePolys(const std::string&, vtkPolyData* polys, tsg::TimeStamp) override { return add("polys", polys); }

    bool writePointData(const std::string&, vtkPolyData*, vtkDataArray* array) override { return add("point", array); }

    bool writeCellData(const std::string&, vtkPolyData*, vtkDataArray* array) override { return add("cell", array); }

    bool writeBinaryNodeData(const std::string&, vtkDataArray* array, DataTag tag, tsg::TimeStamp) override
    {
        return add(std::to_string(tag), array);
    }

    bool writePropNodeData(const std::string&, Properties&& record, DataTag tag) override
    {
        items.emplace_back(std::to_string(tag) + record.toString(), nullptr, 0);
        return true;
    }

    Properties properties;
    std::vector<Item> items;

private:
    bool add(const std::string& kind, vtkObject* object)
    {
        auto* array = vtkDataArray::SafeDownCast(object);
        items.emplace_back(array ? kind + ":" + array->GetName() : kind, object, object->GetMTime());
        return true;
    }
};

/// Delivers nodes to a builder as a reader does: upgraded, marked with the release that wrote the file, and with arrays
/// that are new objects, of name, shape and values alone.
class Delivery : public tsg::GraphBuilder
{
public:
    explicit Delivery(tsg::NodeRegistry& registry, const std::map<std::string, int>& classVersions = {})
        : GraphBuilder(registry)
    {
        for (const auto& entry : classVersions)
        {
            versions.setClassVersion(entry.first, entry.second);
        }
    }

    bool write(const std::string& objectKey, Properties&& properties) override
    {
        properties.set(tsg::Node::FlowProductReleaseTag, "1.0");
        getNodeRegistry().upgradeNodeProperties(objectKey, properties, versions);
        return GraphBuilder::write(objectKey, std::move(properties));
    }

    bool writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array) override
    {
        return GraphBuilder::writePointData(objectKey, nullptr, delivered(array));
    }

    bool writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array) override
    {
        return GraphBuilder::writeCellData(objectKey, nullptr, delivered(array));
    }

    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag,
                             tsg::TimeStamp stamp) override
    {
        return GraphBuilder::writeBinaryNodeData(objectKey, delivered(array), tag, stamp);
    }

    Delivery& node(const std::string& objectKey, const std::string& properties = "{}")
    {
        write(objectKey, Properties(properties));
        return *this;
    }

    /// The graph with its root chosen; `problem` says why if there is none.
    tsg::SceneGraph finish(const std::string& rootKey = {})
    {
        getNodeRegistry().postUpgradeNodeProperties(versions);
        tsg::SceneGraph graph = take();
        const bool found = graph.chooseRoot(rootKey, problem);
        EXPECT_EQ(graph.root() != nullptr, found);
        return graph;
    }

    std::string problem;

    ClassVersions versions;

private:
    static vtkSmartPointer<vtkDataArray> delivered(vtkDataArray* array)
    {
        if (array == nullptr)
        {
            return nullptr;
        }
        auto res = vtkSmartPointer<vtkDataArray>::Take(array->NewInstance());
        res->SetName(array->GetName());
        res->SetNumberOfComponents(array->GetNumberOfComponents());
        res->InsertTuples(0, array->GetNumberOfTuples(), 0, array);
        return res;
    }
};

class GraphFixture : public testing::Test
{
protected:
    GraphFixture() { tsg::registerStandardNodes(registry); }

    /// The graph saved and loaded again.
    tsg::SceneGraph reload(const tsg::SceneGraph& graph)
    {
        Delivery delivery(registry, classVersions(graph));
        for (const auto& entry : graph.nodes())
        {
            entry.second->serialize(delivery);
        }
        return delivery.finish();
    }

    static std::map<std::string, int> classVersions(const tsg::SceneGraph& graph)
    {
        ClassVersions res;
        for (const auto& entry : graph.nodes())
        {
            entry.second->addClassVersion(res);
        }
        return res.getVersions();
    }

    using Keys = std::map<std::string, std::size_t>;

    /// The keys of all nodes that a writer would find, each with the number of its references.
    static Keys reachable(const tsg::Node& root)
    {
        Keys res;
        for (std::vector<const tsg::Node*> open{&root}; !open.empty();)
        {
            const tsg::Node& node = *open.back();
            open.pop_back();
            std::unordered_set<tsg::Ptr<tsg::Node>> references;
            node.collectReferences(references);
            if (res.emplace(node.getObjectKey(), references.size()).second)
            {
                std::transform(references.begin(), references.end(), std::back_inserter(open),
                               [](const auto& reference) { return &*reference; });
            }
        }
        return res;
    }

    tsg::NodeRegistry registry;
};
