#include "ComparedScenes.h"

#include "BlockLoad.h"
#include "SceneDirectory.h"
#include "SceneFile.h"
#include "Text.h"

#include "core/ClassVersions.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/SceneGraph.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

class Database : public ComparedScenes
{
public:
    explicit Database(const std::string& path)
        : _file(path)
    {
    }

    std::size_t count() const override { return _file.records().size(); }

    ComparedRecord record(std::size_t index) override
    {
        const Properties& header = _file.records()[index];
        RecordContents contents = _file.contentsOf(index);
        if (!contents.fault.empty())
        {
            throw Failure(TooDamaged, _file.placeOf(index, contents.faultPosition), contents.fault);
        }
        ComparedRecord res{
            header.getString(key::ROOT_NODE_KEY), std::move(contents.classVersions), std::move(contents.nodes), {}};
        for (StoredBlock& block : contents.blocks)
        {
            res.blocks.push_back(
                {block, payloadOf(block), [this, index, block] { return loadBlock(_file, index, block); }});
        }
        return res;
    }

    bool isDatabase() const override { return true; }

    void finish(bool all, Report& report) const override
    {
        _file.noteEnd(report); // equal records are equal whatever stands behind them
        if (all && !_file.canBeAddedTo())
        {
            report.raiseTo(TooDamaged); // nobody knows what else is in it
        }
    }

private:
    static Payload payloadOf(const StoredBlock& block)
    {
        const bool isArray = block.isArray();
        const auto ofArray = [&](const char* name) { return isArray ? block.tag.getInt(name) : 0; };
        return {block.filePos,
                block.length,
                isArray,
                ofArray(key::DATA_TYPE),
                ofArray(key::NUMBER_OF_COMPONENTS),
                ofArray(key::NUMBER_OF_TUPLES)};
    }

    SceneFile _file;
};

/// Collects what nodes are made of in the form that a scene database stores.
class Collector : public tsg::NodeStream
{
public:
    explicit Collector(ComparedRecord& record)
        : _record(record)
    {
    }

    bool write(const std::string& objectKey, Properties&& properties) override
    {
        StoredNode node;
        node.objectKey = objectKey;
        node.properties = std::move(properties);
        _record.nodes.push_back(std::move(node));
        return true;
    }

    bool writePolys(const std::string& objectKey, vtkPolyData* polys, tsg::TimeStamp) override
    {
        return add(objectKey, sdb::PolyData, {polys, nullptr});
    }

    bool writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array) override
    {
        return add(objectKey, sdb::PointData, {nullptr, array});
    }

    bool writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array) override
    {
        return add(objectKey, sdb::CellData, {nullptr, array});
    }

    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag, tsg::TimeStamp) override
    {
        return add(objectKey, tag == DataTag7 ? sdb::NodeDataA : sdb::NodeDataA + tag, {nullptr, array});
    }

    bool writePropNodeData(const std::string&, Properties&&, DataTag) override { return false; } // no file has any

private:
    bool add(const std::string& objectKey, int kind, const BlockData& data)
    {
        StoredBlock block;
        block.tag.set(key::OBJECT_KEY, objectKey);
        block.tag.set(key::TAG, kind);
        block.tag.set(key::NAME, data.array != nullptr ? data.array->GetName() : nullptr);
        _record.blocks.push_back({block, {}, [data] { return data; }});
        return true;
    }

    ComparedRecord& _record;
};

class Directory : public ComparedScenes
{
public:
    Directory(const std::string& path, Report& report)
    {
        LoadedScene scene = loadSceneDirectory(path, report);
        _graph = std::move(scene.graph);
        if (!scene.isWhole)
        {
            report.error(shown(path), "some of it cannot be loaded, and is compared as if it were not there",
                         TooDamaged);
        }
    }

    std::size_t count() const override { return 1; }

    ComparedRecord record(std::size_t) override
    {
        ComparedRecord res;
        res.root = _graph.root()->getObjectKey();
        ClassVersions versions;
        Collector collector(res);
        for (const auto& [objectKey, node] : _graph.nodes())
        {
            node->addClassVersion(versions);
            node->serialize(collector);
        }
        for (const auto& [className, version] : versions.getVersions())
        {
            res.classVersions.set(className, version);
        }
        return res;
    }

    bool isDatabase() const override { return false; }

    void finish(bool, Report&) const override {} // all has been said when it was loaded

private:
    tsg::SceneGraph _graph;
};

} // namespace

std::unique_ptr<ComparedScenes> ComparedScenes::open(const std::string& path, Report& report)
{
    if (isSceneDirectory(path))
    {
        return std::make_unique<Directory>(path, report);
    }
    return std::make_unique<Database>(path);
}

} // namespace tavosce
