#pragma once

#include "InputFile.h"
#include "Report.h"

#include "core/Properties.h"
#include "scenegraph/io/detail/Index.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tavosce
{

class Json;
struct RecordContents;

/// A scene database that is open for reading, and what its top level holds.
class SceneFile
{
public:
    /// Opens and indexes a file. What lies behind damage stays unknown: see reportEnd. Throws Failure:
    ///   CannotOpen  - missing, a directory, no permission
    ///   WrongFormat - foreign, or of a newer format version or release
    explicit SceneFile(std::string path);

    const std::string& path() const { return _path; }

    std::uint64_t size() const { return _file.size(); }

    std::istream& stream() { return _file.stream(); }

    /// The release that wrote the file.
    const std::string& release() const { return _release; }

    int formatVersion() const { return _formatVersion; }

    /// Record headers and thumbnail tags in file order.
    const std::vector<Properties>& records() const { return _records; }

    const std::vector<Properties>& thumbnails() const { return _thumbnails; }

    /// What a record holds. Of one whose header names another place than its own, as if it were another record, nothing
    /// but that fault.
    RecordContents contentsOf(std::size_t record);

    /// The newest thumbnail of a record, which is the one that counts; null if there is none.
    const Properties* thumbnailOf(int record) const;

    /// True if the file is nothing but whole items up to its end.
    bool isWhole() const;

    /// True if an item that is added at its end can be found again.
    bool canBeAddedTo() const;

    /// Where the next item would start.
    std::uint64_t nextItem() const { return _walk.position; }

    /// Warns of every place where the file is not whole.
    void reportEnd(Report& report) const;

    /// The same as notes, where the question was about something that is whole.
    void noteEnd(Report& report) const;

    /// Warns of what ended the walk of a record, if it is not the end that its header says.
    void reportFault(Report& report, std::size_t record, const RecordContents& contents) const;

    /// How messages name a record, and a byte in it.
    std::string placeOf(std::size_t record) const;
    std::string placeOf(std::size_t record, std::uint64_t position) const;

private:
    void readHeader();
    /// What is wrong with the file as a whole, by where: places and texts.
    std::vector<std::pair<std::string, const char*>> faults() const;

    std::string _path;
    InputFile _file;
    std::string _release;
    int _formatVersion = 0;
    std::vector<Properties> _records;
    std::vector<std::uint64_t> _places; ///< first byte of each record
    std::vector<Properties> _thumbnails;
    std::map<int, std::size_t> _newestThumbnails; ///< by record: the place in the list
    sdb::detail::WalkResult _walk;
};

/// Visits paths one after another. One whose visit throws a Failure is an error, which also becomes an element of the
/// array that `json` has begun unless that is null, and the others are visited all the same.
void visitPaths(const std::vector<std::string>& paths, Report& report, Json* json,
                const std::function<void(const std::string&)>& visit);

/// The same with scene databases, which are opened. It is said where they are not whole.
void visitFiles(const std::vector<std::string>& paths, Report& report, Json* json,
                const std::function<void(SceneFile&)>& visit);

} // namespace tavosce
