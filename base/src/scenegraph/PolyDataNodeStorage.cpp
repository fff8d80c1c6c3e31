#include "scenegraph/PolyDataNode.h"

#include "core/Properties.h"
#include "scenegraph/detail/PolyDataParts.h"
#include "scenegraph/detail/StoredForms.h"
#include "scenegraphcommon/Logger.h"

#include <vtkFieldData.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

// How a geometry node goes to a stream and comes back.

namespace tsg
{

using detail::arrayCount;
using detail::ASSOCIATIONS;
using detail::fieldsOf;
using detail::pieceOf;
using detail::POLY_DATA_KEYS;
using detail::setRecord;

namespace
{

constexpr const char* TABLE = "Table";
constexpr const char* RANGE = "Range";

void copyEntry(const Properties& from, const std::string& key, Properties& to)
{
    switch (from.kind(key))
    {
    case Properties::Kind::String:
        to.set(key, from.getString(key));
        break;
    case Properties::Kind::Integer:
        to.set(key, from.getLong(key));
        break;
    case Properties::Kind::Record:
        to.set(key, from.getProperties(key));
        break;
    case Properties::Kind::None:
        break;
    }
}

/// Drops the entries of a nested record that `restore`, given name and record, accepts; the others stay for the next
/// save.
template <class Restore>
void consumeEntries(Properties& properties, const char* key, const Restore& restore)
{
    if (properties.kind(key) != Properties::Kind::Record)
    {
        return;
    }
    const Properties entries = properties.getProperties(key);
    Properties rest;
    for (const std::string& name : entries.names())
    {
        if (!restore(name, entries))
        {
            copyEntry(entries, name, rest);
        }
    }
    setRecord(properties, key, std::move(rest));
}

bool isTable(const NodeData& piece)
{
    return piece.kind == NodeData::Kind::NodeArray && piece.tag == NodeStream::DataTag1 && piece.array->GetName();
}

/// Gives every table a name of its own.
class TableNames
{
public:
    /// Makes a name unavailable.
    void reserve(const std::string& name) { _used.insert(name); }

