#pragma once

#include "core/ClassVersions.h"
#include "core/Export.h"
#include "core/Properties.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tsg
{

class Node;

/// A class whose stored nodes do not become what the application knows.
struct TAVO_EXPORT VersionGap
{
    std::string className;
    int stored; ///< version that the nodes were stored with
    int known;  ///< version of the class in the application: older, or newer and no steps lead to it

    /// The gap as a sentence for people.
    std::string describe() const;
};

/// The node classes that an application knows: how to make one, and how to bring older properties up to date.
class TAVO_EXPORT NodeRegistry
{
public:
    /// Makes a node of the class with the given object key.
    using Factory = std::function<std::unique_ptr<Node>(const std::string& objectKey)>;
    /// Changes a node's properties in place.
    using UpgradeStep = std::function<void(Properties&)>;
    using PostUpgradeStep = std::function<void(const ClassVersions&)>;

    NodeRegistry();
    virtual ~NodeRegistry();

    /// Makes a class known under its name, with its present version if that is told; an earlier factory and version of
    /// that name are replaced.
    void registerClass(const std::string& className, Factory factory, std::optional<int> version = std::nullopt);
    /// Adds the step that takes a class from version `from` to version `to`; `to` has to be greater (InternalError).
    void addUpgradeStep(const std::string& className, int from, int to, UpgradeStep step);
    /// Sets what runs once after the nodes of a scene have been upgraded.
    void setPostUpgradeStep(PostUpgradeStep step);

    /// True if the class has a factory.
    bool isKnown(const std::string& className) const;
    /// A new node of the class that the object key names, or null for an unknown class.
    std::unique_ptr<Node> create(const std::string& objectKey) const;

    /// Runs the steps of the node's class, beginning with the version that the scene was written with. The class is the
    /// part of the object key before its last "_". Classes without steps are left as they are.
    virtual void upgradeNodeProperties(const std::string& objectKey, Properties& properties,
                                       const ClassVersions& versions);
    virtual void postUpgradeNodeProperties(const ClassVersions& versions);
    /// Of classes of stored nodes, with the versions they were stored with, those that are newer than what the
    /// application knows, or older while the steps do not lead up to that. What it knows is the version that the class
    /// was registered with, else the newest that a step leads to; a class without either has no gap.
    virtual std::vector<VersionGap> findVersionGaps(const ClassVersions& stored) const;

private:
    struct Step
    {
        int to;
        UpgradeStep run;
    };

    using Steps = std::map<int, Step>; ///< by the version that a step starts from

    static int followSteps(const Steps& steps, int version, const std::function<void(const Step&)>& visit);
    std::optional<VersionGap> gapOf(const std::string& className, int stored) const;

    std::map<std::string, Factory> _factories;
    std::map<std::string, int> _versions; ///< of classes that were registered with one
    std::map<std::string, Steps> _steps;
    PostUpgradeStep _postUpgrade;
};

/// The part of an object key before its last "_": the class name of its node. The whole key if it has no "_".
TAVO_EXPORT std::string classNameOf(const std::string& objectKey);

} // namespace tsg
