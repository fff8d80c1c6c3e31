#include "scenegraph/io/detail/FieldArrays.h"

#include <algorithm>

#include <vtkAbstractArray.h>
#include <vtkFieldData.h>

namespace tsg::detail
{

namespace
{

/// Lends vtkFieldData::SetArray, which VTK keeps for derived classes; there is no such object.
struct Places : vtkFieldData
{
    static void set(vtkFieldData& fields, int place, vtkAbstractArray* array)
    {
        (fields.*&Places::SetArray)(place, array);
    }
};

} // namespace

void FieldArrays::learnPlaces()
{
    for (; _known < _fields.GetNumberOfArrays(); ++_known)
    {
        if (const char* const name = _fields.GetAbstractArray(_known)->GetName())
        {
            _places.emplace(name, _known);
        }
    }
}

void FieldArrays::add(vtkAbstractArray& array)
{
    learnPlaces();
    const auto found = _places.find(array.GetName());
    const int place = found != _places.end() ? found->second : _known;
    if (place >= _room)
    {
        constexpr int FIRST_ROOM = 16;
        _room = std::max(FIRST_ROOM, 2 * place);
        _fields.AllocateArrays(std::max(_room, _fields.GetNumberOfArrays()));
    }
    Places::set(_fields, place, &array);
}

} // namespace tsg::detail
