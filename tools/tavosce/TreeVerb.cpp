#include "CommandTable.h"

#include "BlockCheck.h"
#include "Json.h"
#include "NodeTree.h"
#include "RecordAddress.h"
#include "RecordJson.h"
#include "SceneFile.h"
#include "Text.h"

#include "scenegraph/io/detail/TagKeys.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

namespace key = sdb::detail::key;

/// Nodes that hang deeper say so instead of being moved further to the right.
constexpr std::size_t DEEPEST_INDENT = 32;

struct TreeOptions
{
    std::string address;
    bool json = false;
};

/// A record with its tree, and which data belongs to which node.
struct RecordTree
{
    RecordTree(const Properties& header, const RecordContents& stored)
        : contents(stored)
        , tree(treeOf(header.getString(key::ROOT_NODE_KEY), stored))
        , data(stored.nodes.size())
    {
        std::unordered_map<std::string, std::size_t> places;
        for (std::size_t i = 0; i < stored.nodes.size(); ++i)
        {
            places.emplace(stored.nodes[i].objectKey, i);
        }
        for (const StoredBlock& block : stored.blocks)
        {
            const auto place = places.find(block.objectKey());
            (place == places.end() ? strayData : data[place->second]).push_back(&block);
        }
    }

    const RecordContents& contents;
    NodeTree tree;
    std::vector<std::vector<const StoredBlock*>> data; ///< by node
    std::vector<const StoredBlock*> strayData;         ///< of no node of the record
};

void printBlock(std::ostream& out, const std::string& indent, const StoredBlock& block, bool withOwner)
{
    out << indent << (withOwner ? describeBlock(block) : blockName(block))
        << (block.isArray() ? ", " + shapeOf(block) : "") << ": " << counted(block.length, "byte")
        << (block.shared ? ", shared\n" : "\n");
}

void printLine(std::ostream& out, const RecordTree& record, const NodeTree::Line& line)
{
    const std::string indent(2 * std::min(line.depth, DEEPEST_INDENT), ' ');
    const StoredNode& node = record.contents.nodes[line.node];
    out << indent;
    if (line.depth > DEEPEST_INDENT)
    {
        out << "(depth " << line.depth << ") ";
    }
    out << shown(node.objectKey);
    if (line.occurrence != NodeTree::First)
    {
        out << (line.occurrence == NodeTree::Cycle ? " (cycle)\n" : " (see above)\n");
        return;
    }
    out << (node.properties.empty() ? "" : ' ' + shownJsonStart(node.properties.toString())) << '\n';
    for (const StoredBlock* const block : record.data[line.node])
    {
        printBlock(out, indent + "  - ", *block, false);
    }
}

void printText(std::ostream& out, const RecordTree& record)
{
    for (const NodeTree::Line& line : record.tree.lines)
    {
        printLine(out, record, line);
    }
    if (!record.tree.apart.empty())
    {
        out << "not reached from the root:\n";
    }
    for (const NodeTree::Line& line : record.tree.apart)
    {
        printLine(out, record, line);
    }
    for (const std::size_t node : record.tree.repeated)
    {
        out << "one more node with the key " << shown(record.contents.nodes[node].objectKey) << ' '
            << shownJsonStart(record.contents.nodes[node].properties.toString()) << '\n';
    }
    for (const StoredBlock* const block : record.strayData)
    {
        printBlock(out, "without a node: ", *block, true);
    }
}

void writeBlocks(Json& json, const char* name, const std::vector<const StoredBlock*>& blocks)
{
    json.beginArray(name);
    for (const StoredBlock* const block : blocks)
    {
        writeBlock(json, *block);
    }
    json.endArray();
}

/// One entry for each node, whatever refers to it: a document that nests as the nodes do could not be read back.
void writeLines(Json& json, const RecordTree& record, const std::vector<NodeTree::Line>& lines, bool reached)
{
    const std::vector<StoredNode>& nodes = record.contents.nodes;
    for (const NodeTree::Line& line : lines)
    {
        if (line.occurrence != NodeTree::First)
        {
            continue;
        }
        json.beginObject();
        json.member("objectKey", nodes[line.node].objectKey);
        if (line.parent == NodeTree::NONE)
        {
            json.nullMember("parent");
        }
        else
        {
            json.member("parent", nodes[line.parent].objectKey);
        }
        json.member("depth", static_cast<std::uint64_t>(line.depth));
        json.member("reached", reached);
        json.beginArray("references");
        for (const std::size_t node : record.tree.references[line.node])
        {
            json.element(nodes[node].objectKey);
        }
        json.endArray();
        json.member("properties", nodes[line.node].properties);
        writeBlocks(json, "data", record.data[line.node]);
        json.endObject();
    }
}

void printJson(std::ostream& out, const SceneFile& file, std::size_t index, const RecordTree& record)
{
    Json json(out);
    json.member("file", file.path());
    writeRecordHeader(json, index, file.records()[index]);
    if (record.tree.root == NodeTree::NONE)
    {
        json.nullMember("root");
    }
    else
    {
        json.member("root", record.contents.nodes[record.tree.root].objectKey);
    }
    json.beginArray("nodes");
    writeLines(json, record, record.tree.lines, true);
    writeLines(json, record, record.tree.apart, false);
    json.endArray();
    json.beginArray("repeatedNodes");
    for (const std::size_t node : record.tree.repeated)
    {
        writeNode(json, record.contents.nodes[node]);
    }
    json.endArray();
    writeBlocks(json, "strayData", record.strayData);
    json.finish();
}

void runTree(const TreeOptions& options, Console& console)
{
    const RecordAddress address = parseAddress(options.address);
    SceneFile file(address.file);
    const std::size_t index = placeOrNewest(address, file.records().size());
    const RecordContents contents = file.contentsOf(index);
    const RecordTree record(file.records()[index], contents);
    if (options.json)
    {
        printJson(console.out, file, index, record);
    }
    else
    {
        printText(console.out, record);
    }
    file.reportFault(console.report, index, contents);
    if (!record.tree.problem.empty())
    {
        // Records of the first version do not say which node is their root.
        const bool isNamed = !file.records()[index].getString(key::ROOT_NODE_KEY).empty();
        const std::string problem = shown(record.tree.problem);
        isNamed ? console.report.warning(file.placeOf(index), problem)
                : console.report.note(file.placeOf(index), problem);
    }
    file.reportEnd(console.report);
}

} // namespace

Run declareTree(CLI::App& app)
{
    const auto options = std::make_shared<TreeOptions>();
    app.add_option("FILE[:REC]", options->address, RECORD_OR_NEWEST)->required();
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options](Console& console) { runTree(*options, console); };
}

} // namespace tavosce
