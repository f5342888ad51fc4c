// The host sequence the commands share: read with the tool's settings (input_file.h), prepare,
// evaluate; each outcome kept for the JSON and the error line.
#ifndef ZYRA_TOOLS_RESPONSE_SESSION_H_
#define ZYRA_TOOLS_RESPONSE_SESSION_H_

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zyra/calc/calc_results.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/errors.h"
#include "zyra/support/logger.h"

namespace zyra::tool {

// What ReadRSPFile answered.
struct ReadOutcome {
  int32_t lResult = 0;
  std::string sMessage;
  int32_t nRaysPerLspk = 0;
  float fCutOffTime = 0.0f;
};

// A run-time error of the library, as the JSON reports it.
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

// The start of the reader's coherence warning, which a clean read may carry.
inline constexpr const char* kCoherenceWarningStart =
    "Warning: This response file was created with an earlier version";

// Read without failure: 0 without a message, or 1 with the coherence warning. A block reader
// that stopped the read leaves its own message (result 0 or 1); a failure gives -1.
bool IsCleanRead(const ReadOutcome& read);
// The read failed outright (-1): nothing but the read outcome is worth showing.
inline bool IsFailedRead(const ReadOutcome& read) {
  return read.lResult == -1;
}

// The preparation after reading: coherence kept, bad bundles corrected where found (and both
// recorded in the probe info); a run-time error is kept, not thrown.
InitOutcome PrepareResponse(CProbeRspClass& cFile, BusyIndicator* cBusy);

// The Alcons settings of an evaluation.
struct AlconsSettings {
  bool bSti = false;
  bool bNoise = false;
  int32_t lInterfFlags = 0;
};

inline constexpr int32_t kAlconsTimes = 51;  // t = 0 ... 50 ms
using AlconsValues = std::array<std::array<double, kAlconsTimes>, 3>;

// An evaluation: Calculate's result and results, and the Alcons values over time.
struct Evaluation {
  int32_t lCalcResult = 0;
  bool bWithReflections = true;
  std::shared_ptr<CCalcResults> results;
  AlconsSettings alcons;
  AlconsValues alconsValues{};
};

// Calculate (with reflections unless bDirectOnly) and CalculateAlconsOfT for the three Alcons
// bands and t = 0 ... 50 ms. Run-time errors propagate.
Evaluation EvaluateResponse(CProbeRspClass& cFile, bool bDirectOnly, const AlconsSettings& alcons,
                            BusyIndicator* cBusy);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_RESPONSE_SESSION_H_
