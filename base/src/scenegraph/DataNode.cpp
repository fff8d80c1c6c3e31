#include "scenegraph/DataNode.h"

#include <algorithm>
#include <utility>

namespace tsg
{

namespace
{

constexpr const char* CHILDREN = "Children";

} // namespace

DataNode::DataNode(std::string objectKey, std::string className, std::optional<int> classVersion)
    : Node(std::move(objectKey))
    , _className(std::move(className))
    , _classVersion(classVersion)
{
}

DataNode::~DataNode() = default;

void DataNode::setName(const std::string& name)
{
    _properties.set("Name", name, Properties::Overwrite);
}

void DataNode::addChild(Node& child)
{
    const Ptr<Node> handle(&child);
    if (_childSet.insert(handle).second)
    {
        _children.push_back(handle);
    }
}

void DataNode::addHandle(Node& node)
{
    _handles.emplace_back(&node);
}

void DataNode::addData(NodeData data)
{
    _data.push_back(std::move(data));
}

void DataNode::removeData(const DataTest& unwanted)
{
    _data.erase(std::remove_if(_data.begin(), _data.end(), unwanted), _data.end());
}

void DataNode::addClassVersion(ClassVersions& versions) const
{
    for (const auto& [name, version] : _keptVersions.getVersions())
    {
        versions.setClassVersion(name, version);
    }
    if (_classVersion)
    {
        versions.setClassVersion(_className, *_classVersion);
    }
}

void DataNode::collectReferences(std::unordered_set<Ptr<Node>>& references) const
{
    references.insert(_children.begin(), _children.end());
    references.insert(_handles.begin(), _handles.end());
}

void DataNode::serialize(NodeStream& stream) const
{
    stream.write(getObjectKey(), propertiesToWrite());
    writeData(stream);
}

void DataNode::restoreProperties(Properties&& properties)
{
    _properties = std::move(properties);
}

void DataNode::connectReferences(const Lookup& lookup)
{
    const Properties& positions = _properties.getProperties(CHILDREN);
    std::vector<std::pair<std::int64_t, Node*>> found;
    for (const std::string& key : positions.names())
    {
        const std::int64_t position = positions.getInt(key);
        _nextPosition = std::max(_nextPosition, position + 1);
        if (Node* child = lookup(key))
        {
            found.emplace_back(position, child);
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& entry : found)
    {
        addChild(*entry.second);
    }
    _restoredChildren = _children.size();
}

void DataNode::interpretData() {}

Properties DataNode::propertiesToWrite() const
{
    Properties res = _properties;
    if (_restoredChildren == _children.size())
    {
        return res;
    }
    Properties positions = _properties.getProperties(CHILDREN);
    std::int64_t position = _nextPosition;
    for (std::size_t i = _restoredChildren; i < _children.size(); ++i)
    {
        positions.set(_children[i]->getObjectKey(), position++);
    }
    res.set(CHILDREN, std::move(positions), Properties::Overwrite);
    return res;
}

void DataNode::writeData(NodeStream& stream) const
{
    const auto polys = std::find_if(_data.begin(), _data.end(),
                                    [](const NodeData& data) { return data.kind == NodeData::Kind::Polys; });
    vtkPolyData* owner = polys == _data.end() ? nullptr : polys->polys.Get();
    for (const NodeData& data : _data)
    {
        data.offer(stream, getObjectKey(), owner);
    }
}

} // namespace tsg
