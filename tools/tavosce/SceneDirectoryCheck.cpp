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
#include "scenegraph/io/SceneGraphWriter.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraph/io/detail/TagKeys.h"
#include "scenegraph/io/detail/TagScan.h"

#include <filesystem>
#include <list>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

constexpr const char* SCENE = "scene.tsg";

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
        checkFiles();
        if (_depth == CheckDepth::Everything)
        {
            _res.unchecked = _unchecked;
        }
        return std::move(_res);
    }

private:
    void checkFiles()
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
            return;
        }
        checkNames(folder, files.size());
        double done = 0;
        for (const std::wstring& name : files)
        {
            throwIfInterrupted();
            _progress(done++ / static_cast<double>(files.size()));
            checkFile(folder + '/' + OS::toNarrow(name), "tsg/" + OS::toNarrow(name));
        }
    }

    void checkScene()
    {
        using sdb::detail::TagScan;
        InputFile file(_path + tsg::detail::SCENE_FILE);
        _res.bytes += file.size();
        std::uint64_t position = 0, skipped = 0;
        std::string text;
        TagScan scan = sdb::detail::scanTag(file.stream(), text, skipped);
        for (; scan == TagScan::Complete; scan = sdb::detail::scanTag(file.stream(), text, skipped))
        {
            checkBetween(position, skipped);
            checkNode(Properties(text), position + skipped);
            position += skipped + text.size();
        }
        checkBetween(position, skipped);
        if (scan != TagScan::NoTag || _nodes.empty())
        {
            add(FindingCode::SceneDamaged, position + skipped, _nodes.empty() ? "there is no node" : "", SCENE);
            return;
        }
        ++_res.readable;
        _unchecked.add(file.size());
    }

    /// Between records there is a line end, of one byte or two, and nothing else.
    void checkBetween(std::uint64_t position, std::uint64_t bytes)
    {
        if (bytes > 2)
        {
            add(FindingCode::SceneOdd, position, counted(bytes, "byte") + " that belong to no record", SCENE);
        }
    }

    void checkNode(const Properties& record, std::uint64_t begin)
    {
        const std::string& objectKey = record.getString(key::OBJECT_KEY);
        if (record.empty())
        {
            add(FindingCode::SceneDamaged, begin, {}, SCENE);
        }
        else if (record.getString(key::DATA_FIELD) == sdb::detail::field::CLASS_VERSIONS)
        {
            return;
        }
        else if (objectKey.empty() || !record.hasName(key::PROPERTIES))
        {
            add(FindingCode::SceneOdd, begin, "a record of no known kind", SCENE);
        }
        else if (!_nodes.insert(objectKey).second)
        {
            add(FindingCode::NodeRepeated, begin, "two nodes " + shown(objectKey), SCENE, objectKey);
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
                counted(all - regular, "item") + " of the data folder that readers pass over", "tsg");
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
                ++_res.readable;
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
            _unchecked.add(file.size());
            checkHeader(file, name);
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

    /// What the header of a data file says beside that which loading it proves.
    void checkHeader(InputFile& file, const std::string& name)
    {
        file.stream().clear();
        file.stream().seekg(0);
        std::string text;
        std::uint64_t skipped = 0;
        (void)sdb::detail::scanTag(file.stream(), text, skipped); // it has been loaded, so it is there
        const Properties header(text);
        const std::string& objectKey = header.getString(key::OBJECT_KEY);
        const int tag = header.getInt(key::TAG);
        if (!_data.insert({objectKey, tag, header.getString(key::NAME)}).second)
        {
            add(FindingCode::FileRepeated, 0, {}, name, objectKey);
        }
        if (tag == TagPolyData)
        {
            return;
        }
        const std::int64_t values = header.getInt(key::SIZE);
        const std::int64_t used =
            std::int64_t{header.getInt(key::NUMBER_OF_COMPONENTS)} * header.getInt(key::NUMBER_OF_TUPLES);
        const int width = tsg::detail::storedWidth(header.getInt(key::DATA_TYPE));
        const std::uint64_t begin = skipped + text.size();
        const std::uint64_t bytes = file.size() - begin;
        const std::uint64_t wanted = static_cast<std::uint64_t>(values) * static_cast<std::uint64_t>(width);
        // Behind the header is a line end of one byte, or of two.
        if (used > values || bytes < wanted + 1 || bytes > wanted + 2)
        {
            add(FindingCode::FileSize, begin,
                counted(bytes, "byte") + " for " + std::to_string(used) + " of " +
                    counted(static_cast<std::uint64_t>(values), "value"),
                name, objectKey);
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
    std::set<std::tuple<std::string, int, std::string>> _data; ///< owner, kind and name
    UncheckedData _unchecked;
    CheckedFile _res;
};

} // namespace

CheckedFile checkSceneDirectory(const std::string& path, CheckDepth depth, const Progress& progress)
{
    return DirectoryCheck(path, depth, progress).run();
}

} // namespace tavosce
