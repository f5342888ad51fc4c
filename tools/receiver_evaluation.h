// One response file made into its receiver row: opened, prepared and evaluated through the
// facade, every failure kept in the row instead of ending the batch.
#ifndef ZYRA_TOOLS_RECEIVER_EVALUATION_H_
#define ZYRA_TOOLS_RECEIVER_EVALUATION_H_

#include <string>

#include "tools/receiver_columns.h"
#include "tools/receiver_row.h"
#include "zyra/facade/evaluation.h"

namespace zyra::tool {

// The row of sFile with the columns of `schema`, evaluated with `options` (its cBusy is not
// used: the rows of many files share one progress display). Never throws:
//  - a file that cannot be read, is no response, stops early or fails to prepare or evaluate
//    gives an error row with the facade's message (the block and byte offset where known);
//  - a response without pulses gives a warning row with the label and position, other values
//    missing;
//  - otherwise an ok row, with the reader's note (the coherence warning of an older file) as
//    its message.
// Safe to call on several threads at once, each with its own file.
ReceiverRow EvaluateReceiverRow(const std::string& sFile, const RowSchema& schema,
                                EvaluateOptions options);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_RECEIVER_EVALUATION_H_
