#pragma once

#include "core/Export.h"

#include <vtkAbstractArray.h>
#include <vtkDataArray.h>
#include <vtkSmartPointer.h>
#include <vtkStringArray.h>
#include <vtkUnsignedCharArray.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace tsg
{

/// Named arrays of numbers and of strings in the order in which they came. Arrays are shared with whoever made them;
/// the name that counts is the one that an array had when it was set.
class TAVO_EXPORT ArrayList
{
public:
    /// Strings on their way into the list.
    struct Placed
    {
        std::int64_t place; ///< in the list that comes out; the end if that is not so long
        vtkSmartPointer<vtkStringArray> array;
    };

    /// Most components of an array of so many strings. VTK's writers look at each component, and a number takes nothing
    /// to say: so many have to be there. Numbers have a limit of their own where they are stored.
    static constexpr std::int64_t maxComponents(std::int64_t strings)
    {
        constexpr std::int64_t ANY = 1024;
        return strings > ANY ? strings : ANY;
    }

    /// Most arrays of strings, which take little to say: VTK compares the name of each array with those of all before.
    static constexpr std::size_t MAX_STRINGS = 1024;

    /// True for numbers, and for strings of no more than maxComponents while there is room for them.
    bool canHold(vtkAbstractArray* array) const;
    /// How many arrays of strings may be added.
    std::size_t roomForStrings() const;

    /// Adds an array, or puts it into the place of the one of that name. Raises InternalError for null, for an array
    /// without a name, and for one that the list cannot hold.
    void set(vtkAbstractArray* array);
    /// Puts arrays between those of the list, which keep their order. Their names are no other array's, and there is
    /// room for them.
    void insert(std::vector<Placed> arrays);
    /// Turns a byte array of the list into bits and remembers the bytes as their stored form. False, and nothing
    /// changed, when there is no such array of bytes.
    bool turnIntoBits(const std::string& name);
    /// False when there is no array of that name.
    bool remove(const std::string& name);
    /// Replaces all arrays; those that stay keep their stored form. Raises as `set` does, with nothing changed.
    void assign(const std::vector<vtkAbstractArray*>& arrays);

    /// Null when there is no array of that name.
    vtkAbstractArray* find(const std::string& name) const;

    std::size_t size() const { return _entries.size(); }

    const std::string& nameAt(std::size_t place) const { return _entries[place].name; }

    vtkAbstractArray* at(std::size_t place) const { return _entries[place].array; }

    /// Null for strings.
    vtkDataArray* numbersAt(std::size_t place) const { return vtkDataArray::SafeDownCast(at(place)); }

    /// Null for numbers.
    vtkStringArray* stringsAt(std::size_t place) const { return vtkStringArray::SafeDownCast(at(place)); }

    bool isBits(std::size_t place) const;
    /// The array as streams store it: a bit array as bytes, any other one itself, and null for strings, of which
    /// streams know nothing. The same object in every call, until the array is replaced, or bits change and their
    /// modification time with them.
    vtkDataArray* stored(std::size_t place) const;

private:
    struct Entry
    {
        std::string name;
        vtkSmartPointer<vtkAbstractArray> array;
        // Writers recognise unchanged data by its object, so the bytes of a bit array are made once and not a call.
        mutable vtkSmartPointer<vtkUnsignedCharArray> bytes;
        mutable vtkMTimeType bytesTime = 0; ///< modification time of the bits that the bytes were made of
    };

    std::vector<Entry> _entries;
    std::unordered_map<std::string, std::size_t> _places;
};

} // namespace tsg
