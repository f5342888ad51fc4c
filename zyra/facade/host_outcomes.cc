#include "zyra/facade/host_outcomes.h"

#include <string_view>

#include "zyra/rsp/probe_rsp.h"

namespace zyra {

ErrorInfo ErrorInfoOf(const RuntimeError& error) {
  return {error.Number(), error.Description()};
}

bool IsCleanRead(const ReadOutcome& read) {
  if (read.lResult == 0) return read.sMessage.empty();
  return read.lResult == 1 && read.sMessage.rfind(CProbeRspClass::CoherenceWarningText(), 0) == 0;
}

std::optional<ErrorInfo> ReadErrorOf(const ReadOutcome& read) {
  constexpr std::string_view kPrefix = "Error in ReadRSPFile: ";
  if (read.lResult != -1 || read.sMessage.rfind(kPrefix, 0) != 0) return std::nullopt;
  const std::string_view rest = std::string_view(read.sMessage).substr(kPrefix.size());
  const std::string_view description = rest.substr(0, rest.find('\0'));
  // Run-time error numbers are those of the one error table, all below 1000.
  for (int32_t number = 1; number < 1000; ++number) {
    if (ErrorDescription(number) == description) return ErrorInfo{number, std::string(description)};
  }
  return ErrorInfo{0, std::string(description)};
}

}  // namespace zyra
