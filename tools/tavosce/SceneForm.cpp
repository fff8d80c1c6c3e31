#include "SceneForm.h"

#include "DatasetArrays.h"
#include "DatasetCheck.h"
#include "Text.h"

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "scenegraph/NodeStream.h"
#include "scenegraph/io/detail/SceneDirectory.h"
#include "scenegraph/io/detail/StoredArray.h"

#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace tavosce
{

namespace
{

using tsg::NodeData;

std::string describe(const NodeData& piece, const std::string& objectKey)
{
    std::string text;
    switch (piece.kind)
    {
    case NodeData::Kind::Polys:
        text = "polydata";
        break;
    case NodeData::Kind::PointData:
        text = "point array " + inQuotes(arrayName(piece.array));
        break;
    case NodeData::Kind::CellData:
        text = "cell array " + inQuotes(arrayName(piece.array));
        break;
    case NodeData::Kind::NodeArray:
        text = "node data " + inQuotes(arrayName(piece.array));
        break;
    case NodeData::Kind::NodeRecord:
        text = "a record of node data";
        break;
    }
    return text + " of " + shown(objectKey);
}

/// The file of a scene directory that a piece of data is stored in.
std::string fileOf(const NodeData& piece, const std::string& objectKey)
{
    return piece.kind == NodeData::Kind::Polys
               ? objectKey + tsg::detail::POLY_DATA_EXTENSION
               : objectKey + '.' + arrayName(piece.array) + tsg::detail::DATA_ARRAY_EXTENSION;
}

/// Why neither writer stores a piece; empty if both do.
std::string writerRefusal(const NodeData& piece)
{
    const bool storedTag = piece.tag == tsg::NodeStream::DataTag1 || piece.tag == tsg::NodeStream::DataTag7;
    if (piece.kind == NodeData::Kind::NodeRecord || (piece.kind == NodeData::Kind::NodeArray && !storedTag))
    {
        return "node data of kind " + std::to_string(piece.tag) + " can be loaded, but has no place in what is written";
    }
    return piece.array == nullptr ? "" : tsg::detail::storingRefusal(*piece.array, piece.array->GetNumberOfValues());
}

/// Receives what the nodes of a graph would store, and keeps what a form has no place for.
class FormCheck : public tsg::NodeStream
{
public:
    struct Misfit
    {
        NodeData piece;
        std::string reason;
    };

    FormCheck(SceneForm form, std::string place, bool skipUnsupported, Report& report)
        : _form(form)
        , _place(std::move(place))
        , _skip(skipUnsupported)
        , _report(report)
    {
    }

    bool write(const std::string&, Properties&&) override { return true; }

    bool writePolys(const std::string& objectKey, vtkPolyData* polys, tsg::TimeStamp stamp) override
    {
        makeStorable(*polys, _place + ": polydata of " + shown(objectKey), _skip, _report);
        return check(objectKey, NodeData::ofPolys(polys, stamp));
    }

    bool writePointData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array) override
    {
        return check(objectKey, NodeData::ofPoints(array));
    }

    bool writeCellData(const std::string& objectKey, vtkPolyData*, vtkDataArray* array) override
    {
        return check(objectKey, NodeData::ofCells(array));
    }

    bool writeBinaryNodeData(const std::string& objectKey, vtkDataArray* array, DataTag tag,
                             tsg::TimeStamp stamp) override
    {
        return check(objectKey, NodeData::ofNode(array, tag, stamp));
    }

    bool writePropNodeData(const std::string& objectKey, Properties&& properties, DataTag tag) override
    {
        return check(objectKey, NodeData::ofRecord(std::move(properties), tag));
    }

    /// What has been found since the last call.
    std::vector<Misfit> take() { return std::exchange(_misfits, {}); }

private:
    bool check(const std::string& objectKey, const NodeData& piece)
    {
        if (std::string reason = refusal(objectKey, piece); !reason.empty())
        {
            _misfits.push_back({piece, std::move(reason)});
        }
        return true;
    }

    std::string refusal(const std::string& objectKey, const NodeData& piece)
    {
        std::string reason = writerRefusal(piece);
        if (!reason.empty() || _form == SceneForm::Database)
        {
            return reason;
        }
        if (!Platform::filesystem().isFileName(OS::toWide(fileOf(piece, objectKey))))
        {
            return "no file can be named " + inQuotes(fileOf(piece, objectKey));
        }
        const bool isNew = _seen.emplace(piece.kind, piece.tag, objectKey, arrayName(piece.array)).second;
        return isNew ? "" : "there is another one, and one file for both";
    }

    SceneForm _form;
    std::string _place;
    bool _skip;
    Report& _report;
    std::set<std::tuple<NodeData::Kind, DataTag, std::string, std::string>> _seen;
    std::vector<Misfit> _misfits;
};

/// True if two pieces are one: they share their dataset, or are the same record.
bool isSame(const NodeData& left, const NodeData& right)
{
    return left.kind == right.kind && left.tag == right.tag && left.polys == right.polys && left.array == right.array &&
           left.record == right.record;
}

void leaveOut(tsg::DataNode& node, const std::vector<FormCheck::Misfit>& misfits)
{
    for (const FormCheck::Misfit& misfit : misfits)
    {
        node.removeData([&](const NodeData& piece) { return isSame(piece, misfit.piece); });
    }
}

} // namespace

void makeStorable(tsg::SceneGraph& graph, SceneForm form, const std::string& place, bool skipUnsupported,
                  Report& report)
{
    FormCheck check(form, place, skipUnsupported, report);
    std::size_t refused = 0;
    for (const auto& [objectKey, node] : graph.nodes())
    {
        node->serialize(check);
        const std::vector<FormCheck::Misfit> misfits = check.take();
        for (const FormCheck::Misfit& misfit : misfits)
        {
            const std::string what = describe(misfit.piece, objectKey);
            if (skipUnsupported)
            {
                report.note(place, what + " is left out: " + misfit.reason);
            }
            else
            {
                report.error(place, what + " cannot be stored: " + misfit.reason, NotStorable);
            }
        }
        if (skipUnsupported)
        {
            leaveOut(*node, misfits);
        }
        else
        {
            refused += misfits.size();
        }
    }
    if (refused > 0)
    {
        throw Failure(NotStorable, place, counted(refused, "dataset") + " cannot be stored",
                      "--skip-unsupported leaves them out");
    }
}

} // namespace tavosce
