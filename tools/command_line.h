// The command line of zyra-rsp: parsing into one command's options, and running it.
#ifndef ZYRA_TOOLS_COMMAND_LINE_H_
#define ZYRA_TOOLS_COMMAND_LINE_H_

#include <iosfwd>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tools/commands.h"

namespace zyra::tool {

using Command =
    std::variant<InfoOptions, DumpOptions, EvalOptions, ConvertOptions, DemoOptions, PlotOptions,
                 SynthOptions, EvalRowsOptions, MapOptions, SeatGridOptions>;

// The outcome of parsing: a command to run, or the exit status when there is nothing to run
// (0 after --help or --version, kExitUsage after a wrong command line, whose message went
// to `err`).
struct ParsedCommandLine {
  std::optional<Command> command;
  int exitStatus = kExitSuccess;
};

// Parses the arguments after the program name; help and version texts go to `out`.
ParsedCommandLine ParseCommandLine(const std::vector<std::string>& args, std::ostream& out,
                                   std::ostream& err);

// Runs the command and returns its exit status.
int RunCommand(const Command& command);

// The whole program: parse, run, and turn an escaped exception into exit status 1.
int ToolMain(int argc, const char* const argv[]);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_COMMAND_LINE_H_
