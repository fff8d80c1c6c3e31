#include "DatasetCheck.h"

#include "DatasetArrays.h"
#include "Text.h"

#include "scenegraph/PolyDataNode.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <cstddef>
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
#include <vtkStringArray.h>
#include <vtkUnsignedLongArray.h>
#include <vtkUnsignedLongLongArray.h>

namespace tavosce
{

namespace
{

using tsg::ArrayList;

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
    res->CopyComponentNames(&array);
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

/// Why an array cannot be stored, whatever else is; empty if it can.
std::string refusal(vtkAbstractArray& array)
{
    if (auto* const numbers = vtkDataArray::SafeDownCast(&array))
    {
        return tsg::detail::StoredValues(*numbers, numbers->GetNumberOfValues()).refusal();
    }
    if (vtkStringArray::SafeDownCast(&array) == nullptr)
    {
        return std::string("it holds ") + array.GetDataTypeAsString() + "s, neither numbers nor strings";
    }
    const std::int64_t most = ArrayList::maxComponents(array.GetNumberOfValues());
    return array.GetNumberOfComponents() <= most
               ? ""
               : "it has more than " + std::to_string(most) + " components, and fewer strings";
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

/// The room that a node has for what is stored as properties: strings, and names of components.
class PropertyRoom
{
public:
    /// What follows are the arrays of another section.
    void beginSection() { _strings = 0; }

    /// Takes the room for an array. Why there is not enough, or empty.
    std::string take(vtkAbstractArray& array)
    {
        auto* const strings = vtkStringArray::SafeDownCast(&array);
        if (strings != nullptr && _strings == ArrayList::MAX_STRINGS)
        {
            return "there are " + std::to_string(_strings) + " arrays of strings besides, and no room for more";
        }
        const std::uint64_t bytes = strings != nullptr || array.HasAComponentName() ? bytesOf(array, strings) : 0;
        if (bytes > _left)
        {
            return (strings != nullptr ? "its strings take " : "the names of its components take ") +
                   counted(bytes, "byte") + " or more, and the node's properties have room for " +
                   std::to_string(_left);
        }
        _left -= bytes;
        _strings += strings != nullptr ? 1 : 0;
        return {};
    }

private:
    /// What the properties say of an array, or less if that is too much already. `strings` may be null.
    std::uint64_t bytesOf(vtkAbstractArray& array, vtkStringArray* strings) const
    {
        constexpr std::uint64_t LEAST = 7; // number, quotes, colon and comma: "0":"",
        std::uint64_t least = 0;
        for (vtkIdType i = 0; strings != nullptr && i < strings->GetNumberOfValues(); ++i)
        {
            least += LEAST + strings->GetValue(i).size();
        }
        if (least > _left)
        {
            return least;
        }
        tsg::PolyDataNode node("PolyDataNode_1");
        node.setArray(tsg::PolyDataNode::Points, &array);
        return node.describe().toString().size();
    }

    static constexpr std::uint64_t ALL_ELSE = std::uint64_t{1} << 20; ///< that stands in a property tag

    std::uint64_t _left = sdb::detail::MAX_TAG_BYTES - ALL_ELSE;
    std::size_t _strings = 0; ///< arrays of the present section
};

/// Why an array cannot be stored and no wider one in its place; empty if one of them can.
std::string refusalAt(vtkFieldData& fields, int place, PropertyRoom& room)
{
    vtkAbstractArray& array = *fields.GetAbstractArray(place);
    const std::string reason = refusal(array);
    const bool fits = reason.empty() || storeWidened(fields, array);
    return fits ? room.take(*fields.GetAbstractArray(place)) : reason;
}

/// How many arrays of the section cannot be stored and are not skipped.
int checkArrays(const Section& section, const std::string& place, bool skip, PropertyRoom& room, Report& report)
{
    int res = 0;
    room.beginSection();
    for (int i = 0; i < section.fields->GetNumberOfArrays();)
    {
        std::string name = describe(section, *section.fields->GetAbstractArray(i));
        const std::string reason = refusalAt(*section.fields, i, room);
        if (!reason.empty() && skip)
        {
            report.note(place, name.append(" is left out: ").append(reason));
            section.fields->RemoveArray(i);
            continue;
        }
        if (!reason.empty())
        {
            report.error(place, name.append(" cannot be stored: ").append(reason), NotStorable);
            ++res;
        }
        ++i;
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
    PropertyRoom room;
    for (const Section& section : sectionsOf(dataset))
    {
        nameArrays(section, place, report);
        refused += checkArrays(section, place, skipUnsupported, room, report);
    }
    if (refused > 0)
    {
        throw Failure(NotStorable, place, counted(static_cast<std::uint64_t>(refused), "array") + " cannot be stored",
                      "--skip-unsupported leaves them out");
    }
}

} // namespace tavosce
