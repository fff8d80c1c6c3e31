#include "CommandTable.h"

#include "Declarations.h"
#include "Interrupt.h"
#include "Suggestion.h"
#include "Text.h"

#include "core/Error.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <new>
#include <optional>
#include <ostream>
#include <utility>

#include <CLI/CLI.hpp>

namespace tavosce
{

namespace
{

struct Command
{
    const char* name;
    const char* summary;
    Run (*declare)(CLI::App& app);
};

constexpr Command COMMANDS[] = {
    {"import", "Writes datasets into a scene database, each as one record", &declareImport},
    {"info", "Tells what a scene database holds", &declareInfo},
    {"export", "Writes the datasets and nodes of a scene database, or of one record, into a folder", &declareExport},
    {"ls", "Lists the records of scene databases, a line each", &declareLs},
    {"tree", "Shows the nodes of a record as a tree, with their properties and data", &declareTree},
    {"cat", "Prints properties of a node, or the values of an array", &declareCat},
    {"du", "Tells what the bytes of scene databases are used for", &declareDu},
    {"thumb", "Gets or adds the thumbnail of a record", &declareThumb},
    {"diff", "Compares records of scene databases, and scene directories", &declareDiff},
    {"recover", "Writes what is whole of a damaged scene database into a new one", &declareRecover},
    {"verify", "Checks scene databases and scene directories from the first byte to the last", &declareVerify},
    {"completion", "Prints what a shell needs to complete command lines", &declareCompletion},
};

constexpr const char* FOOTER =
    "Exit codes: 0 fine, 1 done with warnings, errors or differences, 2 wrong usage, 3 cannot open, 4 no scene\n"
    "database or too new, 5 too damaged, 6 cannot write, 7 the input holds what the format cannot store,\n"
    "130 interrupted; of several the highest.";

/// Throws what CLI11 throws for arguments that make no sense, and for --help and --version.
Run parse(CLI::App& app, const std::vector<std::string>& arguments)
{
    Run chosen;
    app.require_subcommand(1);
    app.set_version_flag("--version", "tavosce " TAVOSCE_VERSION);
    app.footer(FOOTER);
    for (const Command& command : COMMANDS)
    {
        CLI::App* const verb = app.add_subcommand(command.name, command.summary);
        const Run runVerb = command.declare(*verb);
        verb->callback([&chosen, runVerb] { chosen = runVerb; });
    }
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend()); // the order that CLI11 wants
    app.parse(reversed);
    return chosen;
}

/// True if a word asks for an option of a verb, or of the tool, that it does not have.
bool isUnknownOption(const CLI::App& app, const std::string& word)
{
    const bool isLong = word.size() > 2 && word.compare(0, 2, "--") == 0;
    const bool isShort = word.size() > 1 && word[0] == '-' && std::isalpha(static_cast<unsigned char>(word[1])) != 0;
    const std::string name = isLong ? word.substr(0, word.find('=')) : word.substr(0, 2);
    return (isLong || isShort) && app.get_option_no_throw(name) == nullptr;
}

/// The name of each option that people use.
std::vector<std::string> optionNames(const CLI::App& app)
{
    std::vector<std::string> res;
    for (const CLI::Option* const option : optionsOf(app))
    {
        res.push_back(namesOf(*option).back());
    }
    return res;
}

Failure unknownOption(const CLI::App& app, const std::string& word)
{
    const std::string name = word.substr(0, word.find('='));
    return {WrongUsage, "", "there is no option " + inQuotes(name),
            suggestion(name, optionNames(app), "the options are")};
}

/// What to say of arguments that were refused: the first verb or option in them that does not exist; none if all do.
std::optional<Failure> misspelling(const CLI::App& app, const std::vector<std::string>& arguments)
{
    const CLI::App* asked = &app;
    std::size_t options = 0; ///< where they begin
    if (!arguments.empty() && arguments[0].compare(0, 1, "-") != 0)
    {
        const auto verbs = app.get_subcommands([&](const CLI::App* verb) { return verb->get_name() == arguments[0]; });
        asked = verbs.empty() ? nullptr : verbs.front();
        options = 1;
    }
    if (asked == nullptr)
    {
        std::vector<std::string> verbs;
        std::transform(std::begin(COMMANDS), std::end(COMMANDS), std::back_inserter(verbs),
                       [](const Command& command) { return command.name; });
        return Failure(WrongUsage, "", "there is no verb " + inQuotes(arguments[0]),
                       suggestion(arguments[0], verbs, "the verbs are") + "; `tavosce --help` describes them");
    }
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    const auto found = std::find_if(arguments.begin() + static_cast<std::ptrdiff_t>(options), end,
                                    [&](const std::string& word) { return isUnknownOption(*asked, word); });
    return found == end ? std::nullopt : std::make_optional(unknownOption(*asked, *found));
}

void requireWritten(std::ostream& out, Report& report)
{
    if (!out.flush())
    {
        report.error("", "cannot write the results", CannotWrite);
    }
}

/// Says why the arguments make no sense, or prints what they ask for: help or the version. The exit code.
int answer(const CLI::App& app, const CLI::ParseError& error, const std::vector<std::string>& arguments,
           std::ostream& out, std::ostream& err)
{
    Report report(err, false);
    if (error.get_exit_code() == 0)
    {
        app.exit(error, out, err);
        requireWritten(out, report);
    }
    else if (const std::optional<Failure> wrong = misspelling(app, arguments))
    {
        report.error(*wrong);
    }
    else
    {
        report.error({WrongUsage, "", shown(error.what()), "--help tells what there is"});
    }
    return report.exitCode();
}

/// Runs a verb and turns what it throws into messages.
void runGuarded(const Run& verb, Console& console)
{
    Report& report = console.report;
    try
    {
        verb(console);
        requireWritten(console.out, report);
    }
    catch (const Failure& failure)
    {
        report.error(failure);
    }
    catch (const Interruption& interruption)
    {
        report.error("", interruption.what(), Interrupted);
    }
    catch (const std::bad_alloc&)
    {
        report.error("", "not enough memory", TooDamaged);
    }
    catch (const Error& error)
    {
        report.error("",
                     shown(error.message()) + " (" + error.source() + ", line " + std::to_string(error.line()) + ')',
                     TooDamaged);
    }
}

} // namespace

int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err, bool terminal)
{
    CLI::App app("Scene databases from and to files that others read", "tavosce");
    Report report(err, terminal);
    try
    {
        const Run verb = parse(app, arguments);
        Console console{out, report};
        runGuarded(verb, console);
        return report.exitCode();
    }
    catch (const CLI::ParseError& error)
    {
        return answer(app, error, arguments, out, err);
    }
    catch (const std::exception& error)
    {
        report.error("", shown(error.what()), TooDamaged);
        return report.exitCode();
    }
}

} // namespace tavosce
