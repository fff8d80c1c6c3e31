#pragma once

#include "scenegraph/io/AbstractRecordWriter.h"
#include "scenegraphcommon/Bitmap.h"

namespace tsg
{

/// A writer of scene databases. Created by NewSBDWriter and destroyed by DeleteSBDWriter.
class TAVO_EXPORT ISDBWriter : public io::AbstractRecordWriter
{
public:
    ~ISDBWriter() override;

    /// Appends a picture of a record, rows and channels in the bitmap's own order.
    ///   Success - the picture was handed to the file; if that failed, as on a full disk, the file was cut back and
    ///             closed, and every later call answers NotOpen
    ///   NotOpen - no file is open; nothing was written
    virtual io::FileIoStatus addThumbnail(int recordIndex, const Bitmap<3>& bitmap) = 0;
};

} // namespace tsg

extern "C"
{
    /// A new writer, or null if there is no memory for one. Throws nothing.
    TAVO_EXPORT tsg::ISDBWriter* NewSBDWriter();
    /// Destroys a writer; null is ignored.
    TAVO_EXPORT void DeleteSBDWriter(tsg::ISDBWriter* writer);
}