    /// The table's name: the same in every call, at first the wanted one or that with a number behind it.
    const std::string& nameOf(vtkLookupTable* table, const std::string& wanted)
    {
        std::string& res = _names[table];
        if (res.empty())
        {
            res = wanted;
            for (int i = 2; res.empty() || !_used.insert(res).second; ++i)
            {
                res = wanted + "_" + std::to_string(i);
            }
        }
        return res;
    }

private:
    std::unordered_map<vtkLookupTable*, std::string> _names;
    std::unordered_set<std::string> _used;
};

/// What a loaded array belongs to; none for arrays that no geometry node makes.
std::optional<PolyDataNode::Association> associationOf(const NodeData& piece)
{
    switch (piece.kind)
    {
    case NodeData::Kind::PointData:
        return PolyDataNode::Points;
    case NodeData::Kind::CellData:
        return PolyDataNode::Cells;
    case NodeData::Kind::NodeArray:
        return piece.tag == NodeStream::DataTag7 ? std::make_optional(PolyDataNode::Fields) : std::nullopt;
    case NodeData::Kind::Polys:
    case NodeData::Kind::NodeRecord:
        break;
    }
    return std::nullopt;
}

Properties tableEntry(const std::string& name, vtkLookupTable& table)
{
    const double* range = table.GetTableRange();
    Properties res;
    res.set(TABLE, name);
    res.set(RANGE, detail::rangeText({range[0], range[1]}));
    return res;
}

/// Adds what is said of arrays, but for their tables, to what there is.
void describeArrays(const ArrayList& arrays, const detail::PolyDataKeys& keys, Properties& properties)
{
    Properties bits = properties.getProperties(keys.bits);
    Properties components = properties.getProperties(keys.components);
    Properties strings = properties.getProperties(keys.strings);
    for (std::size_t i = 0; i < arrays.size(); ++i)
    {
        const std::string& name = arrays.nameAt(i);
        if (arrays.isBits(i))
        {
            bits.set(name, 1, Properties::Overwrite);
        }
        if (Properties names = detail::componentNamesOf(*arrays.at(i)); !names.empty())
        {
            components.set(name, std::move(names), Properties::Overwrite);
        }
        if (vtkStringArray* array = arrays.stringsAt(i))
        {
            strings.set(name, detail::stringsEntry(*array, i), Properties::Overwrite);
        }
    }
    setRecord(properties, keys.bits, std::move(bits));
    setRecord(properties, keys.components, std::move(components));
    setRecord(properties, keys.strings, std::move(strings));
}

} // namespace

void PolyDataNode::describeTables(Properties& properties) const
{
    Colours colours;
    TableNames names;
    for (const NodeData& piece : getData())
    {
        if (isTable(piece))
        {
            names.reserve(piece.array->GetName());
        }
    }
    for (const Association association : ASSOCIATIONS)
    {
        const ArrayList& arrays = _arrays[association];
        Properties entries = properties.getProperties(POLY_DATA_KEYS[association].tables);
        for (std::size_t i = 0; i < arrays.size(); ++i)
        {
            vtkDataArray* array = arrays.numbersAt(i);
            vtkLookupTable* table = array ? array->GetLookupTable() : nullptr;
            if (!table)
            {
                continue;
            }
            const std::string& name = names.nameOf(table, arrays.nameAt(i));
            if (const auto stored = detail::coloursOf(*table, name, _colours[name]))
            {
                colours[name] = stored;
                entries.set(arrays.nameAt(i), tableEntry(name, *table), Properties::Overwrite);
            }
        }
        setRecord(properties, POLY_DATA_KEYS[association].tables, std::move(entries));
    }
    _colours = std::move(colours);
}

Properties PolyDataNode::describe() const
{
    Properties res = propertiesToWrite();
    for (const Association association : ASSOCIATIONS)
    {
        describeArrays(_arrays[association], POLY_DATA_KEYS[association], res);
    }
    describeTables(res);
    return res;
}

void PolyDataNode::serialize(NodeStream& stream) const
{
    const std::string& key = getObjectKey();
    stream.write(key, describe());
    if (_geometry)
    {
        stream.writePolys(key, _geometry, TimeStamp(_geometry->GetMTime()));
    }
    for (const Association association : ASSOCIATIONS)
    {
        const ArrayList& arrays = _arrays[association];
        for (std::size_t i = 0; i < arrays.size(); ++i)
        {
            if (vtkDataArray* array = arrays.stored(i))
            {
                pieceOf(association, array).offer(stream, key, _geometry);
            }
        }
    }
    for (const auto& table : _colours)
    {
        stream.writeBinaryNodeData(key, table.second, NodeStream::DataTag1);
    }
    writeData(stream);
}

bool PolyDataNode::take(const NodeData& piece)
{
    if (piece.kind == NodeData::Kind::Polys && !_geometry)
    {
        _geometry = piece.polys;
        return true;
    }
    const auto association = associationOf(piece);
    if (!association || !piece.array->GetName() || _arrays[*association].find(piece.array->GetName()))
    {
        return false;
    }
    setArray(*association, piece.array);
    return true;
}

void PolyDataNode::separateArrays()
{
    static LogSite dropped(Logger::Warning, "base/src/scenegraph/PolyDataNodeStorage", 262);
    const vtkSmartPointer<vtkPolyData> loaded = _geometry;
    int arrays = 0, lost = 0;
    for (const Association association : ASSOCIATIONS)
    {
        for (int i = 0; i < arrayCount(*loaded, association); ++i, ++arrays)
        {
            vtkAbstractArray* array = fieldsOf(*loaded, association)->GetAbstractArray(i);
            if (_arrays[association].canHold(array) && array->GetName() && !_arrays[association].find(array->GetName()))
            {
                setArray(association, array);
            }
            else
            {
                ++lost;
            }
        }
        if (const char* key = POLY_DATA_KEYS[association].active; key && !getProperties().hasName(key))
        {
            setActives(association, *loaded);
        }
    }
    if (lost > 0)
    {
        dropped.log(getObjectKey() + ": " + std::to_string(lost) +
                    " arrays of the polydata are dropped: neither numbers nor strings, or without a name of their own");
    }
    if (arrays > 0)
    {
        setGeometry(loaded);
    }
}

void PolyDataNode::restoreBits(Association association)
{
    consumeEntries(properties(), POLY_DATA_KEYS[association].bits,
                   [&](const std::string& name, const Properties&) { return _arrays[association].turnIntoBits(name); });
}

void PolyDataNode::restoreTables(Association association, StoredTables& stored)
{
    const auto restore = [&](const std::string& name, const Properties& entries)
    {
        const Properties& entry = entries.getProperties(name);
        vtkDataArray* array = findArray(association, name);
        const auto colours = stored.colours.find(entry.getString(TABLE));
        const auto range = detail::rangeOfText(entry.getString(RANGE));
        if (!array || colours == stored.colours.end() || !range)
        {
            return false;
        }
        auto& table = stored.made[colours->first + " " + detail::rangeText(*range)];
        if (array->GetLookupTable()) // the array is shared with a living node
        {
            table = array->GetLookupTable();
        }
        else if (!table)
        {
            table = detail::tableOf(*colours->second, *range);
        }
        array->SetLookupTable(table);
        _colours.insert(*colours);
        return true;
    };
    consumeEntries(properties(), POLY_DATA_KEYS[association].tables, restore);
}

void PolyDataNode::restoreStrings(Association association)
{
    std::vector<ArrayList::Placed> found;
    const std::size_t most = _arrays[association].roomForStrings();
    const auto restore = [&](const std::string& name, const Properties& entries)
    {
        if (found.size() == most || _arrays[association].find(name))
        {
            return false;
        }
        auto strings = detail::stringsOfEntry(name, entries.getProperties(name));
        if (strings)
        {
            found.push_back(std::move(*strings));
        }
        return strings.has_value();
    };
    consumeEntries(properties(), POLY_DATA_KEYS[association].strings, restore);
    _arrays[association].insert(std::move(found));
}

void PolyDataNode::restoreComponentNames(Association association)
{
    const auto restore = [&](const std::string& name, const Properties& entries)
    {
        vtkAbstractArray* array = _arrays[association].find(name);
        return array && detail::nameComponents(*array, entries.getProperties(name));
    };
    consumeEntries(properties(), POLY_DATA_KEYS[association].components, restore);
}

void PolyDataNode::interpretData()
{
    std::vector<NodeData> rest;
    StoredTables tables;
    for (NodeData& piece : data())
    {
        if (!take(piece))
        {
            auto* bytes = vtkUnsignedCharArray::SafeDownCast(piece.array);
            if (isTable(piece) && bytes && detail::holdsColours(*bytes))
            {
                tables.colours.emplace(bytes->GetName(), bytes);
            }
            rest.push_back(std::move(piece));
        }
    }
    if (_geometry)
    {
        separateArrays();
    }
    for (const Association association : ASSOCIATIONS)
    {
        restoreBits(association);
        restoreTables(association, tables);
        restoreStrings(association);
        restoreComponentNames(association);
    }
    const auto restored = [&](const NodeData& piece)
    {
        const auto colours = isTable(piece) ? _colours.find(piece.array->GetName()) : _colours.end();
        return colours != _colours.end() && colours->second == piece.array;
    };
    rest.erase(std::remove_if(rest.begin(), rest.end(), restored), rest.end());
    data() = std::move(rest);
}

} // namespace tsg
