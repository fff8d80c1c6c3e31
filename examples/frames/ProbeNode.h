#pragma once

#include "scenegraph/DataNode.h"

#include <string>
#include <utility>

#include <vtkFloatArray.h>
#include <vtkSmartPointer.h>

//! [class]
/// A point of a mesh that is watched: which one it is, and what was measured there so far.
class ProbeNode : public tsg::DataNode
{
public:
    static constexpr int VERSION = 1; ///< of the class: rises when what its properties mean changes

    static const std::string& getClassName()
    {
        static const std::string NAME = "ProbeNode";
        return NAME;
    }

    explicit ProbeNode(std::string objectKey)
        : DataNode(std::move(objectKey), getClassName(), VERSION)
        , _samples(vtkSmartPointer<vtkFloatArray>::New())
    {
        _samples->SetName("Samples");
    }

    int getPoint() const { return getProperties().getInt("Point"); }

    void setPoint(int point) { properties().set("Point", point, Properties::Overwrite); }

    vtkFloatArray& getSamples() const { return *_samples; }

    void addSample(float value)
    {
        _samples->InsertNextValue(value);
        _samples->Modified(); // a writer stores again only what has another modification time
    }

    void serialize(tsg::NodeStream& stream) const override
    {
        DataNode::serialize(stream); // the properties, with the children
        stream.writeBinaryNodeData(getObjectKey(), _samples, tsg::NodeStream::DataTag1);
    }

    void interpretData() override
    {
        removeData(
            [this](const tsg::NodeData& piece)
            {
                vtkFloatArray* const samples = vtkFloatArray::SafeDownCast(piece.array);
                if (samples == nullptr)
                {
                    return false; // not ours: DataNode keeps it, and writes it again
                }
                _samples = samples;
                return true;
            });
    }

private:
    vtkSmartPointer<vtkFloatArray> _samples;
};

//! [class]
