#ifndef SIM_INCLUDE_SIM_CLI_H
#define SIM_INCLUDE_SIM_CLI_H

#include <ostream>
#include <string>
#include <vector>

namespace OHOS::Sim {

// Exit codes of sleepsim.
constexpr int EXIT_RUN_OK = 0;
constexpr int EXIT_RUN_FAILED = 1;
constexpr int EXIT_BAD_INPUT = 2; // bad argument or scenario: nothing was run

// The sleepsim command line without the program name: parses the options, runs the simulation and
// prints the summary table (and dump answers) to `out`, messages and progress to `err`.
// Returns one of the exit codes above.
int RunSleepsimCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The usage text, with every scenario field.
std::string SleepsimUsage();

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_SIM_CLI_H
