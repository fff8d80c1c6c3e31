#include "scenegraph/io/detail/CellImport.h"

#include <algorithm>

#include <vtkCellArray.h>
#include <vtkTypeInt64Array.h>

namespace tsg::detail
{

namespace
{

/// Whether a cell that begins at `at` lies within a list of `size` integers.
bool holdsCell(const std::int32_t* list, std::int64_t size, std::int64_t at)
{
    return at < size && list[at] >= 0 && list[at] < size - at;
}

/// Where the cell after the next `count` cells from `at` begins; -1 if the list does not hold them.
std::int64_t skipCells(const std::int32_t* list, std::int64_t size, std::int64_t at, std::int64_t count)
{
    for (std::int64_t cell = 0; cell < count; ++cell)
    {
        if (!holdsCell(list, size, at))
        {
            return -1;
        }
        at += 1 + list[at];
    }
    return at;
}

} // namespace

ConnectivityBuffer::ConnectivityBuffer(std::int64_t size, sdb::detail::MemoryBudget& budget)
    : _budget(budget)
    , _bytes(static_cast<std::uint64_t>(size) * sizeof(std::int32_t))
{
    if (_budget.charge(_bytes))
    {
        // At least one integer, so that an empty list differs from a refused one.
        _list.reset(static_cast<std::int32_t*>(std::calloc(std::max<std::size_t>(_bytes, sizeof(std::int32_t)), 1)));
    }
    else
    {
        _bytes = 0;
    }
}

ConnectivityBuffer::~ConnectivityBuffer()
{
    _budget.release(_bytes);
}

ImportedCells importCells(const std::int32_t* list, std::int64_t size, std::int64_t cellCount)
{
    ImportedCells imported;
    if (cellCount < 0 || cellCount > size)
    {
        return imported;
    }
    // The list is consistent only if the cells' ids are all the rest of it, so that the room is known before.
    const std::int64_t idCount = size - cellCount;
    const auto cells = vtkSmartPointer<vtkCellArray>::New();
    cells->ResizeExact(cellCount, idCount);
    vtkTypeInt64* const offsets = cells->GetOffsetsArray64()->GetPointer(0);
    vtkTypeInt64* id = cells->GetConnectivityArray64()->GetPointer(0);
    std::int64_t at = 0;
    for (std::int64_t cell = 0; cell < cellCount; ++cell)
    {
        const std::int64_t idsLeft = idCount - (at - cell);
        if (list[at] < 0 || list[at] > idsLeft)
        {
            return imported;
        }
        offsets[cell] = at - cell;
        const std::int32_t* const end = list + at + 1 + list[at];
        for (const std::int32_t* next = list + at + 1; next != end; ++next)
        {
            imported.ids.lowest = std::min(imported.ids.lowest, *next);
            imported.ids.highest = std::max(imported.ids.highest, *next);
            *id++ = *next;
        }
        at = end - list;
    }
    if (at != size)
    {
        return imported;
    }
    offsets[cellCount] = idCount;
    cells->Modified();
    imported.cells = cells;
    return imported;
}

bool copyCells(const std::int32_t* list, std::int64_t size, std::int64_t skip, std::int64_t count,
               std::int32_t* destination)
{
    const std::int64_t begin = skipCells(list, size, 0, skip);
    const std::int64_t end = begin < 0 ? -1 : skipCells(list, size, begin, count);
    if (end < 0)
    {
        return false;
    }
    std::copy(list + begin, list + end, destination);
    return true;
}

} // namespace tsg::detail
