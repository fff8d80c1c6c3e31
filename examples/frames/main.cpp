// Writes a scene with a node class of its own as two frames of an animation, adds a third one later, and reads all of
// them back. usage: frames FILE.sce

#include "ProbeNode.h"

#include "platform/FileSystem.h"
#include "scenegraph/GraphBuilder.h"
#include "scenegraph/PolyDataNode.h"
#include "scenegraph/SceneGraph.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/StandardNodes.h"
#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"

#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include <vtkCellArray.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>

using tsg::io::FileIoStatus;

namespace
{

//! [scene]
/// A square that stands still, and a probe at its third corner.
struct Scene
{
    tsg::SceneGraph graph; // owns the nodes
    tsg::SceneNode& root = graph.create<tsg::SceneNode>();
    tsg::PolyDataNode& mesh = graph.create<tsg::PolyDataNode>();
    ProbeNode& probe = graph.create<ProbeNode>();

    Scene()
    {
        const vtkNew<vtkPoints> points;
        const vtkNew<vtkCellArray> cells;
        const vtkIdType corners[] = {0, 1, 2, 3};
        for (const vtkIdType corner : corners)
        {
            points->InsertNextPoint(static_cast<double>(corner % 2), static_cast<double>(corner / 2), 0);
        }
        cells->InsertNextCell(4, corners);
        const vtkNew<vtkPolyData> square;
        square->SetPoints(points);
        square->SetStrips(cells);
        mesh.setGeometry(square);
        mesh.setName("Square");
        probe.setPoint(2);
        root.addChild(mesh);
        root.addChild(probe);
    }

    /// What changes from frame to frame: an array on the points, and one more sample.
    void advanceTo(int frame)
    {
        const vtkNew<vtkFloatArray> pressure;
        pressure->SetName("Pressure");
        for (int point = 0; point < 4; ++point)
        {
            pressure->InsertNextValue(static_cast<float>(10 * frame + point));
        }
        mesh.setArray(tsg::PolyDataNode::Points, pressure);
        probe.addSample(pressure->GetValue(probe.getPoint()));
    }
};

//! [scene]

//! [write]
/// Adds frames as records of one session: the geometry, which does not change, is stored with the first of them only.
bool addFrames(tsg::SDBWriter& writer, Scene& scene, int first, int count)
{
    for (int frame = first; frame < first + count; ++frame)
    {
        scene.advanceTo(frame);
        int record = -1;
        if (writer.addRecord("Flow", "A square with a probe", "run 1", scene.root, record) != FileIoStatus::Success ||
            writer.hasFailed())
        {
            return false;
        }
    }
    return true;
}

bool writeScene(const std::wstring& path)
{
    Scene scene; // outlives the writer, which keeps the nodes that it has seen
    tsg::SDBWriter writer;
    if (writer.open(path, /*append*/ false, /*compress*/ true) != FileIoStatus::Success ||
        !addFrames(writer, scene, 0, 2))
    {
        return false;
    }
    writer.close();
    return writer.open(path, /*append*/ true, /*compress*/ true) == FileIoStatus::Success &&
           addFrames(writer, scene, 2, 1);
}

//! [write]

//! [register]
/// Nodes of classes that have no factory would be kept all the same, but as tsg::OpaqueNode.
void registerClasses(tsg::NodeRegistry& registry)
{
    tsg::registerStandardNodes(registry);
    registry.registerClass(
        ProbeNode::getClassName(), [](const std::string& objectKey) { return std::make_unique<ProbeNode>(objectKey); },
        ProbeNode::VERSION);
}

//! [register]

void print(vtkDataArray& values)
{
    for (vtkIdType i = 0; i < values.GetNumberOfTuples(); ++i)
    {
        std::cout << ' ' << values.GetComponent(i, 0);
    }
    std::cout << '\n';
}

//! [print]
/// False when something that was written is not there.
bool print(const tsg::SceneGraph& graph)
{
    const auto* mesh = dynamic_cast<const tsg::PolyDataNode*>(graph.find("PolyDataNode_1"));
    const auto* probe = dynamic_cast<const ProbeNode*>(graph.find("ProbeNode_1"));
    if (mesh == nullptr || mesh->getGeometry() == nullptr || probe == nullptr)
    {
        return false;
    }
    vtkDataArray* const pressure = mesh->findArray(tsg::PolyDataNode::Points, "Pressure");
    if (pressure == nullptr)
    {
        return false;
    }
    std::cout << "  " << mesh->getName() << ": " << mesh->getGeometry()->GetNumberOfPoints() << " points, pressure";
    print(*pressure);
    std::cout << "  probe at point " << probe->getPoint() << ": samples";
    print(probe->getSamples());
    return true;
}

//! [print]

//! [load]
bool readScene(const std::wstring& path)
{
    tsg::SDBReader reader;
    if (reader.open(path) != FileIoStatus::Success)
    {
        return false;
    }
    tsg::NodeRegistry registry; // outlives the builder
    registerClasses(registry);
    tsg::GraphBuilder builder(registry);
    int index = 0;
    for (const Properties& header : reader.getRecords())
    {
        std::cout << "record " << index << ": \"" << header.getString("Title") << "\", frame " << header.getInt("Frame")
                  << '\n';
        if (!reader.loadRecord(index, builder) || !print(builder.take()))
        {
            return false;
        }
        ++index;
    }
    return true;
}

//! [load]

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: frames FILE.sce\n";
        return 2;
    }
    const std::wstring path = OS::toWide(argv[1]);
    try
    {
        if (!writeScene(path))
        {
            std::cerr << "cannot write " << argv[1] << '\n';
            return 1;
        }
        if (!readScene(path))
        {
            std::cerr << "cannot read " << argv[1] << '\n';
            return 1;
        }
    }
    catch (const std::exception& error) // a full disk, a damaged file, or no memory
    {
        std::cerr << argv[1] << ": " << error.what() << '\n';
        return 1;
    }
    return 0;
}
