#include "scenegraph/io/detail/FieldArrays.h"

#include <algorithm>

#include <vtkAbstractArray.h>
#include <vtkCallbackCommand.h>
#include <vtkFieldData.h>
#include <vtkNew.h>

namespace tsg::detail
{

namespace
{

/// Lends what vtkFieldData keeps for derived classes; there is no such object.
struct Places : vtkFieldData
{
    /// Puts an array in the place of another or behind the last. The field data has room for it.
    static void set(vtkFieldData& fields, int place, vtkAbstractArray* array)
    {
        int& count = fields.*&Places::NumberOfActiveArrays;
        count = std::max(count, place + 1);
        (fields.*&Places::SetArray)(place, array);
    }
};

} // namespace

FieldArrays::FieldArrays(vtkFieldData& fields)
    : _fields(fields)
{
    constexpr float FIRST = 1.0F;
    const vtkNew<vtkCallbackCommand> silence;
    silence->SetCallback([](vtkObject*, unsigned long, void*, void*) {});
    silence->AbortFlagOnExecuteOn();
    _silence = fields.AddObserver(vtkCommand::ModifiedEvent, silence, FIRST);
}

FieldArrays::~FieldArrays()
{
    _fields.RemoveObserver(_silence);
}

void FieldArrays::finish()
{
    _fields.RemoveObserver(_silence);
    _fields.Modified();
}

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
