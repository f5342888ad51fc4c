// What the steps of opening a response answered, kept as the system's readers and preparation
// report it (result numbers and messages), for hosts that show them.
#ifndef ZYRA_FACADE_HOST_OUTCOMES_H_
#define ZYRA_FACADE_HOST_OUTCOMES_H_

#include <cstdint>
#include <optional>
#include <string>

#include "zyra/support/errors.h"

namespace zyra {

// What ReadRSPFile answered.
struct ReadOutcome {
  int32_t lResult = 0;
  std::string sMessage;  // Latin-1, as the reader wrote it
  int32_t nRaysPerLspk = 0;
  float fCutOffTime = 0.0f;
};

// A run-time error of the library by number and description.
struct ErrorInfo {
  int32_t lNumber = 0;
  std::string sDescription;
};
ErrorInfo ErrorInfoOf(const RuntimeError& error);

// What the preparation after reading answered, or the run-time error that ended it.
struct InitOutcome {
  int32_t lResult = 0;
  std::string sMessage;
  std::optional<ErrorInfo> error;
};

// A read without failure: 0 without a message, or 1 with the coherence warning. A block reader
// that stopped the read leaves its own message (result 0 or 1); a failure gives -1.
bool IsCleanRead(const ReadOutcome& read);
// The read failed outright (-1): nothing but the read outcome is worth showing.
inline bool IsFailedRead(const ReadOutcome& read) {
  return read.lResult == -1;
}

// The run-time error behind a failed read ("Error in ReadRSPFile: " and its description): its
// number, found by the description; no value for a file the reader rejected by its header.
std::optional<ErrorInfo> ReadErrorOf(const ReadOutcome& read);

}  // namespace zyra

#endif  // ZYRA_FACADE_HOST_OUTCOMES_H_
