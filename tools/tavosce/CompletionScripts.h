#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace tavosce
{

// Scripts with which shells complete command lines, made of what the verbs declare: verbs, options and operands. That
// of bash also asks the tool for the records and nodes of the file at hand (`tavosce completion`).
std::string bashCompletion(const CLI::App& tool);
std::string zshCompletion(const CLI::App& tool);
std::string fishCompletion(const CLI::App& tool);

} // namespace tavosce
