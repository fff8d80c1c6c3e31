#pragma once

#include "scenegraph/DataNode.h"
#include "scenegraph/SceneNode.h"
#include "scenegraph/io/SDBReader.h"
#include "scenegraph/io/SDBWriter.h"
#include "support/Datasets.h"
#include "support/RecordingStream.h"
#include "support/TemporaryDirectory.h"

namespace test
{

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

/// Collects the percentages of a reader's or a writer's progress.
struct Percentages : Observer
{
    explicit Percentages(std::string expectedMessage)
        : message(std::move(expectedMessage))
    {
    }

    void update(const Properties& event) override
    {
        EXPECT_EQ(event.getString("Message"), message);
        values.push_back(event.getInt("PercentComplete"));
        if (onUpdate)
        {
            onUpdate();
        }
    }

    const std::string message;
    std::vector<int> values;
    std::function<void()> onUpdate; ///< may throw
};

/// Adds a record and answers with its index.
inline int add(tsg::SDBWriter& writer, tsg::Node& root, const std::string& session = "s",
               const std::string& title = "t")
{
    int index = -2;
    writer.addRecord(title, "d", session, root, index);
    return index;
}

/// What an operation writes to standard error.
template <class Operation>
std::string stderrOf(Operation operation)
{
    testing::internal::CaptureStderr();
    operation();
    return testing::internal::GetCapturedStderr();
}

/// One scene file in a directory of its own, with what reads it.
class SceneFileTest : public testing::Test
{
protected:
    std::string bytes() const { return bytesOf(file.narrow); }

    void replaceBytes(const std::string& bytes) const
    {
        std::filesystem::remove(file.narrow); // cheaper than cutting it
        writeBytes(file.narrow, bytes);
    }

    const TemporaryDirectory directory;
    const TemporaryFile file = directory.file("file.sce");
    const std::wstring& path = file.wide;
    tsg::SDBReader reader;
    RecordingStream stream;
};

} // namespace test
