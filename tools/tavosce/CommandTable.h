#pragma once

#include "Report.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace tavosce
{

/// Runs a verb whose arguments have been parsed. Throws Failure and Interruption.
using Run = std::function<void(Console& console)>;

/// Runs the tool. Results go to `out`, everything else to `err`; `terminal` says whether somebody watches `err`. The
/// answer is the process's exit code. Nothing is thrown.
int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err, bool terminal);

// The verbs: each declares its arguments and gives back what runs it.
Run declareImport(CLI::App& app);
Run declareInfo(CLI::App& app);
Run declareExport(CLI::App& app);
Run declareRecover(CLI::App& app);
Run declareLs(CLI::App& app);
Run declareTree(CLI::App& app);
Run declareCat(CLI::App& app);
Run declareDu(CLI::App& app);
Run declareThumb(CLI::App& app);
Run declareDiff(CLI::App& app);
Run declareVerify(CLI::App& app);
Run declareCompletion(CLI::App& app);

} // namespace tavosce
