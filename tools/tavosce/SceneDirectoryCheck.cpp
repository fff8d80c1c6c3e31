// The check of scene directories, declared in FileCheck.h.

#include "FileCheck.h"

#include "Failure.h"
#include "InputFile.h"
#include "Interrupt.h"
#include "LibraryLog.h"
#include "Text.h"
#include "VtkMessages.h"

#include "core/Properties.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/io/SceneGraphReader.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/TagScan.h"

#include <filesystem>
#include <list>
#include <set>
#include <system_error>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// Receives the data of one file, and knows whose it is.
class Owner : public tsg::NodeStream
{
public:
    bool write(const std::string&, Properties&&) override { return true; }

    bool writePolys(const std::string& objectKey, vtkPolyData*, tsg::TimeStamp) override { return take(objectKey); }

    bool writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray*) override { return take(objectKey); }

    bool writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray*) override { return take(objectKey); }

    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray*, DataTag, tsg::TimeStamp) override
    {
        return take(objectKey);
    }

    bool writePropNodeData(const std::string& objectKey, Properties&&, DataTag) override { return take(objectKey); }

    std::string owner;

private:
    bool take(const std::string& objectKey)
    {
        owner = objectKey;
        return true;
    }
};

class DirectoryCheck
{
public:
    DirectoryCheck(std::string path, CheckDepth depth, const Progress& progress)
        : _path(std::move(path))
        , _depth(depth)
        , _progress(progress)
    {
    }

    CheckedFile run()
    {
        checkScene();
        const std::string folder = _path + tsg::detail::DATA_DIRECTORY;
        std::list<std::wstring> folders, files;
        if (!Platform::filesystem().listDirectory(folders, files, OS::toWide(folder)))
        {
            if (Platform::filesystem().directoryExists(OS::toWide(folder)))
            {
                add(FindingCode::FileRefused, 0, "cannot be read: " + systemReason(), "tsg");
            }
            return std::move(_res);
        }
        checkNames(folder, files.size());
        double done = 0;
        for (const std::wstring& name : files)
        {
            throwIfInterrupted();
            _progress(done++ / static_cast<double>(files.size()));
            checkFile(folder + '/' + OS::toNarrow(name), "tsg/" + OS::toNarrow(name));
        }
        return std::move(_res);
    }

private:
    void checkScene()
    {
        using sdb::detail::TagScan;
        InputFile file(_path + tsg::detail::SCENE_FILE);
        _res.bytes += file.size();
        std::uint64_t position = 0, skipped = 0;
        std::string text;
        for (TagScan scan = sdb::detail::scanTag(file.stream(), text, skipped);;
             scan = sdb::detail::scanTag(file.stream(), text, skipped))
        {
            const std::uint64_t begin = position + skipped;
            const Properties record(scan == TagScan::Complete ? text : std::string());
            if (scan == TagScan::NoTag)
            {
                break;
            }
            if (scan != TagScan::Complete || record.empty())
            {
                add(FindingCode::SceneDamaged, begin, {}, "scene.tsg");
            }
            if (scan != TagScan::Complete)
            {
                return;
            }
            checkNode(record, begin);
            position = begin + text.size();
        }
        ++_res.readable;
    }

    void checkNode(const Properties& record, std::uint64_t begin)
    {
        const std::string& objectKey = record.getString(key::OBJECT_KEY);
        if (!objectKey.empty() && !_nodes.insert(objectKey).second)
        {
            add(FindingCode::NodeRepeated, begin, "two nodes " + shown(objectKey), "scene.tsg", objectKey);
        }
    }

    /// What is neither file nor folder is passed over by readers.
    void checkNames(const std::string& folder, std::size_t regular)
    {
        std::error_code error;
        std::size_t all = 0;
        for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error))
        {
            ++all;
        }
        if (all > regular)
        {
            add(FindingCode::FileIrregular, 0,
                counted(all - regular, "entry") + " of the data folder that readers pass over", "tsg");
        }
    }

    void checkFile(const std::string& path, const std::string& name)
    {
        VtkMessages vtk;
        const LibraryLog log;
        Owner owner;
        try
        {
            InputFile file(path);
            _res.bytes += file.size();
            if (_depth == CheckDepth::Container)
            {
                return;
            }
            if (!tsg::SceneGraphReader(owner).loadVtkDataFromInputStream(file.stream()))
            {
                const std::string words = joined(vtk.takeErrors());
                add(FindingCode::FileRefused, 0, words.empty() ? "it is no data of a scene, or damaged" : shown(words),
                    name);
                return;
            }
            ++_res.readable;
        }
        catch (const Failure& failure)
        {
            add(FindingCode::FileRefused, 0, failure.what(), name);
            return;
        }
        if (_nodes.count(owner.owner) == 0)
        {
            add(FindingCode::NodeMissing, 0, "data of " + shown(owner.owner) + ", which is not there", name,
                owner.owner);
        }
    }

    void add(FindingCode code, std::uint64_t byte, const std::string& detail, const std::string& file,
             const std::string& objectKey = {})
    {
        Finding finding{code, byte, detail};
        finding.file = file;
        finding.objectKey = objectKey;
        _res.findings.push_back(std::move(finding));
    }

    std::string _path;
    CheckDepth _depth;
    const Progress& _progress;
    std::set<std::string> _nodes;
    CheckedFile _res;
};

} // namespace

CheckedFile checkSceneDirectory(const std::string& path, CheckDepth depth, const Progress& progress)
{
    return DirectoryCheck(path, depth, progress).run();
}

} // namespace tavosce
