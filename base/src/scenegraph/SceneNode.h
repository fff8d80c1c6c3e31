#pragma once

#include "core/Export.h"
#include "scenegraph/DataNode.h"

#include <string>

namespace tsg
{

/// The root of a scene.
class TAVO_EXPORT SceneNode : public DataNode
{
public:
    static const std::string& getClassName();

    explicit SceneNode(std::string objectKey);
    ~SceneNode() override;
};

} // namespace tsg
