#pragma once

#include "scenegraph/NodeStream.h"
#include "scenegraph/io/ISDBWriter.h"
#include "scenegraph/io/SDB.h"

#include <cstdint>
#include <functional>
#include <ios>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>

#include <vtkSmartPointer.h>

class vtkFloatArray;

class Observer;

namespace sdb::detail
{
class AppendStream;
class FileIndex;
class WriteProgress;
struct TagStream;
} // namespace sdb::detail

namespace tsg
{

/// Writes scene databases: creates, replaces or extends a file and adds records and thumbnails at its end.
///
/// A record is complete on disk when `addRecord` returns; closing adds nothing. The writer keeps every node that it has
/// written, and repeats it in its later records, unless `forgetNodes` is called: callers keep the nodes alive until
/// then.
///
/// A session is the unit of sharing: data that an earlier record of the same session id stored under the same node,
/// name and kind, and with the same modification stamp, is referred to instead of stored again. Stamps are counted by
/// each process for itself. So a session may be continued by any process, under any id, without harm: what this process
/// has not stored itself is compared with the new data before it is referred to.
///
/// One writer at a time has a file: `open` locks it, and the lock goes with `close`, or with the process. Readers may
/// be open at any moment. Copies of a writer share one open file: closing one closes it for both. Data is handed to the
/// system, so that a killed process loses no acknowledged record; with setSynchronised(true) a power cut loses none
/// either.
class TAVO_EXPORT SDBWriter : public ISDBWriter, public NodeStream
{
public:
    SDBWriter();
    SDBWriter(const SDBWriter&);
    SDBWriter& operator=(const SDBWriter&);
    ~SDBWriter() override;

    /// File extension of scene databases, without a dot.
    static const std::string& getExt();

    /// Opens a file for adding, and locks it.
    ///   Success     - the file exists, with a header, and is indexed
    ///   OpenFailed  - another writer has the file, the path cannot be written, or (appending) what follows the damage
    ///                 in the file would be invisible (one line on standard error for the first and the last); the
    ///                 file has not changed, and `errno` tells the system's reason, EWOULDBLOCK for a locked file
    ///   WrongFormat - the existing file is foreign, or of a newer format or release (one line on standard error)
    /// Raises InternalError for a file with a stray top-level tag. A file that this writer has open is left to the
    /// copies of this writer, also if the new one cannot be opened for writing; it stays open if the new one is
    /// foreign, or damaged. The same file may be opened again, which closes it for the copies.
    io::FileIoStatus open(const std::wstring& path, bool append, bool compress) override;
    /// Closes the file, for all copies of this writer, and forgets what is in it; writes nothing.
    void close() override;

    /// Adds one record: everything that can be reached from `root`, which is a SceneNode or a ChartCanvasCollection
    /// (InternalError otherwise).
    ///   Success - the record is written and `recordIndex` its index in the file, or it could not be written: then
    ///             `recordIndex` is -1 and hasFailed() true
    ///   NotOpen - no file is open, or the call comes from a node in the middle of another addition; nothing was
    ///             written
    /// Raises InternalError "Writing DataArray failed" when there is no room for the values of a polydata:
    /// `recordIndex` is -1 and hasFailed() true then, as for all that cannot be written. What a node throws passes
    /// through; the record is then not in the file. Nor is it when a node closes the file or opens another one:
    /// hasFailed() then says so.
    io::FileIoStatus addRecord(const std::string& title, const std::string& description, const std::string& sessionId,
                               Node& root, int& recordIndex) override;

    /// Appends a picture for a record; the index is stored as it is.
    ///   Success - the picture is written, or it could not be written: then hasFailed() is true
    ///   NotOpen - as for addRecord
    io::FileIoStatus addThumbnail(int recordIndex, const Bitmap<3>& bitmap) override;

    /// True if an addition since the last `open` could not be written, for example to a full disk. The file was cut
    /// back to its last whole item, or to what it held before all additions, and closed.
    bool hasFailed() const { return _failed; }

    /// True if nodes are being asked for their data at the moment.
    bool getExportBinaryData() const { return _binaryPass; }

    /// Attaches and detaches an observer of the writing of records; it stays with the caller and must be detached
    /// before it dies. It hears {"Message": "Writing record", "PercentComplete": n} when a record begins and each time
    /// that n passes a multiple of five, by the bytes of the record's data. What it throws passes through `addRecord`,
    /// and the record is taken back: the file is as it was before.
    void attach(Observer& observer);
    void detach(Observer& observer);

    /// Has `check` called again and again while a record is written, also in the middle of a large payload: at least
    /// once for each 16 MiB of data. What it throws takes the record back, as with observers. Empty, as at first, for
    /// none.
    void setStopCheck(std::function<void()> check);

    /// True if acknowledged items have reached the device, so that a power cut leaves them: the header of an item is
    /// synchronised before its payloads, these before the byte that completes the item, and that byte, and the name of
    /// a new file, before the call returns. Off by default, since it costs three waits for the device an item. To be
    /// set before `open`.
    void setSynchronised(bool synchronised) { _synchronised = synchronised; }

