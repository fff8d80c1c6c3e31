#include "CommandTable.h"

#include "Interrupt.h"
#include "Text.h"

#include "core/Error.h"
#include "core/TavoVersion.h"

#include <algorithm>
#include <new>
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
    {"thumb", "Gets or adds the thumbnail of a record", &declareThumb},
    {"diff", "Compares records of scene databases, and scene directories", &declareDiff},
    {"recover", "Writes what is whole of a damaged scene database into a new one", &declareRecover},
    {"verify", "Checks scene databases and scene directories from the first byte to the last", &declareVerify},
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
    app.set_version_flag("--version", "tavosce " + TavoVersion::_releaseNumber);
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

/// Runs a verb and turns what it throws into messages.
void runGuarded(const Run& verb, Console& console)
{
    Report& report = console.report;
    try
    {
        verb(console);
        if (!console.out.flush())
        {
            report.error("", "cannot write the results", CannotWrite);
        }
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
        return app.exit(error, out, err) == 0 ? Fine : WrongUsage;
    }
    catch (const std::exception& error)
    {
        report.error("", shown(error.what()), TooDamaged);
        return report.exitCode();
    }
}

} // namespace tavosce
