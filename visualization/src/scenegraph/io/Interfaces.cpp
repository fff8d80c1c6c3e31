#include "scenegraph/io/AbstractRecordReader.h"

#include "scenegraph/io/AbstractRecordWriter.h"
#include "scenegraph/io/ISDBReader.h"
#include "scenegraph/io/ISDBWriter.h"

namespace tsg
{

// The destructors of the interfaces stand here so that each interface has one home for its type information.
io::AbstractRecordReader::~AbstractRecordReader() = default;
io::AbstractRecordWriter::~AbstractRecordWriter() = default;
ISDBReader::~ISDBReader() = default;
ISDBWriter::~ISDBWriter() = default;

} // namespace tsg
