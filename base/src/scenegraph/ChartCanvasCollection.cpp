#include "scenegraph/ChartCanvasCollection.h"

#include <utility>

namespace tsg
{

const std::string& ChartCanvasCollection::getClassName()
{
    static const std::string name = "ChartCanvasCollection";
    return name;
}

ChartCanvasCollection::ChartCanvasCollection(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

ChartCanvasCollection::~ChartCanvasCollection() = default;

} // namespace tsg
