#include "DatasetCheck.h"

#include "DatasetArrays.h"
#include "Text.h"

#include "scenegraph/io/detail/StoredArray.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <vtkCellArray.h>
#include <vtkDataArray.h>
#include <vtkFieldData.h>
#include <vtkLongArray.h>
#include <vtkLongLongArray.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkSmartPointer.h>
#include <vtkUnsignedLongArray.h>
#include <vtkUnsignedLongLongArray.h>

namespace tavosce
{

namespace
{

constexpr std::int64_t MAX_BYTES = std::numeric_limits<std::int32_t>::max();

std::string describe(const Section& section, vtkAbstractArray& array)
{
    return std::string(section.noun) + ' ' + inQuotes(array.GetName());
}

void nameArrays(const Section& section, const std::string& place, Report& report)
{
    int number = 0;
    for (int i = 0; i < section.fields->GetNumberOfArrays(); ++i)
    {
        vtkAbstractArray& array = *section.fields->GetAbstractArray(i);
        if (array.GetName() != nullptr && *array.GetName() != '\0')
        {
            continue;
        }
        std::string name;
        do
        {
            name = "unnamed_" + std::to_string(++number);
        } while (section.fields->HasArray(name.c_str()));
        array.SetName(name.c_str());
        report.note(place, std::string(section.noun) + ' ' + std::to_string(i) + " has no name and is stored as " +
                               inQuotes(name));
    }
}

template <class Wide, class Narrow>
vtkSmartPointer<vtkDataArray> widened(Narrow& array)
{
    const vtkNew<Wide> res;
    res->SetName(array.GetName());
    res->SetNumberOfComponents(array.GetNumberOfComponents());
    res->SetNumberOfTuples(array.GetNumberOfTuples());
    for (vtkIdType i = 0; i < array.GetNumberOfValues(); ++i)
    {
        res->SetValue(i, array.GetValue(i));
    }
    res->SetLookupTable(array.GetLookupTable());
    return res;
}

/// The same values in an array that has room for them in the file; null if there is no such array.
vtkSmartPointer<vtkDataArray> withRoom(vtkDataArray& array)
{
    if (auto* const signedValues = vtkLongArray::SafeDownCast(&array))
    {
        return widened<vtkLongLongArray>(*signedValues);
    }
    if (auto* const unsignedValues = vtkUnsignedLongArray::SafeDownCast(&array))
    {
        return widened<vtkUnsignedLongLongArray>(*unsignedValues);
    }
    return nullptr;
}

/// Why an array cannot be stored; empty if it can.
std::string refusal(vtkAbstractArray& abstract)
{
    auto* const array = vtkDataArray::SafeDownCast(&abstract);
    if (array == nullptr)
    {
        return std::string("it holds ") + abstract.GetDataTypeAsString() + "s, not numbers";
    }
    return tsg::detail::StoredValues(*array, array->GetNumberOfValues()).refusal();
}

/// Replaces an array by a wider one that can be stored. False if there is none.
bool storeWidened(vtkFieldData& fields, vtkAbstractArray& abstract)
{
    auto* const array = vtkDataArray::SafeDownCast(&abstract);
    const auto wide = array == nullptr ? nullptr : withRoom(*array);
    if (wide == nullptr || !refusal(*wide).empty())
    {
        return false;
    }
    replaceArray(fields, *wide);
    return true;
}

/// How many arrays of the section cannot be stored and are not skipped.
int checkArrays(const Section& section, const std::string& place, bool skip, Report& report)
{
    int res = 0;
    for (int i = section.fields->GetNumberOfArrays() - 1; i >= 0; --i)
    {
        vtkAbstractArray& array = *section.fields->GetAbstractArray(i);
        std::string name = describe(section, array);
        const std::string reason = refusal(array);
        if (reason.empty() || storeWidened(*section.fields, array))
        {
            continue;
        }
        if (skip)
        {
            report.note(place, name.append(" is left out: ").append(reason));
            section.fields->RemoveArray(i);
        }
        else
        {
            report.error(place, name.append(" cannot be stored: ").append(reason), NotStorable);
            ++res;
        }
    }
    return res;
}

/// Finds the first id outside 0 to `points` - 1.
struct FindBadId
{
    template <class State>
    void operator()(State& state, vtkIdType points, bool& found, vtkIdType& id) const
    {
        const auto* const ids = state.GetConnectivity()->GetPointer(0);
        for (vtkIdType i = 0; i < state.GetConnectivity()->GetNumberOfValues() && !found; ++i)
        {
            id = ids[i];
            found = id < 0 || id >= points;
        }
    }
};

void checkCells(vtkCellArray& cells, const char* kind, vtkIdType points, const std::string& place)
{
    bool found = !cells.IsValid();
    vtkIdType id = -1;
    if (!found && cells.GetNumberOfCells() > 0)
    {
        cells.Visit(FindBadId{}, points, found, id);
    }
    if (found)
    {
        throw Failure(TooDamaged, place,
                      std::string(kind) + " refer to point " + std::to_string(id) + ", but there are " +
                          counted(static_cast<std::uint64_t>(points), "point"));
    }
    if (cells.GetNumberOfConnectivityEntries() > MAX_BYTES / 4)
    {
        throw Failure(NotStorable, place, std::string(kind) + " of 2 GiB and more cannot be stored");
    }
}

void checkGeometry(vtkPolyData& dataset, const std::string& place)
{
    if (dataset.GetPoints() == nullptr)
    {
        dataset.SetPoints(vtkNew<vtkPoints>());
    }
    vtkDataArray& points = *dataset.GetPoints()->GetData();
    std::string reason = refusal(points);
    if (reason.empty() && points.GetDataType() > VTK_ID_TYPE)
    {
        reason = std::string("they are of type ") + points.GetDataTypeAsString();
    }
    if (!reason.empty())
    {
        throw Failure(NotStorable, place, "the points cannot be stored: " + reason);
    }
    for (const CellKind& kind : CELL_KINDS)
    {
        checkCells(*(dataset.*kind.cells)(), kind.noun, dataset.GetNumberOfPoints(), place);
    }
}

} // namespace

void makeStorable(vtkPolyData& dataset, const std::string& place, bool skipUnsupported, Report& report)
{
    checkGeometry(dataset, place);
    int refused = 0;
    for (const Section& section : sectionsOf(dataset))
    {
        nameArrays(section, place, report);
        refused += checkArrays(section, place, skipUnsupported, report);
    }
    if (refused > 0)
    {
        throw Failure(NotStorable, place, counted(static_cast<std::uint64_t>(refused), "array") + " cannot be stored",
                      "--skip-unsupported leaves them out");
    }
}

} // namespace tavosce
