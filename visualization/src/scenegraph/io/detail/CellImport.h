#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <cstdint>

#include <vtkSmartPointer.h>

class vtkCellArray;

/// The way from the connectivity lists of the files (for each cell its number of points, then their ids) to VTK's
/// cells. VTK trusts such a list; so it is proved here first.
namespace tsg::detail
{

/// The ids that cells use, for a check against the points once these are known.
struct IdRange
{
    std::uint64_t end = 0; ///< one more than the largest id, taken as unsigned so that negative ids are the largest

    /// True if every id is one of `points` points, which are not negative. No ids fit any number.
    bool fit(std::int64_t points) const { return end <= static_cast<std::uint64_t>(points); }
};

struct ImportedCells
{
    vtkSmartPointer<vtkCellArray> cells; ///< null if the list is not consistent
    IdRange ids;
};

/// A connectivity list on its way from a file to VTK's cells.
class ConnectivityBuffer
{
public:
    /// Takes memory for `size` integers, more than 0, and fills it from the source; what does not come is zero. False
    /// if the memory does not suffice. Nothing is charged.
    bool read(std::int64_t size, const sdb::detail::MemoryBudget& budget, const ValueSource& source);

    /// Null until it has been read.
    const std::int32_t* get() const { return reinterpret_cast<const std::int32_t*>(_list.get()); }

private:
    AdoptableMemory _list;
};

/// Imports a list of `size` integers that has to hold exactly `cellCount` cells, none with a negative number of points.
/// The cells have 64-bit storage of exact size.
ImportedCells importCells(const std::int32_t* list, std::int64_t size, std::int64_t cellCount);

/// Copies `count` cells of a list to `destination`, which has room for them, leaving out the first `skip`. False, with
/// nothing copied, if the list does not hold that many.
bool copyCells(const std::int32_t* list, std::int64_t size, std::int64_t skip, std::int64_t count,
               std::int32_t* destination);

} // namespace tsg::detail
