#include "NodeArrays.h"

#include "BlockLoad.h"
#include "DatasetArrays.h"
#include "Suggestion.h"
#include "Text.h"

#include "scenegraph/io/SDB.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <vtkCellData.h>
#include <vtkFieldData.h>
#include <vtkFloatArray.h>
#include <vtkPointData.h>
#include <vtkPoints.h>

namespace tavosce
{

namespace
{

constexpr const char* NODE_KINDS[] = {"field:", "node1:", "node2:", "node3:", "node4:"};

/// Something that may be meant.
struct Candidate
{
    std::vector<std::string> names; ///< by which it goes, from the shortest to the one that is most exact
    const StoredBlock* block;
    std::function<Values(const BlockData&)> values;

    bool isCalled(const std::string& name) const { return std::find(names.begin(), names.end(), name) != names.end(); }
};

using Candidates = std::vector<Candidate>;

Values valuesOfPoints(const BlockData& data)
{
    return Values(*data.polys->GetPoints()->GetData()); // without points nothing is decoded
}

std::vector<std::string> namesOf(const StoredBlock& block)
{
    const std::string name = block.name();
    switch (block.kind())
    {
    case sdb::PointData:
        return {name, "point:" + name};
    case sdb::CellData:
        return {name, "cell:" + name};
    case sdb::NodeDataA:
    case sdb::NodeDataB:
    case sdb::NodeDataC:
    case sdb::NodeDataD:
    case sdb::NodeDataE:
        return {name, "node:" + name, NODE_KINDS[block.kind() - sdb::NodeDataA] + name};
    default:
        return {name};
    }
}

void addGeometry(const StoredBlock& block, Candidates& candidates)
{
    const std::string prefix = "polydata:";
    candidates.push_back({{"points", prefix + "points"}, &block, &valuesOfPoints});
    for (const CellKind& part : CELL_KINDS)
    {
        candidates.push_back({{part.name, prefix + part.name}, &block, [&part](const BlockData& data) {
                                  return Values(*(data.polys->*part.cells)());
                              }});
    }
}

void addInner(const StoredBlock& block, const BlockData& data, Candidates& candidates)
{
    const std::pair<const char*, vtkFieldData*> owners[] = {{"point:", data.polys->GetPointData()},
                                                            {"cell:", data.polys->GetCellData()},
                                                            {"node:", data.polys->GetFieldData()}};
    for (const auto& [prefix, set] : owners)
    {
        for (int i = 0; i < set->GetNumberOfArrays(); ++i)
        {
            vtkDataArray* const array = set->GetArray(i);
            if (array != nullptr && array->GetName() != nullptr)
            {
                const std::string name = array->GetName(), qualified = prefix + name;
                candidates.push_back({{name, qualified, "polydata:" + qualified}, &block, [array](const BlockData&) {
                                          return Values(*array);
                                      }});
            }
        }
    }
}

/// How many things go by each name.
using NameCounts = std::unordered_map<std::string, std::size_t>;

NameCounts countNames(const Candidates& candidates)
{
    NameCounts res;
    for (const Candidate& candidate : candidates)
    {
        for (const std::string& name : candidate.names)
        {
            ++res[name];
        }
    }
    return res;
}

Candidates named(const Candidates& candidates, const std::string& name)
{
    Candidates res;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(res),
                 [&](const Candidate& each) { return each.isCalled(name); });
    return res;
}

/// The shortest name by which only this one goes; the most exact one if none does.
std::string ownName(const Candidate& candidate, const NameCounts& counts)
{
    const auto found = std::find_if(candidate.names.begin(), candidate.names.end(),
                                    [&](const std::string& name) { return counts.at(name) == 1; });
    return found == candidate.names.end() ? candidate.names.back() : *found;
}

/// Of each the name that is its own; what has none of its own is listed once.
std::vector<std::string> ownNames(const Candidates& some, const Candidates& all)
{
    const NameCounts counts = countNames(all);
    std::vector<std::string> res;
    std::unordered_set<std::string> listed;
    for (const Candidate& candidate : some)
    {
        const std::string name = ownName(candidate, counts);
        if (listed.insert(name).second)
        {
            res.push_back(name);
        }
    }
    return res;
}

/// What can be found without decoding anything.
Candidates storedArrays(const RecordContents& contents, const std::string& objectKey)
{
    Candidates res;
    for (const StoredBlock& block : contents.blocks)
    {
        if (block.objectKey() == objectKey && block.isArray())
        {
            res.push_back({namesOf(block), &block, [](const BlockData& data) { return Values(*data.array); }});
        }
    }
    return res;
}

const StoredBlock* geometryOf(const RecordContents& contents, const std::string& objectKey)
{
    const auto found =
        std::find_if(contents.blocks.begin(), contents.blocks.end(),
                     [&](const StoredBlock& block) { return block.objectKey() == objectKey && !block.isArray(); });
    return found == contents.blocks.end() ? nullptr : &*found;
}

/// The one of them that is meant; of several that go by the same names the first.
const Candidate& onlyOne(const Candidates& meant, const Candidates& all, const std::string& name,
                         const std::string& place)
{
    const std::vector<std::string> names = ownNames(meant, all);
    if (names.size() > 1)
    {
        std::string list = names.front();
        for (std::size_t i = 1; i < names.size(); ++i)
        {
            list += (i + 1 < names.size() ? ", " : " and ") + names[i];
        }
        throw Failure(WrongUsage, place, inQuotes(name) + " may be any of " + shown(list),
                      "name it in one of these ways");
    }
    return meant.front();
}

} // namespace

FoundArray findArray(SceneFile& file, std::size_t record, const RecordContents& contents, const std::string& objectKey,
                     const std::string& name)
{
    Candidates all = storedArrays(contents, objectKey);
    const StoredBlock* const geometry = geometryOf(contents, objectKey);
    if (geometry != nullptr)
    {
        addGeometry(*geometry, all);
    }
    BlockData data;
    Candidates meant = named(all, name);
    if (meant.empty() && geometry != nullptr)
    {
        data = loadBlock(file, record, *geometry);
        addInner(*geometry, data, all);
        meant = named(all, name);
    }
    const std::string place = file.placeOf(record);
    if (meant.empty())
    {
        throw Failure(WrongUsage, place, shown(objectKey) + " has no array " + inQuotes(name),
                      suggestion(name, ownNames(all, all), "it has"));
    }
    const Candidate& found = onlyOne(meant, all, name, place);
    if (data.isEmpty())
    {
        data = loadBlock(file, record, *found.block);
    }
    return {ownName(found, countNames(all)), found.values(data)};
}

} // namespace tavosce
