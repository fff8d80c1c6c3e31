#include "Leftovers.h"

#include "scenegraph/OpaqueNode.h"

#include <memory>

namespace tavosce
{

tsg::SceneGraph takeAll(tsg::GraphBuilder& builder)
{
    tsg::SceneGraph graph = builder.take();
    for (const auto& [objectKey, data] : builder.getLeftovers().data)
    {
        tsg::DataNode* node = graph.find(objectKey);
        if (node == nullptr)
        {
            node = &graph.add(std::make_unique<tsg::OpaqueNode>(objectKey));
        }
        node->addData(data);
    }
    return graph;
}

void warnOfVersionGaps(const tsg::GraphBuilder& builder, const std::string& place, Report& report)
{
    for (const tsg::VersionGap& gap : builder.getVersionGaps())
    {
        report.warning(place, gap.describe());
    }
}

} // namespace tavosce
