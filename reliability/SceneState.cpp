#include "SceneState.h"

#include "core/Error.h"
#include "support/Scenes.h"

#include <limits>
#include <sstream>
#include <stdexcept>

namespace reliability
{

namespace
{

std::wstring wide(const std::string& path)
{
    return {path.begin(), path.end()};
}

std::string describe(vtkDataArray* values)
{
    std::ostringstream res;
    res.precision(std::numeric_limits<double>::max_digits10);
    for (const double value : test::valuesOf(values))
    {
        res << ' ' << value;
    }
    return res.str();
}

std::string describe(vtkPolyData& polys)
{
    std::string res = describe(polys.GetPoints()->GetData());
    for (vtkCellArray* const cells : {polys.GetVerts(), polys.GetLines(), polys.GetPolys(), polys.GetStrips()})
    {
        res += " cells" + describe(cells->GetOffsetsArray()) + " of" + describe(cells->GetConnectivityArray());
    }
    for (const int kind : {vtkDataObject::POINT, vtkDataObject::CELL, vtkDataObject::FIELD})
    {
        vtkFieldData& fields = *polys.GetAttributesAsFieldData(kind);
        for (int i = 0; i < fields.GetNumberOfArrays(); ++i)
        {
            res += std::string(" ") + fields.GetArrayName(i) + describe(fields.GetArray(i));
        }
    }
    return res;
}

std::string describe(const test::RecordingStream& stream)
{
    std::string res;
    for (const auto& [key, properties] : stream.nodes)
    {
        res += key + properties.toString() + '\n';
    }
    for (const auto& [name, array] : stream.arrays)
    {
        res += name + describe(array) + '\n';
    }
    for (const auto& [key, polys] : stream.polys)
    {
        res += key + describe(*polys) + '\n';
    }
    return res;
}

} // namespace

std::optional<SceneState> stateOf(const std::string& path)
{
    if (!std::filesystem::exists(path))
    {
        return std::nullopt;
    }
    tsg::SDBReader reader;
    if (reader.open(wide(path)) != tsg::io::FileIoStatus::Success)
    {
        throw std::runtime_error(path + " cannot be opened");
    }
    SceneState res;
    for (const Properties& header : reader.getRecords())
    {
        test::RecordingStream stream;
        if (!reader.loadRecord(header, stream))
        {
            throw std::runtime_error(path + ": record \"" + header.getString("Title") + "\" cannot be loaded");
        }
        res.records.push_back(header.getString("Title") + '\n' + describe(stream));
    }
    for (const Properties& tag : reader.getThumbnails())
    {
        tsg::Bitmap<3> bitmap;
        reader.getThumbnailData(tag, bitmap);
        res.thumbnails.push_back(std::to_string(tag.getInt("RecordIndex")) + ' ' +
                                 std::string(bitmap.getData(), bitmap.getData() + bitmap.getSize()));
    }
    return res;
}

bool isBeginning(const SceneState& part, const SceneState& whole)
{
    const auto begins = [](const std::vector<std::string>& some, const std::vector<std::string>& all)
    { return some.size() <= all.size() && std::equal(some.begin(), some.end(), all.begin()); };
    return begins(part.records, whole.records) && begins(part.thumbnails, whole.thumbnails);
}

void checkAdding(const std::string& path)
{
    const SceneState before = stateOf(path).value();
    test::Scene scene("SceneNode_9");
    tsg::SDBWriter writer;
    if (writer.open(wide(path), true, true) != tsg::io::FileIoStatus::Success ||
        test::add(writer, scene.with(test::floats("T", {1, 2, 3})), "added") !=
            static_cast<int>(before.records.size()) ||
        writer.hasFailed())
    {
        throw std::runtime_error(path + " cannot be added to");
    }
    writer.close();
    const SceneState after = stateOf(path).value();
    if (!isBeginning(before, after) || after.records.size() != before.records.size() + 1)
    {
        throw std::runtime_error(path + ": what was added is not there, or something else is not any more");
    }
}

} // namespace reliability
