#pragma once

#include "scenegraph/NodeStream.h"
#include "scenegraph/SceneNode.h"

#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace tsg
{
class SDBReader;
class SDBWriter;
} // namespace tsg

namespace bench
{

/// Ends the run if a step did not do what is measured.
void require(bool condition);

/// A file in the temporary directory that goes away with this object.
class ScratchFile
{
public:
    explicit ScratchFile(const char* name);
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& path() const { return _path; }

    std::wstring wide() const { return {_path.begin(), _path.end()}; }

    /// Bytes of the file; 0 while it does not exist.
    double size() const;

private:
    std::string _path;
};

struct FileCloser
{
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, FileCloser>;

/// What one case stores, as a scene and as the arrays of bytes that go into the file.
struct Payload
{
    tsg::SceneNode root{"SceneNode_1"};
    std::vector<std::vector<char>> arrays;
};

using MakePayload = const Payload& (*)();

/// A wavy surface; three arrays of float, double and id values; the surface with the fields of a simulation. Made on
/// first use.
const Payload& surface();
const Payload& standAloneArrays();
const Payload& frame();

/// A receiver that takes what it is given and keeps nothing.
class Sink : public tsg::NodeStream
{
public:
    bool write(const std::string&, Properties&&) override { return true; }

    bool writePolys(const std::string&, vtkPolyData*, tsg::TimeStamp) override { return count(); }

    bool writePointData(const std::string&, vtkPolyData*, vtkDataArray*) override { return count(); }

    bool writeCellData(const std::string&, vtkPolyData*, vtkDataArray*) override { return count(); }

    bool writeBinaryNodeData(const std::string&, vtkDataArray*, DataTag, tsg::TimeStamp) override { return count(); }

    bool writePropNodeData(const std::string&, Properties&&, DataTag) override { return true; }

    int datasets() const { return _datasets; }

private:
    bool count()
    {
        ++_datasets;
        return true;
    }

    int _datasets = 0;
};

/// Opens a new file, or an existing one, for reading.
void openNew(tsg::SDBWriter& writer, const ScratchFile& file, bool compress);
void openExisting(tsg::SDBReader& reader, const ScratchFile& file);

/// Adds a record of session "s".
void addRecord(tsg::SDBWriter& writer, const tsg::SceneNode& root);

/// Writes a new file of one record.
void writeRecord(const tsg::SceneNode& root, const ScratchFile& file, bool compress, bool synchronised = false);

/// Loads a record that has data.
void loadRecord(tsg::SDBReader& reader, int record);

/// Seconds of processor time that an operation takes: what else runs on the machine does not count.
template <class Operation>
double processorSeconds(Operation operation)
{
    const std::clock_t start = std::clock();
    operation();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

} // namespace bench
