#include "ImportGraph.h"

#include "DatasetArrays.h"
#include "DatasetComparison.h"

#include <vtkDataArray.h>

namespace tavosce
{

namespace
{

using tsg::PolyDataNode;

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

} // namespace tavosce
