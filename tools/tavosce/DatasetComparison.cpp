#include "DatasetComparison.h"

#include "DatasetArrays.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include <vtkBitArray.h>
#include <vtkCellArray.h>
#include <vtkDataArray.h>
#include <vtkLookupTable.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkUnsignedCharArray.h>

namespace tavosce
{

namespace
{

bool sameBits(vtkBitArray& left, vtkBitArray& right)
{
    for (vtkIdType i = 0; i < left.GetNumberOfValues(); ++i)
    {
        if (left.GetValue(i) != right.GetValue(i))
        {
            return false;
        }
    }
    return true;
}

bool sameValues(vtkDataArray& left, vtkDataArray& right)
{
    if (left.GetDataType() != right.GetDataType() || left.GetNumberOfComponents() != right.GetNumberOfComponents() ||
        left.GetNumberOfTuples() != right.GetNumberOfTuples())
    {
        return false;
    }
    auto* const leftBits = vtkBitArray::SafeDownCast(&left);
    auto* const rightBits = vtkBitArray::SafeDownCast(&right);
    if (leftBits != nullptr && rightBits != nullptr)
    {
        return sameBits(*leftBits, *rightBits);
    }
    const auto bytes =
        static_cast<std::size_t>(left.GetNumberOfValues()) * static_cast<std::size_t>(left.GetDataTypeSize());
    return bytes == 0 || std::memcmp(left.GetVoidPointer(0), right.GetVoidPointer(0), bytes) == 0;
}

bool sameComponentNames(vtkAbstractArray& left, vtkAbstractArray& right)
{
    const bool any = left.HasAComponentName() || right.HasAComponentName();
    bool res = true;
    for (int i = 0; any && res && i < left.GetNumberOfComponents(); ++i)
    {
        const char *const one = left.GetComponentName(i), *const other = right.GetComponentName(i);
        res = one == nullptr || other == nullptr ? one == other : std::strcmp(one, other) == 0;
    }
    return res;
}

bool sameTable(vtkLookupTable* left, vtkLookupTable* right)
{
    if (left == nullptr || right == nullptr || left == right)
    {
        return left == right;
    }
    const double* const leftRange = left->GetTableRange();
    const double* const rightRange = right->GetTableRange();
    return std::equal(leftRange, leftRange + 2, rightRange) && sameValues(*left->GetTable(), *right->GetTable());
}

// Cells are held with 32-bit or with 64-bit ids, each of the two independently.
struct SameCells
{
    template <class State>
    bool operator()(State& left, vtkCellArray& right) const
    {
        return right.Visit(SameAs{}, left);
    }

    struct SameAs
    {
        template <class State, class Other>
        bool operator()(State& right, Other& left) const
        {
            return sameIds(*left.GetOffsets(), *right.GetOffsets()) &&
                   sameIds(*left.GetConnectivity(), *right.GetConnectivity());
        }
    };

    template <class Left, class Right>
    static bool sameIds(Left& left, Right& right)
    {
        const auto* const ids = left.GetPointer(0);
        return left.GetNumberOfValues() == right.GetNumberOfValues() &&
               std::equal(ids, ids + left.GetNumberOfValues(), right.GetPointer(0));
    }
};

bool sameCells(vtkCellArray& left, vtkCellArray& right)
{
    if (left.GetNumberOfCells() == 0 || right.GetNumberOfCells() == 0)
    {
        return left.GetNumberOfCells() == right.GetNumberOfCells();
    }
    return left.Visit(SameCells{}, right);
}

} // namespace

bool sameGeometry(vtkPolyData& left, vtkPolyData& right)
{
    vtkPoints* const leftPoints = left.GetPoints();
    vtkPoints* const rightPoints = right.GetPoints();
    if (leftPoints == nullptr || rightPoints == nullptr)
    {
        return leftPoints == rightPoints;
    }
    return sameValues(*leftPoints->GetData(), *rightPoints->GetData()) &&
           std::all_of(std::begin(CELL_KINDS), std::end(CELL_KINDS),
                       [&](const CellKind& kind) { return sameCells(*(left.*kind.cells)(), *(right.*kind.cells)()); });
}

bool sameArray(vtkDataArray& left, vtkDataArray& right)
{
    return arrayName(&left) == arrayName(&right) && sameValues(left, right) && sameComponentNames(left, right) &&
           sameTable(left.GetLookupTable(), right.GetLookupTable());
}

} // namespace tavosce
