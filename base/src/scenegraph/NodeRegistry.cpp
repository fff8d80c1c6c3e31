#include "scenegraph/NodeRegistry.h"

#include "core/Error.h"
#include "scenegraph/Node.h"

#include <utility>

namespace tsg
{

namespace
{

constexpr Invariant STEP_GOES_UP{"An upgrade step has to lead to a newer version", "to > from",
                                 "base/src/scenegraph/NodeRegistry", 33};

} // namespace

NodeRegistry::NodeRegistry() = default;
NodeRegistry::~NodeRegistry() = default;

void NodeRegistry::registerClass(const std::string& className, Factory factory)
{
    _factories[className] = std::move(factory);
}

void NodeRegistry::addUpgradeStep(const std::string& className, int from, int to, UpgradeStep step)
{
    if (to <= from)
    {
        raise(STEP_GOES_UP);
    }
    _steps[className][from] = {to, std::move(step)};
}

void NodeRegistry::setPostUpgradeStep(PostUpgradeStep step)
{
    _postUpgrade = std::move(step);
}

bool NodeRegistry::isKnown(const std::string& className) const
{
    return _factories.count(className) > 0;
}

std::unique_ptr<Node> NodeRegistry::create(const std::string& objectKey) const
{
    const auto factory = _factories.find(classNameOf(objectKey));
    return factory == _factories.end() ? nullptr : factory->second(objectKey);
}

void NodeRegistry::upgradeNodeProperties(const std::string& objectKey, Properties& properties,
                                         const ClassVersions& versions)
{
    const std::string className = classNameOf(objectKey);
    const auto steps = _steps.find(className);
    if (steps == _steps.end())
    {
        return;
    }
    int version = versions.getClassVersion(className);
    for (auto step = steps->second.find(version); step != steps->second.end(); step = steps->second.find(version))
    {
        step->second.run(properties);
        version = step->second.to;
    }
}

void NodeRegistry::postUpgradeNodeProperties(const ClassVersions& versions)
{
    if (_postUpgrade)
    {
        _postUpgrade(versions);
    }
}

std::string classNameOf(const std::string& objectKey)
{
    return objectKey.substr(0, objectKey.rfind('_'));
}

} // namespace tsg
