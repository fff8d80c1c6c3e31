#pragma once

#include "CommandTable.h"
#include "support/TemporaryDirectory.h"
#include "support/VtpFiles.h"

#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace test
{

/// A text as a JSON document; null if it is none.
inline rapidjson::Document parsed(const std::string& text)
{
    rapidjson::Document res;
    res.Parse(text.c_str());
    return res;
}

/// What stands at "/a/0/b" of a document, on one line; "null" if nothing does.
inline std::string at(const rapidjson::Value& document, const std::string& path)
{
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    const rapidjson::Value nothing;
    const rapidjson::Value* const found = rapidjson::Pointer(path.c_str()).Get(document);
    (found != nullptr ? *found : nothing).Accept(writer);
    return text.GetString();
}

/// What one run of the tool answered.
struct ToolRun
{
    int code;
    std::string out;
    std::string err;

    /// Standard output as a document; null if it is none.
    rapidjson::Document json() const { return parsed(out); }
};

/// Runs the tool in this process.
inline ToolRun tool(const std::vector<std::string>& arguments)
{
    std::ostringstream out, err;
    const int code = tavosce::run(arguments, out, err, false);
    return {code, out.str(), err.str()};
}

/// Runs of the tool in a fresh directory.
class ToolTest : public testing::Test
{
protected:
    std::string path(const std::string& name) const { return dir.file(name).narrow; }

    std::string bytes(const std::string& name) const { return bytesOf(path(name)); }

    void write(const std::string& name, const std::string& content) const { writeBytes(path(name), content); }

    void write(const std::string& name, vtkPolyData& polys) const { writeVtp(polys, path(name)); }

    /// "@" replaced by the directory and a slash, wherever it stands.
    std::string placed(std::string text) const
    {
        for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at))
        {
            text.replace(at, 1, dir.path() + "/");
        }
        return text;
    }

    /// Runs a command line whose words stand between single blanks; "@name" is a file of the directory.
    ToolRun run(const std::string& line) const
    {
        std::istringstream in(line);
        std::vector<std::string> arguments;
        for (std::string word; in >> word;)
        {
            arguments.push_back(placed(word));
        }
        return tool(arguments);
    }

    rapidjson::Document info(const std::string& name) const { return run("info --json @" + name).json(); }

    /// The text of a dataset that was exported.
    std::string exported(const std::string& name) const { return textOf(*readVtp(path(name))); }

    const TemporaryDirectory dir;
};

} // namespace test
