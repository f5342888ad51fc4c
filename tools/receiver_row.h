// One receiver's row: what `eval` and `map` make of one response file, success or not.
#ifndef ZYRA_TOOLS_RECEIVER_ROW_H_
#define ZYRA_TOOLS_RECEIVER_ROW_H_

#include <optional>
#include <string>
#include <vector>

namespace zyra::tool {

// ok: evaluated (the message may still carry the reader's note); warning: read, but there is
// nothing to evaluate (no pulses), so the values are missing; error: the file could not be read,
// prepared or evaluated. Only ok rows count as success.
enum class RowStatus { kOk, kWarning, kError };

// "ok", "warning", "error".
const char* RowStatusName(RowStatus eStatus);

struct ReceiverRow {
  std::string sFile;  // as given
  RowStatus eStatus = RowStatus::kOk;
  std::string sMessage;               // one UTF-8 line; empty for none
  std::optional<std::string> sLabel;  // the probe's label, UTF-8; none when not read
  std::string sRating;                // the STI rating; empty for none
  std::vector<double> values;         // RowSchema order; NaN where a value does not exist
};

// The row of a file that failed: nothing but the name and what went wrong.
inline ReceiverRow ErrorRow(std::string sFile, std::string sMessage) {
  ReceiverRow row;
  row.sFile = std::move(sFile);
  row.eStatus = RowStatus::kError;
  row.sMessage = std::move(sMessage);
  return row;
}

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_RECEIVER_ROW_H_
