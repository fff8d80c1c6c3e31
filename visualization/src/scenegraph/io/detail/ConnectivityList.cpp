#include "scenegraph/io/detail/ConnectivityList.h"

#include "scenegraph/io/detail/TextChunks.h"

#include <vtkCellArray.h>

namespace tsg::detail
{

/// Visits the two storages of a cell array, 32 and 64 bits wide, over raw pointers: asking cell by cell costs several
/// times as much.
struct ConnectivityList::Builder
{
    template <class Storage>
    void operator()(Storage& storage, ConnectivityList& list) const
    {
        const std::int64_t cells = storage.GetNumberOfCells();
        const std::int64_t ids = storage.GetConnectivity()->GetNumberOfValues();
        if (cells + ids > INT32_MAX / std::int64_t{sizeof(std::int32_t)})
        {
            list._refusal = "the list of its points takes 2 GiB or more";
            return;
        }
        list._list.reset(new std::int32_t[static_cast<std::size_t>(cells + ids)]);
        const auto* const offsets = storage.GetOffsets()->GetPointer(0);
        const auto* const points = storage.GetConnectivity()->GetPointer(0);
        std::int32_t* to = list._list.get();
        std::int64_t taken = 0;
        for (std::int64_t cell = 0; cell < cells; ++cell)
        {
            const std::int64_t end = offsets[cell + 1];
            if (offsets[cell] != taken || end < taken || end > ids)
            {
                list._refusal = "its offsets do not fit its point list";
                return;
            }
            *to++ = static_cast<std::int32_t>(end - taken);
            for (; taken < end; ++taken)
            {
                *to++ = static_cast<std::int32_t>(points[taken]);
                if (to[-1] != points[taken])
                {
                    list._refusal = "value " + std::to_string(points[taken]) + " does not fit 4 bytes";
                    return;
                }
            }
        }
        list._size = to - list._list.get();
    }
};

ConnectivityList::ConnectivityList(vtkCellArray& cells)
{
    cells.Visit(Builder{}, *this);
    if (!_refusal.empty())
    {
        _list.reset();
    }
}

void ConnectivityList::writeAsText(std::ostream& out) const
{
    TextChunks text(out);
    for (const std::int32_t* from = begin(); from != end();)
    {
        const std::int32_t* const next = from + 1 + *from;
        for (; from != next; ++from)
        {
            text.addNumber(*from);
            text.add(' ');
        }
        text.add('\n');
    }
    text.finish();
}

} // namespace tsg::detail
