#include "scenegraph/ArrayList.h"

#include "core/Error.h"
#include "scenegraph/detail/StoredForms.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace tsg
{

namespace
{

constexpr const char* SOURCE = "base/src/scenegraph/ArrayList";
constexpr Invariant ARRAY_EXPECTED{"A node's array can't be null", "array", SOURCE, 43};
constexpr Invariant NAME_EXPECTED{"The array's name must be specified", "array->GetName()", SOURCE, 44};
constexpr Invariant KIND_EXPECTED{"Only numbers and some strings can be held", "canHold(array)", SOURCE, 45};

} // namespace

bool ArrayList::canHold(vtkAbstractArray* array) const
{
    if (!vtkStringArray::SafeDownCast(array))
    {
        return vtkDataArray::SafeDownCast(array) != nullptr;
    }
    const bool isReplaced = array->GetName() && vtkStringArray::SafeDownCast(find(array->GetName()));
    return array->GetNumberOfComponents() <= maxComponents(array->GetNumberOfValues()) &&
           (isReplaced || roomForStrings() > 0);
}

std::size_t ArrayList::roomForStrings() const
{
    const auto isStrings = [](const Entry& entry) { return vtkStringArray::SafeDownCast(entry.array) != nullptr; };
    return MAX_STRINGS - static_cast<std::size_t>(std::count_if(_entries.begin(), _entries.end(), isStrings));
}

void ArrayList::set(vtkAbstractArray* array)
{
    if (!array)
    {
        raise(ARRAY_EXPECTED);
    }
    if (!array->GetName())
    {
        raise(NAME_EXPECTED);
    }
    if (!canHold(array))
    {
        raise(KIND_EXPECTED);
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

void ArrayList::insert(std::vector<Placed> arrays)
{
    std::stable_sort(arrays.begin(), arrays.end(), [](const Placed& a, const Placed& b) { return a.place < b.place; });
    std::vector<Entry> entries;
    auto old = _entries.begin();
    for (const Placed& placed : arrays)
    {
        const std::int64_t before = placed.place - static_cast<std::int64_t>(entries.size());
        const auto upTo = old + std::clamp<std::ptrdiff_t>(before, 0, _entries.end() - old);
        std::move(old, upTo, std::back_inserter(entries));
        old = upTo;
        entries.push_back({placed.array->GetName(), placed.array, nullptr, 0});
    }
    std::move(old, _entries.end(), std::back_inserter(entries));
    _entries = std::move(entries);
    for (std::size_t place = 0; place < _entries.size(); ++place)
    {
        _places[_entries[place].name] = place;
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

void ArrayList::assign(const std::vector<vtkAbstractArray*>& arrays)
{
    ArrayList next;
    for (vtkAbstractArray* array : arrays)
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

vtkAbstractArray* ArrayList::find(const std::string& name) const
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
        return numbersAt(place);
    }
    if (!entry.bytes || entry.bytesTime != bits->GetMTime())
    {
        entry.bytes = detail::bytesOfBits(*bits, entry.bytes);
        entry.bytesTime = bits->GetMTime();
    }
    return entry.bytes;
}

} // namespace tsg
