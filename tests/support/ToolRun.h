#pragma once

#include "CommandTable.h"

#include <fstream>
#include <iterator>
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

inline std::string bytesOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

} // namespace test
