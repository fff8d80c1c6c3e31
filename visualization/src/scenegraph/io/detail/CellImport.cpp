#include "scenegraph/io/detail/CellImport.h"

#include <algorithm>

#include <vtkCellArray.h>
#include <vtkTypeInt64Array.h>

namespace tsg::detail
{

namespace
{

/// True if a cell that begins at `at` lies within a list of `size` integers.
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

/// The cells of a list on their way into VTK's arrays of offsets and ids.
class Import
{
public:
    /// A list of `size` integers for `cellCount` cells, not more than `size`. It is consistent only if the cells' ids
    /// are all the rest of it, so that the room is known before.
    Import(const std::int32_t* list, std::int64_t size, std::int64_t cellCount)
        : _next(list)
        , _cellsLeft(cellCount)
        , _idsLeft(size - cellCount)
    {
        _cells->ResizeExact(cellCount, size - cellCount);
        _offset = _cells->GetOffsetsArray64()->GetPointer(0);
        _id = _cells->GetConnectivityArray64()->GetPointer(0);
    }

    /// The cells, or null if the list is not consistent.
    vtkSmartPointer<vtkCellArray> run()
    {
        while (_cellsLeft > 0)
        {
            if (!importNext())
            {
                return nullptr;
            }
        }
        *_offset = _begin;
        _cells->Modified();
        return _idsLeft == 0 ? _cells : nullptr;
    }

    IdRange range() const { return {_begin == 0 ? 0 : std::uint64_t{_highest} + 1}; }

private:
    bool importNext()
    {
        const std::int32_t count = *_next;
        if (count < 0 || count > _idsLeft)
        {
            return false;
        }
        switch (count)
        {
        case 2:
            importRun<2>();
            break;
        case 3:
            importRun<3>();
            break;
        case 4:
            importRun<4>();
            break;
        default:
            importOne(count);
        }
        return true;
    }

    /// Cells of one size, up to the first that has another one. Where they lie does not hang on what was read before,
    /// and nothing that is written can change what is read: that is what the speed of an import hangs on.
    template <int COUNT>
    void importRun()
    {
        const std::int64_t most = std::min(_cellsLeft, _idsLeft / COUNT);
        std::uint32_t highest[COUNT] = {}; // by place in the cell: maxima that do not wait for one another
        std::int64_t cells = 0;
        for (const std::int32_t* cell = _next; cells < most && *cell == COUNT; cell += COUNT + 1)
        {
            for (int i = 0; i < COUNT; ++i)
            {
                const std::int32_t id = cell[i + 1];
                _id[COUNT * cells + i] = id;
                highest[i] = std::max(highest[i], static_cast<std::uint32_t>(id));
            }
            ++cells;
        }
        for (std::int64_t i = 0; i < cells; ++i)
        {
            _offset[i] = _begin + COUNT * i;
        }
        _highest = std::max(_highest, *std::max_element(highest, highest + COUNT));
        advance(cells, COUNT * cells);
    }

    void importOne(std::int32_t count)
    {
        for (std::int32_t i = 0; i < count; ++i)
        {
            _id[i] = _next[i + 1];
            _highest = std::max(_highest, static_cast<std::uint32_t>(_next[i + 1]));
        }
        *_offset = _begin;
        advance(1, count);
    }

    void advance(std::int64_t cells, std::int64_t ids)
    {
        _next += cells + ids;
        _cellsLeft -= cells;
        _idsLeft -= ids;
        _offset += cells;
        _id += ids;
        _begin += ids;
    }

    const std::int32_t* _next; ///< what of the list has not been imported
    std::int64_t _cellsLeft;
    std::int64_t _idsLeft;
    vtkSmartPointer<vtkCellArray> _cells = vtkSmartPointer<vtkCellArray>::New();
    vtkTypeInt64* _offset; ///< where the next values go
    vtkTypeInt64* _id;
    vtkTypeInt64 _begin = 0; ///< of the next cell among the ids
    std::uint32_t _highest = 0;
};

} // namespace

bool ConnectivityBuffer::read(std::int64_t size, const sdb::detail::MemoryBudget& budget, const ValueSource& source)
{
    _list = readMemory(static_cast<std::uint64_t>(size) * sizeof(std::int32_t), budget, source);
    return _list != nullptr;
}

ImportedCells importCells(const std::int32_t* list, std::int64_t size, std::int64_t cellCount)
{
    if (cellCount < 0 || cellCount > size)
    {
        return {};
    }
    Import import(list, size, cellCount);
    const auto cells = import.run();
    return cells ? ImportedCells{cells, import.range()} : ImportedCells{};
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
