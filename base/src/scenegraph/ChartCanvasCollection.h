#pragma once

#include "core/Export.h"
#include "scenegraph/DataNode.h"

#include <string>

namespace tsg
{

/// The root of a collection of charts.
class TAVO_EXPORT ChartCanvasCollection : public DataNode
{
public:
    static const std::string& getClassName();

    explicit ChartCanvasCollection(std::string objectKey);
    ~ChartCanvasCollection() override;
};

} // namespace tsg
