#pragma once

#include "core/Properties.h"
#include "scenegraph/NodeStream.h"
#include "support/Testing.h"

#include <map>

#include <vtkDataArray.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace test
{

/// A receiver that logs every call as one line and keeps what it was given.
class RecordingStream : public tsg::NodeStream
{
public:
    bool write(const std::string& key, Properties&& properties) override
    {
        nodes[key] = std::move(properties);
        return log("node " + key);
    }

    bool writePolys(const std::string& key, vtkPolyData* data, tsg::TimeStamp) override
    {
        polys[key] = data;
        return log("polys " + key);
    }

    bool writePointData(const std::string& key, vtkPolyData*, vtkDataArray* array) override
    {
        return keep("point", key, array);
    }

    bool writeCellData(const std::string& key, vtkPolyData*, vtkDataArray* array) override
    {
        return keep("cell", key, array);
    }

    using NodeStream::writeBinaryNodeData;

    bool writeBinaryNodeData(const std::string& key, vtkDataArray* array, DataTag tag, tsg::TimeStamp) override
    {
        return keep("node" + std::to_string(tag), key, array);
    }

    bool writePropNodeData(const std::string& key, Properties&&, DataTag) override { return log("record " + key); }

    tsg::NodeRegistry& getNodeRegistry() override { return registry; }

    std::vector<std::string> calls;
    std::map<std::string, Properties> nodes;
    std::map<std::string, vtkSmartPointer<vtkPolyData>> polys;
    std::map<std::string, vtkSmartPointer<vtkDataArray>> arrays; ///< by "kind key/name"
    std::function<void()> onCall;                                ///< runs in every call; may throw
    tsg::NodeRegistry registry;

private:
    bool keep(const std::string& kind, const std::string& key, vtkDataArray* array)
    {
        const std::string line = kind + " " + key + "/" + array->GetName();
        arrays[line] = array;
        return log(line);
    }

    bool log(const std::string& line)
    {
        calls.push_back(line);
        if (onCall)
        {
            onCall();
        }
        return true;
    }
};

} // namespace test
