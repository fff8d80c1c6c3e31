#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace tavosce
{

/// The verbs of the tool, in their order.
std::vector<const CLI::App*> verbsOf(const CLI::App& tool);

/// The options of a verb, or of the tool, those in its groups included.
std::vector<const CLI::Option*> optionsOf(const CLI::App& app);

/// What stands on the command line without an option in front, in its order.
std::vector<const CLI::Option*> operandsOf(const CLI::App& app);

/// The names of an option as they are written, "-h" and "--help"; the long ones last.
std::vector<std::string> namesOf(const CLI::Option& option);

/// True if a value follows.
bool takesValue(const CLI::Option& option);

} // namespace tavosce
