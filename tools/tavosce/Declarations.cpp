#include "Declarations.h"

#include <CLI/CLI.hpp>

namespace tavosce
{

std::vector<const CLI::App*> verbsOf(const CLI::App& tool)
{
    return tool.get_subcommands([](const CLI::App* each) { return !each->get_name().empty(); });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app)
{
    std::vector<const CLI::Option*> res =
        app.get_options([](const CLI::Option* each) { return !each->get_positional(); });
    for (const CLI::App* const group :
         app.get_subcommands([](const CLI::App* each) { return each->get_name().empty(); }))
    {
        const CLI::Option* const help = group->get_help_ptr(); // that of the verb once more
        const auto options = group->get_options([help](const CLI::Option* each) { return each != help; });
        res.insert(res.end(), options.begin(), options.end());
    }
    return res;
}

std::vector<const CLI::Option*> operandsOf(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* each) { return each->get_positional(); });
}

std::vector<std::string> namesOf(const CLI::Option& option)
{
    std::vector<std::string> res;
    for (const std::string& name : option.get_snames())
    {
        res.push_back('-' + name);
    }
    for (const std::string& name : option.get_lnames())
    {
        res.push_back("--" + name);
    }
    return res;
}

bool takesValue(const CLI::Option& option)
{
    return option.get_items_expected_max() > 0;
}

} // namespace tavosce
