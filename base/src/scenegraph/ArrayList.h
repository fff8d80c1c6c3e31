#pragma once

#include "core/Export.h"

#include <vtkDataArray.h>
#include <vtkSmartPointer.h>
#include <vtkUnsignedCharArray.h>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace tsg
{

/// Named numeric arrays in the order in which they came. Arrays are shared with whoever made them; the name that counts
/// is the one that an array had when it was set.
class TAVO_EXPORT ArrayList
{
public:
    /// Adds an array, or puts it into the place of the one of that name. Raises InternalError for null and for an array
    /// without a name.
    void set(vtkDataArray* array);
    /// Turns a byte array of the list into bits and remembers the bytes as their stored form. False, and nothing
    /// changed, when there is no such array of bytes.
    bool turnIntoBits(const std::string& name);
    /// False when there is no array of that name.
    bool remove(const std::string& name);
    /// Replaces all arrays; those that stay keep their stored form. Raises as `set` does, with nothing changed.
    void assign(const std::vector<vtkDataArray*>& arrays);

    /// Null when there is no array of that name.
    vtkDataArray* find(const std::string& name) const;

    std::size_t size() const { return _entries.size(); }

    const std::string& nameAt(std::size_t place) const { return _entries[place].name; }

    vtkDataArray* at(std::size_t place) const { return _entries[place].array; }

    bool isBits(std::size_t place) const;
    /// The array as streams store it: a bit array as bytes, any other one itself. The same object in every call, until
    /// the array is replaced, or bits change and their modification time with them.
    vtkDataArray* stored(std::size_t place) const;

private:
    struct Entry
    {
        std::string name;
        vtkSmartPointer<vtkDataArray> array;
        // Writers recognise unchanged data by its object, so the bytes of a bit array are made once and not a call.
        mutable vtkSmartPointer<vtkUnsignedCharArray> bytes;
        mutable vtkMTimeType bytesTime = 0; ///< modification time of the bits that the bytes were made of
    };

    std::vector<Entry> _entries;
    std::unordered_map<std::string, std::size_t> _places;
};

} // namespace tsg
