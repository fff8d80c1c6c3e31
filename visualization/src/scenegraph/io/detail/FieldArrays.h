#pragma once

#include <string>
#include <unordered_map>

class vtkAbstractArray;
class vtkFieldData;

namespace tsg::detail
{

/// Adds arrays to a field data with the result of vtkFieldData::AddArray: an array takes the place of the one of its
/// name. But AddArray compares every name each time, and so do the observers that a dataset has set on its data: a
/// small file of many tiny arrays would take hours.
class FieldArrays
{
public:
    /// The field data has to outlive this object, and its observers hear of no modification as long as it lives. Others
    /// may add arrays meanwhile, but remove none.
    explicit FieldArrays(vtkFieldData& fields);
    ~FieldArrays();
    FieldArrays(const FieldArrays&) = delete;
    FieldArrays& operator=(const FieldArrays&) = delete;

    /// Adds an array that has a name.
    void add(vtkAbstractArray& array);

    /// Tells the observers that the field data is modified. Nothing is added afterwards.
    void finish();

private:
    void learnPlaces();

    vtkFieldData& _fields;
    unsigned long _silence;                       ///< tag of the observer that stops all others
    std::unordered_map<std::string, int> _places; ///< by name
    int _known = 0;                               ///< how many arrays _places tells of
    int _room = 0;                                ///< how many arrays the field data has been given room for here
};

} // namespace tsg::detail
