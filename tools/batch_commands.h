// What the commands over many receivers share with the others.
#ifndef ZYRA_TOOLS_BATCH_COMMANDS_H_
#define ZYRA_TOOLS_BATCH_COMMANDS_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/commands.h"
#include "tools/progress_bar.h"
#include "zyra/facade/evaluation.h"

namespace zyra::tool {

// The facade's evaluation options for `eval`'s settings.
EvaluateOptions EvaluateOptionsOf(const EvalOptions& options);

// Writes the seating area's response files, with progress on `progress`, and answers their
// paths in row order; no value after the error line or a Ctrl-C.
std::optional<std::vector<std::string>> WriteSeatGrid(const SeatGridOptions& options,
                                                      TerminalProgress& progress);

// The demo's seating area: seats of the demo hall written into sDir's "demo-seats" folder,
// evaluated on every core, their rows as CSV and maps of C80 and STI beside, and a few lines of
// report. sDir ends with "/" or is empty. Answers the exit status.
inline constexpr int32_t kDemoRows = 10;
inline constexpr int32_t kDemoSeats = 8;
int DemoSeatingArea(const std::string& sDir);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_BATCH_COMMANDS_H_
