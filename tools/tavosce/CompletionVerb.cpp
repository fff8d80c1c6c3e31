#include "CommandTable.h"

#include "CompletionScripts.h"
#include "RecordAddress.h"
#include "RecordWalk.h"
#include "SceneFile.h"
#include "Text.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct CompletionOptions
{
    std::string what;
    std::string address;
};

/// True if a text can stand on a command line: there is nothing in it that would have to be shown as \xNN.
bool canBeTyped(const std::string& text)
{
    return static_cast<std::ptrdiff_t>(shown(text).size() - text.size()) ==
           std::count(text.begin(), text.end(), '\\'); // they are doubled
}

void printRecords(const std::string& path, std::ostream& out)
{
    const SceneFile file(path);
    for (std::size_t i = 0; i < file.records().size(); ++i)
    {
        out << path << ':' << i << '\n';
    }
}

void printNodes(const std::string& text, std::ostream& out)
{
    const RecordAddress address = parseAddress(text);
    SceneFile file(address.file);
    const std::size_t index = placeOrNewest(address, file.records().size());
    const RecordContents contents = file.contentsOf(index);
    for (const StoredNode& node : contents.nodes)
    {
        if (canBeTyped(node.objectKey))
        {
            out << node.objectKey << '\n';
        }
    }
}

struct Script
{
    const char* shell;
    std::string (*make)(const CLI::App& tool);
};

constexpr const char* RECORDS = "records";
constexpr const char* NODES = "nodes";
constexpr Script SCRIPTS[] = {{"bash", &bashCompletion}, {"zsh", &zshCompletion}, {"fish", &fishCompletion}};

/// What can be asked for.
std::vector<std::string> words()
{
    std::vector<std::string> res;
    for (const Script& script : SCRIPTS)
    {
        res.emplace_back(script.shell);
    }
    res.insert(res.end(), {RECORDS, NODES});
    return res;
}

void runCompletion(const CLI::App& tool, const CompletionOptions& options, Console& console)
{
    const auto* const script = std::find_if(std::begin(SCRIPTS), std::end(SCRIPTS),
                                            [&](const Script& each) { return options.what == each.shell; });
    if (script != std::end(SCRIPTS))
    {
        console.out << script->make(tool);
    }
    else if (options.address.empty())
    {
        throw Failure(WrongUsage, "", inQuotes(options.what) + " needs a file");
    }
    else
    {
        options.what == RECORDS ? printRecords(options.address, console.out) : printNodes(options.address, console.out);
    }
}

} // namespace

Run declareCompletion(CLI::App& app)
{
    const auto options = std::make_shared<CompletionOptions>();
    app.add_option(CLI::detail::join(words(), "|"), options->what,
                   "For which shell a script is printed with which it completes command lines; or what such a script "
                   "asks for, a line each")
        ->required()
        ->check(CLI::IsMember(words()));
    app.add_option("FILE[:REC]", options->address,
                   "Scene database whose records, or of which a record's nodes, are meant");
    return [&tool = *app.get_parent(), options](Console& console) { runCompletion(tool, *options, console); };
}

} // namespace tavosce
