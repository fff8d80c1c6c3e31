#pragma once

#include "scenegraph/io/SceneGraphReader.h"
#include "scenegraph/io/SceneGraphWriter.h"
#include "support/Scenes.h"

#include <iostream>

namespace test
{

/// What an operation writes to standard output.
template <class Operation>
std::string stdoutOf(Operation operation)
{
    testing::internal::CaptureStdout();
    operation();
    std::cout.flush();
    return testing::internal::GetCapturedStdout();
}

/// A scene directory that does not exist yet, and what loads it.
class SceneDirectoryTest : public testing::Test
{
protected:
    void writeScene(const std::string& text) const { writeFile("scene.tsg", text); }

    void writeData(const std::string& name, const std::string& bytes) const { writeFile("tsg/" + name, bytes); }

    std::string bytesOfFile(const std::string& name) const { return bytesOf(directory + "/" + name); }

    /// The paths of all files and directories below the parent directory, without that.
    std::vector<std::string> paths() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(parent.path()))
        {
            found.push_back(entry.path().string().substr(parent.path().size() + 1));
        }
        return found;
    }

    void writeFile(const std::string& name, const std::string& bytes) const
    {
        std::filesystem::create_directories(directory + "/tsg");
        std::filesystem::remove(directory + "/" + name); // cheaper than cutting it
        writeBytes(directory + "/" + name, bytes);
    }

    bool save(tsg::SceneNode& root) { return tsg::SceneGraphWriter().save(directory, root); }

    bool load() { return tsg::SceneGraphReader(stream).load(path.wide); }

    const TemporaryDirectory parent;
    const TemporaryFile path = parent.file("dir");
    const std::string& directory = path.narrow;
    RecordingStream stream;
};

} // namespace test
