#pragma once

#include "scenegraph/io/detail/MemoryBudget.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

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

    /// Whether every id is one of `points` points, which are not negative. No ids fit any number.
    bool fit(std::int64_t points) const { return end <= static_cast<std::uint64_t>(points); }
};

struct ImportedCells
{
    vtkSmartPointer<vtkCellArray> cells; ///< null if the list is not consistent
    IdRange ids;
};

/// Bytes that the cells of a consistent list of `size` integers take in memory.
constexpr std::uint64_t importedBytes(std::int64_t size)
{
    return (static_cast<std::uint64_t>(size) + 1) * sizeof(std::int64_t);
}

/// A connectivity list without values yet, scratch memory that is charged for as long as this object lives.
class ConnectivityBuffer
{
public:
    ConnectivityBuffer(std::int64_t size, sdb::detail::MemoryBudget& budget);
    ~ConnectivityBuffer();
    ConnectivityBuffer(const ConnectivityBuffer&) = delete;
    ConnectivityBuffer& operator=(const ConnectivityBuffer&) = delete;

    /// Null if the budget or the memory does not suffice.
    std::int32_t* get() { return _list.get(); }

private:
    struct Free
    {
        void operator()(std::int32_t* list) const { std::free(list); }
    };

    sdb::detail::MemoryBudget& _budget;
    std::uint64_t _bytes;
    std::unique_ptr<std::int32_t, Free> _list;
};

/// Imports a list of `size` integers that has to hold exactly `cellCount` cells, none with a negative number of points.
/// The cells have 64-bit storage of exact size.
ImportedCells importCells(const std::int32_t* list, std::int64_t size, std::int64_t cellCount);

/// Copies `count` cells of a list to `destination`, which has room for them, leaving out the first `skip`. False, with
/// nothing copied, if the list does not hold that many.
bool copyCells(const std::int32_t* list, std::int64_t size, std::int64_t skip, std::int64_t count,
               std::int32_t* destination);

} // namespace tsg::detail
