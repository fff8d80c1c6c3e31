#include "ImportGraph.h"

#include "DatasetArrays.h"
#include "DatasetComparison.h"
#include "InputFile.h"

#include "scenegraph/NodeStream.h"
#include "scenegraph/io/SDB.h"
#include "scenegraph/io/detail/TagKeys.h"

#include <vtkDataArray.h>

namespace tavosce
{

namespace
{

using tsg::PolyDataNode;

/// Changes the stamps of the datasets that a node offers until they are none of those that are taken.
class FreshStamps : public tsg::NodeStream
{
public:
    explicit FreshStamps(const std::set<std::uint64_t>& taken)
        : _taken(taken)
    {
    }

    bool write(const std::string&, Properties&&) override { return true; }

    bool writePolys(const std::string&, vtkPolyData* polys, tsg::TimeStamp) override { return refresh(polys); }

    bool writePointData(const std::string&, vtkPolyData*, vtkDataArray* array) override { return refresh(array); }

    bool writeCellData(const std::string&, vtkPolyData*, vtkDataArray* array) override { return refresh(array); }

    bool writeBinaryNodeData(const std::string&, vtkDataArray* array, DataTag, tsg::TimeStamp) override
    {
        return refresh(array);
    }

    bool writePropNodeData(const std::string&, Properties&&, DataTag) override { return true; }

private:
    bool refresh(vtkObject* object) const
    {
        while (_taken.count(object->GetMTime()) != 0)
        {
            object->Modified();
        }
        return true;
    }

    const std::set<std::uint64_t>& _taken;
};

/// Puts the node's own arrays into the dataset where they are equal.
void reuseArrays(const PolyDataNode& node, PolyDataNode::Association association, vtkFieldData& fields)
{
    for (int i = 0; i < fields.GetNumberOfArrays(); ++i)
    {
        vtkDataArray* const array = fields.GetArray(i);
        vtkDataArray* const known = array == nullptr ? nullptr : node.findArray(association, array->GetName());
        if (known != nullptr && sameArray(*known, *array))
        {
            replaceArray(fields, *known);
        }
    }
}

} // namespace

ImportGraph::ImportGraph(const std::string& title)
    : _root(_graph.create<tsg::SceneNode>())
{
    _root.setName(title);
    std::string problem;
    (void)_graph.chooseRoot(_root.getObjectKey(), problem); // it is there
}

void ImportGraph::setPart(std::size_t part, const std::string& name, vtkPolyData& dataset)
{
    while (_parts.size() <= part)
    {
        _parts.push_back(&_graph.create<PolyDataNode>());
        _root.addChild(*_parts.back());
    }
    PolyDataNode& node = *_parts[part];
    node.setName(name);
    int association = PolyDataNode::Points;
    for (const Section& section : sectionsOf(dataset))
    {
        reuseArrays(node, static_cast<PolyDataNode::Association>(association++), *section.fields);
    }
    const bool same = node.getGeometry() != nullptr && sameGeometry(*node.getGeometry(), dataset);
    node.setPolyData(&dataset, same ? PolyDataNode::Geometry::Keep : PolyDataNode::Geometry::Replace);
}

void avoidStamps(const tsg::SceneGraph& graph, const std::set<std::uint64_t>& stamps)
{
    FreshStamps stream(stamps);
    for (const auto& entry : graph.nodes())
    {
        entry.second->serialize(stream);
    }
}

std::set<std::uint64_t> storedStamps(const std::string& path, const std::string& sessionId)
{
    namespace key = sdb::detail::key;
    std::set<std::uint64_t> res;
    std::vector<std::uint64_t> ofRecord; // a record's blocks are reported before the record itself
    const auto block = [&](unsigned int, const Properties& tag)
    { ofRecord.push_back(static_cast<std::uint64_t>(tag.getLong(key::MTIME))); };
    const auto record = [&](const Properties& header)
    {
        if (header.getString(key::SESSION_ID) == sessionId)
        {
            res.insert(ofRecord.begin(), ofRecord.end());
        }
        ofRecord.clear();
    };
    InputFile file(path);
    sdb::indexRecords(file.stream(), record, block, [](const Properties&) {});
    return res;
}

} // namespace tavosce
