#include "scenegraph/NodeRegistry.h"

#include "core/Error.h"
#include "scenegraph/Node.h"

#include <algorithm>
#include <utility>

namespace tsg
{

namespace
{

constexpr Invariant STEP_GOES_UP{"An upgrade step has to lead to a newer version", "to > from",
                                 "base/src/scenegraph/NodeRegistry", 33};

} // namespace

std::string VersionGap::describe() const
{
    return className + " is stored with version " + std::to_string(stored) + ", and this program knows version " +
           std::to_string(known) +
           (stored > known ? ": what is new in it is not understood" : ": nothing brings it up to that");
}

NodeRegistry::NodeRegistry() = default;
NodeRegistry::~NodeRegistry() = default;

void NodeRegistry::registerClass(const std::string& className, Factory factory, std::optional<int> version)
{
    _factories[className] = std::move(factory);
    _versions.erase(className);
    if (version)
    {
        _versions.emplace(className, *version);
    }
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
    (void)followSteps(steps->second, versions.getClassVersion(className),
                      [&](const Step& step) { step.run(properties); });
}

void NodeRegistry::postUpgradeNodeProperties(const ClassVersions& versions)
{
    if (_postUpgrade)
    {
        _postUpgrade(versions);
    }
}

std::vector<VersionGap> NodeRegistry::findVersionGaps(const ClassVersions& stored) const
{
    std::vector<VersionGap> res;
    for (const auto& [className, version] : stored.getVersions())
    {
        if (auto gap = gapOf(className, version))
        {
            res.push_back(std::move(*gap));
        }
    }
    return res;
}

std::optional<VersionGap> NodeRegistry::gapOf(const std::string& className, int stored) const
{
    const auto told = _versions.find(className);
    const auto found = _steps.find(className);
    static const Steps none;
    const Steps& steps = found == _steps.end() ? none : found->second;
    if (told == _versions.end() && steps.empty())
    {
        return std::nullopt;
    }
    const auto isOlder = [](const Steps::value_type& a, const Steps::value_type& b)
    { return a.second.to < b.second.to; };
    const int known =
        told != _versions.end() ? told->second : std::max_element(steps.begin(), steps.end(), isOlder)->second.to;
    const bool isReached = stored <= known && followSteps(steps, stored, [](const Step&) {}) == known;
    return isReached || stored == known ? std::nullopt : std::make_optional(VersionGap{className, stored, known});
}

/// Visits the steps that lead on from a version one after another; the version that they lead to. Each step is looked
/// at once, in the order of where it starts, so that this ends whatever the steps are.
int NodeRegistry::followSteps(const Steps& steps, int version, const std::function<void(const Step&)>& visit)
{
    for (const auto& [from, step] : steps)
    {
        if (from == version)
        {
            visit(step);
            version = step.to;
        }
    }
    return version;
}

std::string classNameOf(const std::string& objectKey)
{
    return objectKey.substr(0, objectKey.rfind('_'));
}

} // namespace tsg
