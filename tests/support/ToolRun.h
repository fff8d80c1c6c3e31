#pragma once

#include "CommandTable.h"
#include "support/TemporaryDirectory.h"

#include <sstream>
#include <string>
#include <vector>

#include <rapidjson/document.h>

namespace test
{

/// What one run of the tool answered.
struct ToolRun
{
    int code;
    std::string out;
    std::string err;

    /// Standard output as a document; null if it is none.
    rapidjson::Document json() const
    {
        rapidjson::Document res;
        res.Parse(out.c_str());
        return res;
    }
};

/// Runs the tool in this process.
inline ToolRun tool(const std::vector<std::string>& arguments)
{
    std::ostringstream out, err;
    const int code = tavosce::run(arguments, out, err, false);
    return {code, out.str(), err.str()};
}

} // namespace test
