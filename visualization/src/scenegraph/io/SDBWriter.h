#pragma once

#include "scenegraph/NodeStream.h"
#include "scenegraph/io/ISDBWriter.h"
#include "scenegraph/io/SDB.h"

#include <cstdint>
#include <ios>
#include <memory>
#include <set>
#include <string>

#include <vtkSmartPointer.h>

class vtkFloatArray;

namespace sdb::detail
{
class AppendStream;
class FileIndex;
} // namespace sdb::detail

namespace tsg
{

/// Writes scene databases: creates, replaces or extends a file and adds records and thumbnails at its end.
///
/// A record is complete on disk when `addRecord` returns; closing adds nothing. The writer keeps every node that it has
/// written, and repeats it in its later records: callers keep the nodes alive as long as the writer lives. Data that an
/// earlier record of the same session stored under the same node, name and kind, with the same modification stamp, is
/// referred to instead of stored again.
///
/// Copies of a writer share one open file: closing one closes it for both. One writer at a time may have a file open;
/// readers may be open at any moment. Data is handed to the system, not synchronised to the device: a killed process
/// loses no acknowledged record, a power cut may.
class TAVO_EXPORT SDBWriter : public ISDBWriter, public NodeStream
{
public:
    SDBWriter();
    SDBWriter(const SDBWriter&);
    SDBWriter& operator=(const SDBWriter&);
    ~SDBWriter() override;

    /// File extension of scene databases, without a dot.
    static const std::string& getExt();

    /// Opens a file for adding.
    ///   Success     - the file exists, with a header, and is indexed
    ///   OpenFailed  - the old file could not be moved away, the path cannot be written, or (appending) what follows
    ///                 the damage in the file would be invisible (one line on standard error); nothing has changed
    ///   WrongFormat - the existing file is foreign, or of a newer format or release (one line on standard error)
    /// Raises InternalError for a file with a stray top-level tag. A file that an earlier `open` left open stays open;
    /// callers `close` first.
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

    /// Whether an addition since the last `open` could not be written, for example to a full disk. The file was cut
    /// back to its last whole item and closed.
    bool hasFailed() const { return _failed; }

    /// Whether nodes are being asked for their data at the moment.
    bool getExportBinaryData() const { return _binaryPass; }

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

    bool canBeginAddition() const;
    bool isAdding() const;
    bool indexRecords(std::istream& in, std::uint64_t& nextItem);
    std::streampos getStreamPosition();
    void writeTag(const Properties& tag);
    const Properties* findReusableBlock(unsigned int checksum, const std::string& objectKey, const std::string& name,
                                        sdb::SDBTags kind, unsigned long long stamp);
    void collectDataArrays();
    void prepareHeader(Properties header, unsigned long long recordPos, unsigned long long headerEnd,
                       unsigned long long length, unsigned long long binaryData);
    void writePropertyTags();
    void writeBinaryData();
    void writePolyDataBlock(vtkPolyData& polys);
    bool writeDataInternal(const std::string& objectKey, vtkDataArray* array, sdb::SDBTags kind, int narrowingShift,
                           bool forceCompression);
    bool writeArrayPayload(Properties& tag, vtkDataArray& array, std::int64_t valueCount, CompressionMethods method);

    sdb::NodeSet _nodes;                                    ///< of all records written so far; borrowed
    std::shared_ptr<sdb::detail::AppendStream> _fileStream; ///< null while closed; one object for all copies
    std::wstring _fileName;                                 ///< normalised path of the file last opened
    bool _compress = false;
    bool _propertyPass = false;                     ///< nodes are being asked for their properties
    bool _binaryPass = false;                       ///< nodes are being asked for their data
    std::string _sessionId;                         ///< of the record being written, or last written
    std::shared_ptr<sdb::detail::FileIndex> _index; ///< never null; copies share it until one of them adds to it
    std::set<std::string> _arrayNames;              ///< arrays that polydata blocks may carry
    vtkSmartPointer<vtkFloatArray> _floatScratch;   ///< target of the narrowing of double arrays
    bool _failed = false;                           ///< see hasFailed
};

} // namespace tsg
