// What the commands over many receivers share with the others.
#ifndef ZYRA_TOOLS_BATCH_COMMANDS_H_
#define ZYRA_TOOLS_BATCH_COMMANDS_H_

#include "tools/commands.h"
#include "zyra/facade/evaluation.h"

namespace zyra::tool {

// The facade's evaluation options for `eval`'s settings.
EvaluateOptions EvaluateOptionsOf(const EvalOptions& options);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_BATCH_COMMANDS_H_
