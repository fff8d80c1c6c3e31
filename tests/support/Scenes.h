#pragma once

#include "scenegraph/DataNode.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDBWriter.h"

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

#include <vtkCellArray.h>
#include <vtkDataArray.h>
#include <vtkFloatArray.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace test
{

/// A float array of one component.
inline vtkSmartPointer<vtkFloatArray> floats(const char* name, std::initializer_list<float> values)
{
    auto array = vtkSmartPointer<vtkFloatArray>::New();
    array->SetName(name);
    for (const float value : values)
    {
        array->InsertNextValue(value);
    }
    return array;
}

/// One triangle.
inline vtkSmartPointer<vtkPolyData> triangle()
{
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    auto points = vtkSmartPointer<vtkPoints>::New();
    points->InsertNextPoint(0, 0, 0);
    points->InsertNextPoint(1, 0, 0);
    points->InsertNextPoint(0, 1, 0.5);
    auto cells = vtkSmartPointer<vtkCellArray>::New();
    cells->InsertNextCell({0, 1, 2});
    polys->SetPoints(points);
    polys->SetPolys(cells);
    return polys;
}

/// side x side points in a plane, with two triangles a square.
inline vtkSmartPointer<vtkPolyData> grid(int side)
{
    auto polys = vtkSmartPointer<vtkPolyData>::New();
    auto points = vtkSmartPointer<vtkPoints>::New();
    auto cells = vtkSmartPointer<vtkCellArray>::New();
    for (vtkIdType id = 0; id < vtkIdType{side} * side; ++id)
    {
        const vtkIdType x = id % side;
        const vtkIdType y = id / side;
        points->InsertNextPoint(static_cast<double>(x), static_cast<double>(y), 0);
        if (x + 1 < side && y + 1 < side)
        {
            cells->InsertNextCell({id, id + 1, id + side});
            cells->InsertNextCell({id + 1, id + side + 1, id + side});
        }
    }
    polys->SetPoints(points);
    polys->SetPolys(cells);
    return polys;
}

/// A scene root with data of its own, and a hook that runs whenever it is asked to serialise itself.
class Scene : public tsg::SceneNode
{
public:
    explicit Scene(const std::string& key = "SceneNode_1")
        : SceneNode(key)
    {
    }

    Scene& with(vtkPolyData* polys)
    {
        addData(tsg::NodeData::ofPolys(polys, tsg::TimeStamp(polys->GetMTime())));
        return *this;
    }

    Scene& with(vtkDataArray* array)
    {
        addData(tsg::NodeData::ofPoints(array));
        return *this;
    }

    void serialize(tsg::NodeStream& stream) const override
    {
        SceneNode::serialize(stream);
        if (afterSerialize)
        {
            afterSerialize(stream);
        }
    }

    std::function<void(tsg::NodeStream&)> afterSerialize;
};

/// Adds a record and answers with its index.
inline int add(tsg::SDBWriter& writer, tsg::Node& root, const std::string& session = "s",
               const std::string& title = "t")
{
    int index = -2;
    writer.addRecord(title, "d", session, root, index);
    return index;
}

} // namespace test
