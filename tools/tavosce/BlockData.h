#pragma once

#include "RecordWalk.h"

#include <cstdint>
#include <iosfwd>

#include <vtkDataArray.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

namespace tavosce
{

/// What a block holds: polydata or an array.
struct BlockData
{
    vtkSmartPointer<vtkPolyData> polys;
    vtkSmartPointer<vtkDataArray> array;
    std::uint64_t uncheckedBytes = 0; ///< of values that are stored without compression, which no checksum protects
    bool isSeparated = true;          ///< whether a line end follows all values in a polydata, as writers leave it

    bool isEmpty() const { return polys == nullptr && array == nullptr; }
};

/// Decodes the payload of a block by itself, with the same decoders and the same budget as a load of its record; bytes
/// that the file lacks are not taken for zeros, as loads take them. The block has been found to lie in the file and to
/// be of a known kind and type. Empty if the payload cannot be decoded whole; what the library and VTK say of it goes
/// to whoever listens. Where the stream is left tells how far the payload of an array could be read.
BlockData readBlockData(std::istream& in, const StoredBlock& block, std::uint64_t fileSize);

} // namespace tavosce