    /// True if what is added to a file between `open` and `close` stands or falls together: an addition that cannot be
    /// written then takes all of it back. Off by default. To be set before the first addition.
    void setAllOrNothing(bool allOrNothing) { _allOrNothing = allOrNothing; }

    /// Forgets the nodes of earlier records, so that the next record repeats none of them, nor lets geometry carry
    /// arrays for their sake.
    void forgetNodes();

    /// Takes back everything that was added since `open`, and closes the file: it is cut back to where the first of
    /// that began. False if it could not be cut, or is not open.
    bool rollBack();

protected:
    // Steps that a derived writer may replace one by one. The order is the order of their slots, which follow those of
    // ISDBWriter: they stand before the operations of the other base.
    virtual bool isOpen() const;
    virtual Properties writeHeader(const std::string& rootNodeKey, const std::string& title,
                                   const std::string& description, const std::string& sessionId,
                                   unsigned long long recordPos, unsigned long long length,
                                   unsigned long long binaryData);
    virtual void writeClassVersions();
    virtual void moveFileStreamTo(std::streampos position);
    virtual void flushFileStream();
    virtual void writeThumbnail(int recordIndex, const Bitmap<3>& bitmap);

public:
    // What nodes call while they are asked to serialise themselves.

    /// Writes a node tag in the pass of the properties; always true.
    bool write(const std::string& objectKey, Properties&& properties) override;
    /// Stores geometry, or refers to what is stored, in the pass of the data. False for null in either pass.
    bool writePolys(const std::string& objectKey, vtkPolyData* polys, TimeStamp stamp) override;
    /// These store an array, or refer to what is stored, in the pass of the data; the polydata is not looked at. Raise
    /// InternalError for null and for an array without a name.
    ///   true  - it is stored, or it is not the pass of the data
    ///   false - it cannot be stored, or not be written (one line on standard error)
    bool writePointData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override;
    bool writeCellData(const std::string& objectKey, vtkPolyData* polys, vtkDataArray* array) override;
    using NodeStream::writeBinaryNodeData;
    /// The same, always compressed, for the tags 1 and 7; raises InternalError for others in either pass.
    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag, TimeStamp stamp) override;
    /// Always raises InternalError.
    bool writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag) override;

private:
    class Addition;

    struct BlockKey;
    using Pulse = std::function<void(std::uint64_t bytes)>;

    bool secureFile();
    bool canBeginAddition() const;
    bool isAdding() const;
    io::FileIoStatus refuseFile(const std::wstring& path, bool append);
    bool indexRecords(std::istream& in, const std::unordered_map<unsigned int, std::uint64_t>& known,
                      std::uint64_t& nextItem);
    void rememberFile();
    std::streampos getStreamPosition();
    sdb::detail::TagStream tagStream();
    void writeTag(const Properties& tag);
    template <class Holds>
    const Properties* findReusableBlock(const BlockKey& block, const Holds& holdsData);
    bool isWholeBlockOf(const Properties& stored, const BlockKey& block) const;
    bool writePolysBlock(const BlockKey& block, vtkPolyData& polys, TimeStamp stamp);
    bool writeArrayBlock(const BlockKey& block, vtkDataArray& given, int narrowingShift, CompressionMethods method);
    void collectDataArrays();
    void prepareHeader(Properties header, unsigned long long recordPos, unsigned long long headerEnd,
                       unsigned long long length, unsigned long long binaryData);
    void writePropertyTags();
    void writeBinaryData();
    void writePolyDataBlock(vtkPolyData& polys, const Pulse& pulse);
    bool writeDataInternal(const std::string& objectKey, vtkDataArray* array, sdb::SDBTags kind, int narrowingShift,
                           bool forceCompression);
    bool writeArrayPayload(Properties& tag, vtkDataArray& array, std::int64_t valueCount, CompressionMethods method,
                           const Pulse& pulse);

    template <class Write>
    bool measured(std::uint64_t bytes, const Write& write);

    sdb::NodeSet _nodes;                                    ///< of all records written so far; borrowed
    std::shared_ptr<sdb::detail::AppendStream> _fileStream; ///< null while closed; one object for all copies
    std::wstring _fileName;                                 ///< normalised path of the file last opened
    bool _compress = false;
    bool _synchronised = false;                            ///< see setSynchronised
    bool _allOrNothing = false;                            ///< see setAllOrNothing
    bool _propertyPass = false;                            ///< nodes are being asked for their properties
    bool _binaryPass = false;                              ///< nodes are being asked for their data
    std::string _sessionId;                                ///< of the record being written, or last written
    std::shared_ptr<sdb::detail::FileIndex> _index;        ///< never null; copies share it until one of them adds to it
    std::set<std::string> _arrayNames;                     ///< arrays that polydata blocks may carry
    vtkSmartPointer<vtkFloatArray> _floatScratch;          ///< target of the narrowing of double arrays
    bool _failed = false;                                  ///< see hasFailed
    std::shared_ptr<sdb::detail::WriteProgress> _progress; ///< never null; one object for all copies
};

} // namespace tsg
