#include "scenegraph/ArrayList.h"

#include "core/Error.h"
#include "scenegraph/detail/StoredForms.h"

#include <cstddef>
#include <utility>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "base/src/scenegraph/ArrayList";
constexpr Invariant ARRAY_EXPECTED{"A node's array can't be null", "array", SOURCE, 43};
constexpr Invariant NAME_EXPECTED{"The array's name must be specified", "array->GetName()", SOURCE, 44};

} // namespace

void ArrayList::set(vtkDataArray* array)
{
    if (!array)
    {
        raise(ARRAY_EXPECTED);
    }
    if (!array->GetName())
    {
        raise(NAME_EXPECTED);
    }
    const std::string name = array->GetName();
    const auto found = _places.find(name);
    if (found == _places.end())
    {
        _entries.push_back({name, array, nullptr, 0});
        _places.emplace(name, _entries.size() - 1);
    }
    else if (at(found->second) != array)
    {
        _entries[found->second] = {name, array, nullptr, 0};
    }
}

bool ArrayList::turnIntoBits(const std::string& name)
{
    auto* bytes = vtkUnsignedCharArray::SafeDownCast(find(name));
    if (!bytes)
    {
        return false;
    }
    const auto bits = detail::bitsOfBytes(*bytes);
    _entries[_places[name]] = {name, bits, bytes, bits->GetMTime()};
    return true;
}

bool ArrayList::remove(const std::string& name)
{
    const auto found = _places.find(name);
    if (found == _places.end())
    {
        return false;
    }
    const std::size_t gone = found->second;
    _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(gone));
    _places.erase(found);
    for (auto& entry : _places)
    {
        entry.second -= entry.second > gone ? 1 : 0;
    }
    return true;
}

void ArrayList::assign(const std::vector<vtkDataArray*>& arrays)
{
    ArrayList next;
    for (vtkDataArray* array : arrays)
    {
        next.set(array);
    }
    for (Entry& entry : next._entries)
    {
        const auto old = _places.find(entry.name);
        if (old != _places.end() && _entries[old->second].array == entry.array)
        {
            entry = _entries[old->second];
        }
    }
    *this = std::move(next);
}

vtkDataArray* ArrayList::find(const std::string& name) const
{
    const auto found = _places.find(name);
    return found == _places.end() ? nullptr : _entries[found->second].array.Get();
}

bool ArrayList::isBits(std::size_t place) const
{
    return vtkBitArray::SafeDownCast(at(place)) != nullptr;
}

vtkDataArray* ArrayList::stored(std::size_t place) const
{
    const Entry& entry = _entries[place];
    auto* bits = vtkBitArray::SafeDownCast(entry.array);
    if (!bits)
    {
        return entry.array;
    }
    if (!entry.bytes || entry.bytesTime != bits->GetMTime())
    {
        entry.bytes = detail::bytesOfBits(*bits, entry.bytes);
        entry.bytesTime = bits->GetMTime();
    }
    return entry.bytes;
}

} // namespace tsg
