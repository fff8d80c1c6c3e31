#pragma once

#include "core/ClassVersions.h"
#include "core/Subject.h"
#include "scenegraph/io/ISDBReader.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sdb::detail
{
struct Load;
}

namespace tsg
{

/// Reads scene databases: lists the records and thumbnails of a file and replays chosen records into a NodeStream.
///
/// The lists outlive `close` and a failed `open`; only an `open` that got as far as indexing replaces them. Progress of
/// a load is published to the observers of the Subject as {"Message": "Loading record", "PercentComplete": n}, on the
/// loading thread; an observer or receiver that throws is how a load is cancelled, and the reader stays usable.
/// Calling `open`, `close` or a load from inside such a call is a mistake of the caller.
class TAVO_EXPORT SDBReader : public ISDBReader, public Subject
{
public:
    SDBReader();
    ~SDBReader() override;

    /// Opens and indexes a file.
    ///   Success      - the lists hold the file's records and thumbnails
    ///   FileNotFound - no regular file at the path; nothing but the previous file's stream has changed
    ///   OpenFailed   - the file cannot be opened
    ///   WrongFormat  - foreign, or of a newer format or release; one line on standard error says which
    /// Raises InternalError for a file with a stray top-level tag; what was found before it stays listed and can be
    /// loaded.
    io::FileIoStatus open(const std::wstring& path) override;

    /// Closes the file; lists and canvas info are kept.
    void close() override;

    /// True if a file was opened and the list of records is not empty. Stays true after `close` and after a failed
    /// `open`, as the list does.
    bool isOpen() const override;

    /// Replays a record: its nodes, upgraded by the stream's registry, then its data, then the registry's post-upgrade
    /// step. A line is logged for each class of which the registry finds a version gap.
    ///   true  - the record was replayed to its end, or as far as its tags can be read
    ///   false - `header` is no record header, no file is open, or a block cannot be read (logged)
    /// Raises InternalError "Unknown BinaryData type" for a block of unknown kind.
    bool loadRecord(const Properties& header, NodeStream& stream) override;
    /// The same for a record of the list; false if there is no such index.
    bool loadRecord(int index, NodeStream& stream) override;

    const std::vector<Properties>& getRecords() override { return _records; }

    const std::vector<Properties>& getThumbnails() override { return _thumbnails; }

    /// Reads a thumbnail's pixels. Raises InternalError before the first `open` that reached a file; what cannot be
    /// read is black.
    void getThumbnailData(const Properties& tag, Bitmap<3>& bitmap) override;

    const CanvasInfo& getCanvasInfo() const override { return _canvasInfo; }

    /// Has `check` called again and again while a record is loaded, also in the middle of a large payload, about which
    /// observers hear nothing: at least once for each 16 MiB of data. What it throws ends the load, as with observers.
    /// Empty, as at first, for none.
    void setStopCheck(std::function<void()> check) { _stopCheck = std::move(check); }

private:
    void indexRecords(std::istream& in);
    void registerRecord(const Properties& header);
    void registerThumbnail(const Properties& tag);
    static CanvasType getCanvasTypeFromObjectKey(const std::string& objectKey);

    bool processProperties(const Properties& tag, NodeStream& stream, sdb::detail::Load& load);
    void processHeader(const Properties& header);
    void processClassVersions(const Properties& tag, sdb::detail::Load& load);
    void processNode(const Properties& tag, NodeStream& stream, sdb::detail::Load& load);
    bool processBinaryData(const Properties& tag, NodeStream& stream, sdb::detail::Load& load);
    void notifyLoadRecordProgress(const std::string& message, int percent);
    void checkStop() const;

    static bool loadDataArrayFromInputStream(std::ifstream& in, const Properties& tag, NodeStream& stream,
                                             sdb::detail::Load& load);
    static bool loadPolyDataFromInputStream(std::ifstream& in, const Properties& tag, NodeStream& stream,
                                            sdb::detail::Load& load);

    std::unique_ptr<std::ifstream> _fileStream; ///< null until an `open` reached a file
    ClassVersions _classVersions;               ///< of all loads of this reader
    std::vector<Properties> _records;
    std::vector<Properties> _thumbnails;
    CanvasInfo _canvasInfo;
    std::function<void()> _stopCheck; ///< see setStopCheck
    unsigned _use = 0;                ///< counts what moves the stream, so that a load notices when a callback does
};

} // namespace tsg
