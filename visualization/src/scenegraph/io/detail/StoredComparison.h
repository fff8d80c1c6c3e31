#pragma once

#include "scenegraph/io/detail/Blocks.h"

#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>

class vtkDataArray;
class vtkPolyData;

/// Payloads compared with what a writer would store: at the cost of inflating them, since nothing is compressed for it.
namespace tsg::detail
{

/// True if the block at the position of the stream holds the array's values, of which there are `valueCount`,
/// components counted, as their stored form. Position and state of the stream afterwards are unspecified.
bool holdsValues(std::istream& in, vtkDataArray& array, std::int64_t valueCount, const sdb::detail::Pulse& pulse);

/// True if the dataset block of `length` bytes at the position of the stream is the one of the polydata, but for the
/// compression of its values. `arrayNames` as for SDBDataWriter::SetInclusiveArray. The stream as above.
bool holdsPolyData(std::istream& in, std::uint64_t length, vtkPolyData& polys, std::set<std::string>& arrayNames,
                   const sdb::detail::Pulse& pulse);

} // namespace tsg::detail
