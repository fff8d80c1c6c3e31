#pragma once

#include <string>
#include <unordered_map>

class vtkAbstractArray;
class vtkFieldData;

namespace tsg::detail
{

/// Adds arrays to a field data with the result of vtkFieldData::AddArray: an array takes the place of the one of its
/// name. But AddArray compares every name each time, which a small file of many tiny arrays would turn into hours.
class FieldArrays
{
public:
    /// The field data has to outlive this object. Others may add arrays to it meanwhile, but remove none.
    explicit FieldArrays(vtkFieldData& fields)
        : _fields(fields)
    {
    }

    /// Adds an array that has a name.
    void add(vtkAbstractArray& array);

private:
    void learnPlaces();

    vtkFieldData& _fields;
    std::unordered_map<std::string, int> _places; ///< by name
    int _known = 0;                               ///< how many arrays _places tells of
    int _room = 0;                                ///< how many arrays the field data has been given room for here
};

} // namespace tsg::detail
