#include "PolysDifference.h"

#include "DatasetArrays.h"
#include "Matching.h"
#include "NumberText.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <vtkCellArray.h>
#include <vtkDataArray.h>
#include <vtkDataSetAttributes.h>
#include <vtkLookupTable.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkTypeInt64Array.h>
#include <vtkUnsignedCharArray.h>

namespace tavosce
{

namespace
{

/// Cells as VTK keeps them, over raw memory.
class Cells
{
public:
    /// The cells are not empty.
    explicit Cells(vtkCellArray& cells)
        : _count(cells.GetNumberOfCells())
    {
        cells.ConvertTo64BitStorage();
        _offsets = cells.GetOffsetsArray64()->GetPointer(0);
        _ids = cells.GetConnectivityArray64()->GetPointer(0);
    }

    vtkIdType count() const { return _count; }

    bool operator==(const Cells& other) const
    {
        return std::equal(_offsets, _offsets + _count + 1, other._offsets, other._offsets + other._count + 1) &&
               std::equal(_ids + _offsets[0], _ids + _offsets[_count], other._ids + other._offsets[0]);
    }

    bool isSame(vtkIdType cell, const Cells& other) const
    {
        return std::equal(begin(cell), begin(cell + 1), other.begin(cell), other.begin(cell + 1));
    }

    std::string textOf(vtkIdType cell) const
    {
        constexpr vtkIdType MOST_IDS = 16;
        const vtkIdType size = begin(cell + 1) - begin(cell);
        std::string res;
        for (vtkIdType i = 0; i < std::min(size, MOST_IDS); ++i)
        {
            res += (i > 0 ? " " : "") + std::to_string(begin(cell)[i]);
        }
        return size > MOST_IDS ? res + " ..." : res;
    }

private:
    const vtkTypeInt64* begin(vtkIdType cell) const { return _ids + _offsets[cell]; }

    vtkIdType _count;
    const vtkTypeInt64* _offsets;
    const vtkTypeInt64* _ids;
};

void compareCells(const Place& place, vtkCellArray& left, vtkCellArray& right, Differences& differences)
{
    if (left.GetNumberOfCells() != right.GetNumberOfCells())
    {
        differences.add(unequal(place, "number", left.GetNumberOfCells(), right.GetNumberOfCells()));
        return;
    }
    if (left.GetNumberOfCells() == 0)
    {
        return;
    }
    const Cells a(left), b(right);
    if (a == b)
    {
        return;
    }
    Spread spread;
    spread.total = static_cast<std::uint64_t>(a.count());
    for (vtkIdType cell = 0; cell < a.count(); ++cell)
    {
        if (!a.isSame(cell, b) && spread.differing++ == 0)
        {
            spread.first = cell;
            spread.a = a.textOf(cell);
            spread.b = b.textOf(cell);
        }
    }
    differences.add({place, "cells", {}, {}, spread});
}

std::string rangeOf(vtkLookupTable& table)
{
    return numberText(table.GetTableRange()[0]) + " to " + numberText(table.GetTableRange()[1]);
}

void compareTables(const Place& place, vtkLookupTable* left, vtkLookupTable* right, Differences& differences)
{
    if (left == nullptr || right == nullptr)
    {
        if (left != right)
        {
            differences.add(onlyIn(left != nullptr ? Side::First : Side::Second, place));
        }
        return;
    }
    if (rangeOf(*left) != rangeOf(*right))
    {
        differences.add(unequal(place, "range", rangeOf(*left), rangeOf(*right)));
    }
    compareArrays(place, *left->GetTable(), *right->GetTable(), {}, differences);
}

std::vector<vtkDataArray*> arraysOf(vtkFieldData& fields)
{
    std::vector<vtkDataArray*> res;
    for (int i = 0; i < fields.GetNumberOfArrays(); ++i)
    {
        if (auto* const array = vtkDataArray::SafeDownCast(fields.GetAbstractArray(i)))
        {
            res.push_back(array); // readers make no others
        }
    }
    return res;
}

void compareActives(const Place& section, vtkFieldData& left, vtkFieldData& right, Differences& differences)
{
    auto* const a = vtkDataSetAttributes::SafeDownCast(&left);
    auto* const b = vtkDataSetAttributes::SafeDownCast(&right);
    for (int kind = 0; a != nullptr && b != nullptr && kind < vtkDataSetAttributes::NUM_ATTRIBUTES; ++kind)
    {
        const std::string one = arrayName(a->GetAbstractAttribute(kind)),
                          other = arrayName(b->GetAbstractAttribute(kind));
        if (one != other)
        {
            const std::string what = std::string("active ") + vtkDataSetAttributes::GetAttributeTypeAsString(kind) +
                                     " of the " + section.what;
            differences.add(unequal({what + "s", {}, section.node}, "value", one, other));
        }
    }
}

void compareSection(const Place& section, vtkFieldData& left, vtkFieldData& right, const Tolerance& tolerance,
                    Differences& differences)
{
    std::vector<vtkDataArray*> a = arraysOf(left), b = arraysOf(right);
    for (const auto& [one, other] : matched(a, b, [](vtkDataArray* array) { return arrayName(array); }))
    {
        const Place place{section.what, arrayName(one != nullptr ? *one : *other), section.node};
        if (one == nullptr || other == nullptr)
        {
            differences.add(onlyIn(one != nullptr ? Side::First : Side::Second, place));
            continue;
        }
        compareArrays(place, **one, **other, tolerance, differences);
        compareTables({"lookup table of the " + place.what, place.name, place.node}, (*one)->GetLookupTable(),
                      (*other)->GetLookupTable(), differences);
    }
    compareActives(section, left, right, differences);
}

} // namespace

void comparePolys(const std::string& node, vtkPolyData& left, vtkPolyData& right, const Tolerance& tolerance,
                  Differences& differences)
{
    compareArrays({"points", {}, node}, *left.GetPoints()->GetData(), *right.GetPoints()->GetData(), tolerance,
                  differences);
    for (const CellKind& kind : CELL_KINDS)
    {
        compareCells({kind.name, {}, node}, *(left.*kind.cells)(), *(right.*kind.cells)(), differences);
    }
    const auto leftSections = sectionsOf(left), rightSections = sectionsOf(right);
    for (std::size_t i = 0; i < leftSections.size(); ++i)
    {
        compareSection({std::string("polydata's ") + leftSections[i].noun, {}, node}, *leftSections[i].fields,
                       *rightSections[i].fields, tolerance, differences);
    }
}

} // namespace tavosce
