#include "scenegraph/io/detail/NodeVersions.h"

#include "scenegraph/NodeRegistry.h"
#include "scenegraphcommon/Logger.h"

namespace tsg::detail
{

namespace
{

LogSite gapFound(Logger::Warning, "visualization/src/scenegraph/io/detail/NodeVersions", 38);

} // namespace

void NodeVersions::add(const std::string& objectKey, const ClassVersions& stored)
{
    const std::string className = classNameOf(objectKey);
    const auto found = stored.getVersions().find(className);
    if (found != stored.getVersions().end())
    {
        _versions.setClassVersion(className, found->second);
    }
}

void NodeVersions::logGaps(const NodeRegistry& registry) const
{
    for (const VersionGap& gap : registry.findVersionGaps(_versions))
    {
        gapFound.log(gap.describe());
    }
}

} // namespace tsg::detail
