#include "FilesVerb.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct FilesOptions
{
    std::vector<std::string> files;
    bool json = false;
};

void runFiles(const FilesOptions& options, const FilesVerb& verb, Console& console)
{
    if (!options.json)
    {
        visitFiles(options.files, console.report, nullptr,
                   [&](SceneFile& file) { verb.printText(console.out, file, options.files.size() > 1); });
        return;
    }
    Json json(console.out);
    json.beginArray("files");
    visitFiles(options.files, console.report, &json, [&](SceneFile& file) { verb.writeJson(json, file); });
    json.endArray();
    json.finish();
}

} // namespace

Run declareFiles(CLI::App& app, const FilesVerb& verb)
{
    const auto options = std::make_shared<FilesOptions>();
    app.add_option("FILE", options->files, "Scene databases")->required();
    app.add_flag("--json", options->json, "Print one JSON document");
    return [options, verb](Console& console) { runFiles(*options, verb, console); };
}

} // namespace tavosce
