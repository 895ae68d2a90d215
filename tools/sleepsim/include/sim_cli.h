#ifndef SIM_INCLUDE_SIM_CLI_H
#define SIM_INCLUDE_SIM_CLI_H

#include <ostream>
#include <string>
#include <vector>

#include "population_runner.h" // the exit codes

namespace OHOS::Sim {

// The sleepsim command line without the program name: parses the options, runs the simulation and
// prints the summary table (and dump answers) to `out`, messages and progress to `err`.
// Returns one of the exit codes (EXIT_RUN_OK, EXIT_RUN_FAILED, EXIT_BAD_INPUT).
int RunSleepsimCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The usage text, with every scenario field.
std::string SleepsimUsage();

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_SIM_CLI_H
