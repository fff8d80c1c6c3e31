#pragma once

#include "scenegraph/io/AbstractRecordReader.h"
#include "scenegraphcommon/Bitmap.h"

#include <vector>

namespace tsg
{

/// A reader of scene databases. Created by NewSBDReader and destroyed by DeleteSBDReader.
class TAVO_EXPORT ISDBReader : public io::AbstractRecordReader
{
public:
    /// What kind of root a record has.
    enum CanvasType
    {
        UnknownCanvas = -1,
        SceneCanvas = 0, ///< a SceneNode
        ChartCanvas = 1  ///< a ChartCanvasCollection
    };

    /// What the last load found out about its record, and who wrote the file.
    struct CanvasInfo
    {
        CanvasType type = UnknownCanvas;
        std::string name;          ///< "Name" property of the root node
        std::string rootNodeKey;   ///< of the record header; empty for version 1 records
        std::string releaseNumber; ///< release that wrote the open file
    };

    ~ISDBReader() override;

    // The order of these operations is the order of their slots.

    /// The record headers of the file, in file order; the index of a record is its place here.
    virtual const std::vector<Properties>& getRecords() = 0;
    /// The thumbnail tags of the file, in file order. "RecordIndex" says which record one shows.
    virtual const std::vector<Properties>& getThumbnails() = 0;
    /// Gives the bitmap the size of a thumbnail and reads its pixels.
    virtual void getThumbnailData(const Properties& tag, Bitmap<3>& bitmap) = 0;
    /// What is known of the file and of the record loaded last.
    virtual const CanvasInfo& getCanvasInfo() const = 0;
};

} // namespace tsg

extern "C"
{
    /// A new reader, or null if there is no memory for one. Throws nothing.
    TAVO_EXPORT tsg::ISDBReader* NewSBDReader();
    /// Destroys a reader; null is ignored.
    TAVO_EXPORT void DeleteSBDReader(tsg::ISDBReader* reader);
}
